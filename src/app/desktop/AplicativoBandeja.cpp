#include "app/desktop/AplicativoBandeja.h"

#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/Log.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QSystemTrayIcon>

#include <cstdio>
#include <unistd.h>

namespace sonvo::desktop {

int executarAplicativo(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::fputs("O Sonvo precisa de uma sessão gráfica (X11) para ficar na bandeja do sistema.\n"
                   "Sem ela, use a linha de comando: sonvo --help\n",
                   stderr);
        return 1;
    }
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Sonvo"));
    QApplication::setQuitOnLastWindowClosed(false);

    Log::redirecionarStderr(Log::caminhoArquivo());
    Log::linhaBruta(Log::formatar(QStringLiteral("=== Sonvo BOOT pid=%d exe=%@ ==="),
                                  {static_cast<int>(::getpid()), QCoreApplication::applicationFilePath().isEmpty()
                                                                     ? QStringLiteral("?")
                                                                     : QCoreApplication::applicationFilePath()}));
    // X11 has no accessibility permission to ask for.
    Log::tag("Boot", QStringLiteral("AXTrusted=%d"), {1});

    Configuracoes config(Caminhos::arquivoConfig());
    config.registrarPadroes(Configuracoes::padroesDoApp());

    QSystemTrayIcon bandeja(QIcon::fromTheme(QStringLiteral("audio-input-microphone")));
    bandeja.setToolTip(QStringLiteral("Sonvo"));
    QMenu menu;
    menu.addAction(QStringLiteral("Sair"), &app, &QCoreApplication::quit);
    bandeja.setContextMenu(&menu);
    bandeja.show();
    return app.exec();
}

} // namespace sonvo::desktop
