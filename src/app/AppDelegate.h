#pragma once

#include "ai/QuickAction.h"
#include "app/RecordingState.h"
#include "platform/Atalhos.h"
#include "platform/Janelas.h"
#include "platform/Notificacoes.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QCoroTask>
#include <QTimer>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace sonvo {

class AIProvider;
class AreaTransferencia;
class Configuracoes;
class FluxoIA;
class Insercao;
class IntentDetectionService;
class PaineisFlutuantes;
class RecordingViewModel;
class VocabularyService;

// The shell's logic that needs no display: the global hotkeys and what a press does, the menu
// entry's toggle and title, the vocabulary suggestions turned into user notifications, and what
// happens to a finished dictation (pills, intent modal, action menu, the AI task, insertion).
// The tray, the panels' drawing and the start-up order live with the desktop; everything here is
// driven through interfaces, so tests run it with fakes.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    using Relogio = std::function<std::chrono::steady_clock::time_point()>;
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        Janelas& janelas;
        AreaTransferencia& clipboard;
        AtalhosGlobais& atalhos;
        NotificacoesUsuario& notificacoes;
        VocabularyService& vocabulario;
        qint64 pidProprio = 0;
        Relogio relogio = std::chrono::steady_clock::now;
        // What a finished dictation needs; without panels nothing is routed.
        Insercao* insercao = nullptr;
        IntentDetectionService* intencao = nullptr;
        std::function<std::unique_ptr<AIProvider>()> provedorIA;
        PaineisFlutuantes* paineis = nullptr;
    };

    explicit AppDelegate(Dependencias deps, QObject* parent = nullptr);
    ~AppDelegate() override;

    // id 1: dictation for the action menu; id 2: plain dictation. Registered in this order.
    static const QList<AtalhoGlobal>& hotKeySpecs();
    static constexpr std::chrono::milliseconds kDebounce{200};

    // Hotkeys: grabs, then the passive monitor when no grab succeeded.
    void setupGlobalHotkey();
    void setupEventMonitorFallback();
    // Termination: grabs, handler and monitor released.
    void liberarAtalhos();
    // The single entry of both hotkeys (and of `sonvo alternar`).
    void handleHotKeyTrigger(bool actionMenu);
    std::optional<QString> readSelectedText();
    // The menu entry: toggles without capturing any context.
    void startStopRecording();
    QString recordMenuTitle() const;

    // Notifications: permission, the two categories, the observation of the learning tiers.
    QCoro::Task<> configurarNotificacoes();
    void dispararNotificacaoTier1(const QString& ouvido, const QString& escrever);
    QCoro::Task<> dispararNotificacaoTier2(QString ouvido, QString escrever, int ocorrencias);
    void responderNotificacao(const QString& acao, const QVariantMap& userInfo);

    static QList<CategoriaNotificacao> categoriasDeNotificacao();
    static QString identificadorNotificacao(const char* prefixo, const QString& ouvido, const QString& escrever);

    // After a dictation: the pills follow the state; a deferred dictation goes to the intent
    // modal or the action menu.
    void observeRecordingState();
    void observarEstado(const RecordingState& estado);
    void scheduleProcessingDismiss(double segundos);
    void handlePostTranscription(const QString& texto);
    void showActionMenu(const QString& transcription);
    void dismissActionMenu(bool inserting);
    void executarAcaoIA(QuickAction acao);
    void executarAcaoIAComStreaming(QuickAction acao, const QString& textoOriginal);
    QCoro::Task<> executarAcaoIAUnico(QuickAction acao, QString textoOriginal);
    void exibirErroIA(const QString& descricao);
    void installActionMenuEscMonitor() { m_escMenu = true; }
    void removeActionMenuEscMonitor() { m_escMenu = false; }
    void actionMenuMouseExited();
    void actionMenuMouseEntered();
    void showIntentConfirmModal(QuickAction acao, const QString& texto);
    void confirmarIntencao(QuickAction acao);
    void verOpcoesIntencao();
    void liberarPaineis(); // termination

    // "✨ Aplicando Resumir…": the single request's placeholder in the preview.
    static QString placeholderAplicando(QuickAction acao);
    static constexpr std::chrono::milliseconds kEsperaResultado{200};
    static constexpr std::chrono::milliseconds kHoverDismiss{150};
    static constexpr std::chrono::milliseconds kEsperaAtivacao{120};

    bool tarefaIAAtiva() const { return m_fluxo != nullptr || m_unicoRodando; }
    const std::optional<AppJanela>& actionMenuTargetApp() const { return m_alvoMenu; }
    const std::optional<AppJanela>& intentConfirmTargetApp() const { return m_alvoIntencao; }

    const QStringList& registeredHotKeyLabels() const { return m_rotulos; }
    bool lastHotkeyWasActionMenu() const { return m_ultimoFoiMenu; }
    const std::optional<QString>& lastRecordingBundleID() const { return m_ultimoBundle; }
    const std::optional<QString>& selectionContextCaptured() const { return m_selecao; }
    bool monitorDeTeclado() const { return m_monitor; }

Q_SIGNALS:
    void recordMenuTitleChanged(const QString& titulo);

private:
    void encerrarTarefaIA();
    void definirOcupado(bool ocupado);
    void aposResultado();
    QCoro::Task<> detectarEEncaminhar(QString texto);
    std::optional<AppJanela> alvoDaFrente(const std::optional<AppJanela>& anterior);
    QCoro::Task<> inserirNoAlvo(QString texto, std::optional<AppJanela> alvo);

    Dependencias m_d;
    RecordingState m_estadoAnterior;
    QTimer m_processingDismiss;
    QTimer m_hoverDismiss;
    QTimer m_esperaResultado;
    bool m_escMenu = false;
    bool m_escIntencao = false;
    std::optional<AppJanela> m_alvoMenu;
    std::optional<AppJanela> m_alvoIntencao;
    // The single AI task: a stream, or one request whose answer is dropped once the generation
    // changes.
    std::unique_ptr<AIProvider> m_provedor;
    std::unique_ptr<FluxoIA> m_fluxo;
    bool m_unicoRodando = false;
    bool m_gerandoSemMenu = false;
    QString m_originalUnico;
    QString m_originalFluxo;
    quint64 m_geracaoIA = 0;
    quint64 m_geracaoRota = 0; // a late intent answer for an older dictation is dropped
    bool m_tratador = false;
    bool m_monitor = false;
    QStringList m_rotulos;
    std::optional<std::chrono::steady_clock::time_point> m_ultimoAcionamento;
    bool m_ultimoFoiMenu = false;
    std::optional<QString> m_ultimoBundle;
    std::optional<QString> m_selecao;
};

} // namespace sonvo
