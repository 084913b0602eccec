#include "ui/DiagnosticoDesktop.h"

#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "platform/Sessao.h"
#include "shell/Diagnostico.h"

#include <QApplication>
#include <QNetworkAccessManager>
#include <QSystemTrayIcon>
#include <QTimer>

#include <cstdio>
#include <memory>

namespace sonvo::desktop {

void escolherPluginDoQt()
{
    // There the pills can be shown without taking the keyboard focus (an X11 tooltip), where
    // Sonvo puts them, and fade; the clipboard, keys and window facts still go through Wayland.
    if (tipoDeSessao(QProcessEnvironment::systemEnvironment()) == TipoSessao::wayland
        && !qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "xcb");
}

int executarDiagnostico(int argc, char** argv)
{
    if (argc > 2) {
        std::fputs("Uso: sonvo diagnostico (veja: sonvo --help)\n", stderr);
        return 2;
    }
    const bool grafica = tipoDeSessao(QProcessEnvironment::systemEnvironment()) != TipoSessao::nula;
    escolherPluginDoQt();
    std::unique_ptr<QCoreApplication> app;
    if (grafica)
        app = std::make_unique<QApplication>(argc, argv);
    else
        app = std::make_unique<QCoreApplication>(argc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("Sonvo"));

    Configuracoes config(Caminhos::arquivoConfig());
    config.registrarPadroes(Configuracoes::padroesDoApp());
    const Plataforma plataforma = criarPlataformaDesktop();
    QNetworkAccessManager rede;
    int codigo = 1;
    auto tarefa = [&]() -> QCoro::Task<> {
        Diagnostico::Dependencias d{plataforma, config, rede, Caminhos::pastaDados(),
                                    grafica && QSystemTrayIcon::isSystemTrayAvailable()};
        const QList<FormaServico> linhas = co_await Diagnostico::coletar(std::move(d));
        const QByteArray saida = Diagnostico::texto(linhas).toUtf8();
        std::fwrite(saida.constData(), 1, size_t(saida.size()), stdout);
        std::fflush(stdout);
        codigo = Diagnostico::ditadoPousa(linhas) ? 0 : 1;
        QCoreApplication::quit();
    };
    QTimer::singleShot(0, app.get(), [&] { tarefa(); });
    app->exec();
    return codigo;
}

} // namespace sonvo::desktop
