#include "app/desktop/AplicativoBandeja.h"

#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/RecordingViewModel.h"
#include "capture/InsertBuffer.h"
#include "capture/InsertionService.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "vocabulary/VocabularyService.h"

#include <QApplication>
#include <QIcon>
#include <QMenu>
#include <QNetworkAccessManager>
#include <QSystemTrayIcon>

#include <cstdio>
#include <unistd.h>

namespace sonvo::desktop {

namespace {
QString tituloGravar(const QStringList& registrados)
{
    const QStringList rotulos = registrados.isEmpty() ? QStringList{QStringLiteral("Super+Shift+R"), QStringLiteral("Super+Shift+T")}
                                                      : registrados;
    return QStringLiteral("Gravar  ") + rotulos.join(QStringLiteral(" / "));
}

QString dicaDoEstado(const RecordingState& e)
{
    switch (e.caso) {
    case RecordingState::Caso::idle: return QStringLiteral("Sonvo");
    case RecordingState::Caso::recording: return QStringLiteral("Sonvo: gravando");
    case RecordingState::Caso::transcribing: return QStringLiteral("Sonvo: transcrevendo");
    case RecordingState::Caso::completed: return QStringLiteral("Sonvo: pronto");
    case RecordingState::Caso::error: return QStringLiteral("Sonvo: ") + e.mensagem;
    }
    return {};
}
} // namespace

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

    const QString pasta = Caminhos::pastaDados();
    Plataforma plataforma = criarPlataformaDesktop();
    QNetworkAccessManager rede;
    VocabularyService vocabulario(pasta, config);
    TranscriptionHistory historico(pasta);
    InsertBuffer buffer;
    InsertionService insercao(*plataforma.clipboard, *plataforma.janelas, *plataforma.teclas, buffer,
                              QCoreApplication::applicationPid());
    SpeechManager speech(SpeechManager::Dependencias{config, rede, pasta, *plataforma.audio, insercao, *plataforma.som,
                                                     vocabulario, historico, QString(), nullptr});
    RecordingViewModel viewModel(speech);

    QSystemTrayIcon bandeja(QIcon::fromTheme(QStringLiteral("audio-input-microphone")));
    bandeja.setToolTip(dicaDoEstado(viewModel.state()));
    QMenu menu;
    // Until the global shortcuts are in place, the menu entry is how a dictation starts and ends.
    menu.addAction(tituloGravar({}), &speech, [&speech, &plataforma] {
        if (speech.recordingState().caso != RecordingState::Caso::recording) {
            // The application in front when the dictation starts picks the per-application vocabulary.
            const auto frente = plataforma.janelas->daFrente();
            speech.contextoBundleID = frente && frente->pid != QCoreApplication::applicationPid() ? frente->id : std::nullopt;
            speech.pularInsercao = false;
        }
        speech.alternar();
    });
    menu.addSeparator();
    menu.addAction(QStringLiteral("Sair"), &app, &QCoreApplication::quit);
    bandeja.setContextMenu(&menu);
    QObject::connect(&viewModel, &RecordingViewModel::stateChanged, &bandeja,
                     [&bandeja](const RecordingState& e) { bandeja.setToolTip(dicaDoEstado(e)); });
    bandeja.show();
    return app.exec();
}

} // namespace sonvo::desktop
