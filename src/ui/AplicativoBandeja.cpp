#include "ui/AplicativoBandeja.h"

#include "ai/AIService.h"
#include "ai/IntentDetectionService.h"
#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/SinaisDeTermino.h"
#include "dictation/InsertBuffer.h"
#include "dictation/InsertionService.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/ControleRemoto.h"
#include "platform/Plataforma.h"
#include "shell/AppDelegate.h"
#include "shell/Diagnostico.h"
#include "shell/Inicializacao.h"
#include "shell/RecordingViewModel.h"
#include "ui/DiagnosticoDesktop.h"
#include "ui/IconeBandeja.h"
#include "ui/MenuPendentes.h"
#include "ui/Onboarding.h"
#include "ui/PaineisDesktop.h"
#include "ui/Preferencias.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QApplication>
#include <QDesktopServices>
#include <QDir>
#include <QLockFile>
#include <QMenu>
#include <QNetworkAccessManager>
#include <QPointer>
#include <QSystemTrayIcon>
#include <QTimer>
#include <QUrl>

#include <cstdio>
#include <unistd.h>

namespace sonvo::desktop {

namespace {

QString caminhoDaTrava()
{
    const QString runtime = qEnvironmentVariable("XDG_RUNTIME_DIR");
    if (!runtime.isEmpty() && QDir(runtime).exists())
        return runtime + QStringLiteral("/sonvo.lock");
    return QDir::tempPath() + QStringLiteral("/sonvo-") + QString::number(::getuid()) + QStringLiteral(".lock");
}

// A second start tells the first (which shows that it is already there) and leaves.
int avisarPrimeiraInstancia(QApplication& app, qint64 pid)
{
    int codigo = 0;
    auto tarefa = [&]() -> QCoro::Task<> {
        const auto erro = co_await ClienteRemoto::avisarOutraInstancia();
        const QString quem = pid > 0 ? QStringLiteral(" (pid %1)").arg(pid) : QString();
        std::fprintf(stderr, "%s\n",
                     QStringLiteral("O Sonvo já está aberto%1: o ícone fica na bandeja do sistema.\n"
                                    "Para ditar, use Super+Shift+T (ou Super+Shift+R para o menu de ações), "
                                    "ou o comando: sonvo alternar")
                         .arg(quem)
                         .toLocal8Bit()
                         .constData());
        if (erro)
            std::fprintf(stderr, "%s\n", erro->toLocal8Bit().constData());
        QCoreApplication::exit(codigo);
    };
    QTimer::singleShot(0, &app, [&] { tarefa(); });
    app.exec();
    return codigo;
}

} // namespace

int executarAplicativo(int argc, char** argv)
{
    if (qEnvironmentVariableIsEmpty("DISPLAY") && qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY")) {
        std::fputs("O Sonvo precisa de uma sessão gráfica (X11 ou Wayland) para ficar na bandeja do sistema.\n"
                   "Sem ela, use a linha de comando: sonvo --help\n",
                   stderr);
        return 1;
    }
    // In a Wayland session the windows run on XWayland where it exists.
    escolherPluginDoQt();
    QApplication app(argc, argv);
    QApplication::setApplicationName(QStringLiteral("Sonvo"));
    QApplication::setDesktopFileName(QStringLiteral("sonvo"));
    QApplication::setQuitOnLastWindowClosed(false);

    // One Sonvo per user: two would fight over the hotkeys and the clipboard.
    QLockFile trava(caminhoDaTrava());
    trava.setStaleLockTime(0); // a lock left by a crash is recognised by its dead process
    if (!trava.tryLock(0)) {
        qint64 pid = 0;
        QString host, nome;
        trava.getLockInfo(&pid, &host, &nome);
        return avisarPrimeiraInstancia(app, pid);
    }

    Log::redirecionarStderr(Log::caminhoArquivo());
    Log::linhaBruta(Log::formatar(QStringLiteral("=== Sonvo BOOT pid=%d exe=%@ ==="),
                                  {static_cast<int>(::getpid()), QCoreApplication::applicationFilePath().isEmpty()
                                                                     ? QStringLiteral("?")
                                                                     : QCoreApplication::applicationFilePath()}));
    Log::capturarMensagensDoQt();
    // X11 has no accessibility permission to ask for (nor an input-monitoring one).
    Log::tag("Boot", QStringLiteral("AXTrusted=%d"), {1});

    Configuracoes config(Caminhos::arquivoConfig());
    config.registrarPadroes(Configuracoes::padroesDoApp());

    // The application icon; a missing asset leaves the default one.
    auto aplicarIconeApp = [&config] {
        if (const QIcon icone = ui::iconeDoAplicativo(iconeDoApp(config.texto(QStringLiteral("iconVariant"))));
            !icone.isNull())
            QApplication::setWindowIcon(icone);
    };
    aplicarIconeApp();

    migrarDadosVozelSeNecessario(Caminhos::pastaDados(), Caminhos::pastaAntiga());

    const QString pasta = Caminhos::pastaDados();
    Plataforma plataforma = criarPlataformaDesktop();
    QNetworkAccessManager rede;
    VocabularyService vocabulario(pasta, config);
    TranscriptionHistory historico(pasta);
    InsertBuffer buffer;
    InsertionService insercao(*plataforma.clipboard, *plataforma.janelas, *plataforma.teclas, buffer,
                              QCoreApplication::applicationPid(), {}, plataforma.notificacoes.get(), &config);
    DitadosPendentes pendentes(pasta);
    SpeechManager speech(SpeechManager::Dependencias{config, rede, pasta, *plataforma.audio, insercao, *plataforma.som,
                                                     vocabulario, historico, QString(), nullptr, std::chrono::seconds(60),
                                                     std::chrono::minutes(2), &pendentes});
    RecordingViewModel viewModel(speech);
    IntentDetectionService intencao(config, rede, pasta);
    VocabularyAuditService auditoria(config, rede, pasta, historico);
    ui::PaineisDesktop paineis(viewModel);
    paineis.ativarJanela = [&plataforma](QWidget* w) {
        plataforma.janelas->ativar(AppJanela{static_cast<quint64>(w->winId()), std::nullopt,
                                             QCoreApplication::applicationPid()},
                                   std::chrono::milliseconds(300));
    };
    AppDelegate delegate(AppDelegate::Dependencias{
        config, viewModel, *plataforma.janelas, *plataforma.clipboard, *plataforma.atalhos, *plataforma.notificacoes,
        vocabulario, QCoreApplication::applicationPid(), std::chrono::steady_clock::now, &insercao, &intencao,
        [&config, &rede, pasta] { return AIService::currentProvider(config, rede, pasta); }, &paineis, &pendentes});

    // The tray icon and its menu.
    QSystemTrayIcon bandeja;
    auto mostrarEstado = [&bandeja](const RecordingState& e) {
        const AparenciaBandeja a = aparenciaDoEstado(e);
        bandeja.setIcon(ui::iconeDoSimbolo(a.simbolo, a.tinta));
        bandeja.setToolTip(a.descricao);
    };
    mostrarEstado(viewModel.state());
    QMenu menu;
    QAction* gravar = menu.addAction(delegate.atalhos().recordMenuTitle(), &delegate.atalhos(), &RoteadorAtalhos::startStopRecording);
    QPointer<ui::Preferencias> janelaPreferencias;
    // The preferences' level meter records apart from the dictations.
    const std::unique_ptr<EntradaAudio> medidor = criarEntradaAudio();
    auto openPreferences = [&] {
        if (!janelaPreferencias) {
            janelaPreferencias = new ui::Preferencias(ui::Preferencias::Dependencias{
                config, vocabulario, auditoria, pasta, Log::caminhoArquivo(),
                [](const QString& caminho) { QDesktopServices::openUrl(QUrl::fromLocalFile(caminho)); },
                aplicarIconeApp, delegate.atalhos().rotulosVisiveis(), [&plataforma, &config, &rede, pasta] {
                    return Diagnostico::coletar(Diagnostico::Dependencias{plataforma, config, rede, pasta,
                                                                           QSystemTrayIcon::isSystemTrayAvailable()});
                },
                medidor.get()});
            janelaPreferencias->setAttribute(Qt::WA_DeleteOnClose);
            ui::centralizarNaTela(janelaPreferencias);
        } else {
            janelaPreferencias->recarregar();
        }
        janelaPreferencias->show();
        janelaPreferencias->raise();
        janelaPreferencias->activateWindow();
    };
    ui::MenuPendentes menuPendentes(pendentes, [&delegate](const DitadoPendente& d) { delegate.atalhos().retentarPendente(d); });
    menu.addMenu(&menuPendentes);
    // A dictation kept or retried changes the list whatever the folder watcher says.
    QObject::connect(&viewModel, &RecordingViewModel::stateChanged, &menuPendentes, &ui::MenuPendentes::atualizar,
                     Qt::QueuedConnection); // not from inside one of its own actions
    QAction* preferencias = menu.addAction(QStringLiteral("Preferências…"), &menu, openPreferences);
    preferencias->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Comma));
    menu.addSeparator();
    QAction* sair = menu.addAction(QStringLiteral("Sair"), &app, &QCoreApplication::quit);
    sair->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Q));
    bandeja.setContextMenu(&menu);
    QObject::connect(&delegate.atalhos(), &RoteadorAtalhos::recordMenuTitleChanged, gravar, &QAction::setText);
    bandeja.show();

    QObject::connect(&viewModel, &RecordingViewModel::stateChanged, &bandeja, mostrarEstado);
    delegate.posDitado().observeRecordingState();

    // First run, then the hotkeys: X11 asks no permission, so the first run is a welcome that
    // says how to dictate. Where there are no X11 key grabs the user is told how to bind
    // `sonvo alternar`.
    QPointer<ui::Onboarding> boasVindas;
    QTimer::singleShot(0, &delegate, [&] {
        const bool primeiraVez = !config.booleano(QStringLiteral("hasOnboarded"));
        if (primeiraVez) {
            config.definir(QStringLiteral("hasOnboarded"), true);
            config.sincronizar();
        }
        delegate.atalhos().setupGlobalHotkey();
        const bool semTeclas = delegate.atalhos().registeredHotKeyLabels().isEmpty() && !delegate.atalhos().monitorDeTeclado();
        if (semTeclas)
            paineis.mostrarAviso(QStringLiteral("Atalhos globais indisponíveis"),
                                 QStringLiteral("Associe um atalho do seu ambiente ao comando: sonvo alternar"));
        if (primeiraVez) {
            boasVindas = new ui::Onboarding(!semTeclas, openPreferences);
            boasVindas->setAttribute(Qt::WA_DeleteOnClose);
            ui::centralizarNaTela(boasVindas);
            boasVindas->show();
        }
    });

    delegate.sugestoes().configurarNotificacoes();
    // The desktop refused the hotkeys (or has no way to bind them after all): said once.
    QObject::connect(&delegate.atalhos(), &RoteadorAtalhos::atalhosIndisponiveis, &app, [&plataforma] {
        plataforma.notificacoes->adicionar(PedidoNotificacao{
            QStringLiteral("sonvo.atalhos"), QStringLiteral("Atalhos globais indisponíveis"),
            QStringLiteral("Associe um atalho do seu ambiente ao comando: sonvo alternar"), false, QString(), {}});
    });

    // `sonvo alternar` and a second start reach this process over the session bus.
    std::unique_ptr<ControleRemoto> controle = criarControleRemoto();
    if (const auto erro = controle->publicar())
        Log::tag("Boot", QStringLiteral("controle remoto indisponível: %@"), {*erro});
    QObject::connect(controle.get(), &ControleRemoto::alternarPedido, &delegate.atalhos(), &RoteadorAtalhos::handleHotKeyTrigger);
    QObject::connect(controle.get(), &ControleRemoto::iniciarPedido, &delegate.atalhos(), &RoteadorAtalhos::iniciar);
    QObject::connect(controle.get(), &ControleRemoto::pararPedido, &delegate.atalhos(), &RoteadorAtalhos::parar);
    controle->gravando = [&viewModel] { return viewModel.state().caso == RecordingState::Caso::recording; };
    QObject::connect(controle.get(), &ControleRemoto::outraInstanciaIniciada, &bandeja, [&bandeja] {
        bandeja.showMessage(QStringLiteral("O Sonvo já está aberto"),
                            QStringLiteral("Use Super+Shift+T para ditar, ou Super+Shift+R para o menu de ações."),
                            QSystemTrayIcon::Information, 6000);
    });

    // PortAudio probes every device the first time (65 to 155 ms measured here). Done at the first
    // hotkey press it delays the capture and clips the first syllable; done a moment after start,
    // nobody is waiting for it.
    QTimer::singleShot(1500, &app, [&plataforma] { plataforma.audio->preparar(); });

    // The daily vocabulary audit, in the background: start-up never waits for it.
    QTimer::singleShot(0, &app, [&auditoria] { auditoria.executarAutomatico(); });

    // The session ending (or Ctrl-C in a terminal) quits like "Sair": hotkeys and panels released.
    SinaisDeTermino termino;
    QObject::connect(&termino, &SinaisDeTermino::recebido, &app, &QCoreApplication::quit);

    QObject::connect(&app, &QCoreApplication::aboutToQuit, &delegate, [&] {
        delegate.liberar();
        delete janelaPreferencias;
        delete boasVindas;
    });
    return app.exec();
}

} // namespace sonvo::desktop
