#pragma once

#include <QProcessEnvironment>
#include <QSet>
#include <QString>

namespace sonvo {

enum class TipoSessao { x11, wayland, nula };

// The session this process runs in. SONVO_PLATAFORMA (x11, wayland, nula) decides when set;
// otherwise Wayland when XDG_SESSION_TYPE says so and WAYLAND_DISPLAY is set (a Wayland session
// sets DISPLAY too, for XWayland: DISPLAY alone does not make a session X11), X11 when DISPLAY is
// set, and no desktop at all otherwise.
TipoSessao tipoDeSessao(const QProcessEnvironment& env);

// What a Wayland session offers, read at start-up.
struct OfertasWayland {
    QSet<QString> globais;      // the interface names the compositor advertises
    bool x11 = false;           // XWayland answers (DISPLAY opens)
    bool clipboardX11 = false;  // and this process can own its clipboard (Qt runs on xcb)
    bool portal = false;        // xdg-desktop-portal can be reached on the session bus
};

enum class FormaClipboard { extDataControl, wlrDataControl, x11, nenhuma };
enum class FormaColar { tecladoVirtual, portalRemoteDesktop, nenhuma };
enum class FormaJanelas { foreignToplevel, x11, nenhuma };

// The way each service works in a Wayland session: the best one offered, then the fallback.
struct EscolhasWayland {
    FormaClipboard clipboard = FormaClipboard::nenhuma;
    FormaColar colar = FormaColar::nenhuma;
    FormaJanelas janelas = FormaJanelas::nenhuma;
    bool selecaoPrimaria = false; // the selected text, through data control
    bool operator==(const EscolhasWayland&) const = default;
};

EscolhasWayland escolherWayland(const OfertasWayland& ofertas);

// The words `sonvo diagnostico` and the "sobre" page use for each way.
namespace Formas {
QString descrever(FormaClipboard f);
QString descrever(FormaColar f);
QString descrever(FormaJanelas f);
inline const QString kIndisponivel = QStringLiteral("indisponível");
} // namespace Formas

} // namespace sonvo
