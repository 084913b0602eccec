#include "shell/ComoAssociar.h"

namespace sonvo {

QString comandosParaAssociar()
{
    return QStringLiteral(
        "# sway (~/.config/sway/config)\n"
        "bindsym Mod4+Shift+t exec sonvo alternar\n"
        "bindsym Mod4+Shift+r exec sonvo alternar --menu\n"
        "# sway, segurar para falar: apertar inicia, soltar termina\n"
        "bindsym Mod4+Shift+t exec sonvo iniciar\n"
        "bindsym --release Mod4+Shift+t exec sonvo parar\n"
        "# Hyprland (~/.config/hypr/hyprland.conf)\n"
        "bind = SUPER SHIFT, T, exec, sonvo alternar\n"
        "bind = SUPER SHIFT, R, exec, sonvo alternar --menu\n"
        "# GNOME: Configurações → Teclado → Atalhos personalizados → +\n"
        "# KDE: Configurações do sistema → Atalhos → Adicionar novo → Comando\n"
        "sonvo alternar\n"
        "sonvo alternar --menu\n");
}

} // namespace sonvo
