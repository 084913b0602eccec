#pragma once

#include "ai/QuickAction.h"
#include "platform/Janelas.h"
#include "shell/ContextoDitado.h"

#include <QObject>
#include <QString>
#include <QTimer>
#include <QCoroTask>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>

namespace sonvo {

class AIProvider;
class Configuracoes;
class FluxoIA;
class Insercao;
class PaineisFlutuantes;
class RecordingViewModel;
class VocabularyService;

// The action menu: the dictation editable in the preview, an AI action rewriting it (streamed or
// in one request, one task at a time), and on closing the text inserted into the application the
// user came from, teaching Tier 1 what the user edited.
class FluxoMenuAcoes : public QObject {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        Janelas& janelas;
        VocabularyService& vocabulario;
        const ContextoDitado& contexto;
        qint64 pidProprio = 0;
        Insercao* insercao = nullptr;
        std::function<std::unique_ptr<AIProvider>()> provedorIA;
        PaineisFlutuantes* paineis = nullptr;
    };

    explicit FluxoMenuAcoes(Dependencias deps, QObject* parent = nullptr);
    ~FluxoMenuAcoes() override;

    // "✨ Aplicando Resumir…": the single request's placeholder in the preview.
    static QString placeholderAplicando(QuickAction acao);
    static constexpr std::chrono::milliseconds kEsperaResultado{200};
    static constexpr std::chrono::milliseconds kHoverDismiss{150};
    static constexpr std::chrono::milliseconds kEsperaAtivacao{120};

    // The application to paste into: the one in front, unless that is one of Sonvo's own panels
    // (a menu being replaced, the modal), when it stays `anterior`.
    static std::optional<AppJanela> alvoDaFrente(Janelas& janelas, qint64 pidProprio,
                                                 const std::optional<AppJanela>& anterior);

    void showActionMenu(const QString& transcription);
    void dismissActionMenu(bool inserting);
    void executarAcaoIA(QuickAction acao);
    // Ends the running AI task, putting back the text it was given when nothing usable came.
    void encerrarTarefaIA();
    void liberar(); // termination

    bool tarefaIAAtiva() const { return m_fluxo != nullptr || m_unicoRodando; }
    // An answer on its way with no menu on screen (a confirmed intent): its pill must stay.
    bool gerandoSemMenu() const { return m_gerandoSemMenu; }
    const std::optional<AppJanela>& actionMenuTargetApp() const { return m_alvo; }
    // Where the text goes, when a panel of ours (the intent modal) was in front meanwhile.
    void definirAlvo(const std::optional<AppJanela>& alvo) { m_alvo = alvo; }

private:
    void executarAcaoIAComStreaming(QuickAction acao, const QString& textoOriginal);
    QCoro::Task<> executarAcaoIAUnico(QuickAction acao, QString textoOriginal);
    void exibirErroIA(const QString& descricao);
    void actionMenuMouseExited();
    void definirOcupado(bool ocupado);
    void aposResultado();
    QCoro::Task<> inserirNoAlvo(QString texto, std::optional<AppJanela> alvo);

    Dependencias m_d;
    QTimer m_hoverDismiss;
    QTimer m_esperaResultado;
    bool m_escMenu = false;
    std::optional<AppJanela> m_alvo;
    // The single AI task: a stream, or one request whose answer is dropped once the generation
    // changes.
    std::unique_ptr<AIProvider> m_provedor;
    std::unique_ptr<FluxoIA> m_fluxo;
    bool m_unicoRodando = false;
    bool m_gerandoSemMenu = false;
    QString m_originalUnico;
    QString m_originalFluxo;
    quint64 m_geracaoIA = 0;
};

} // namespace sonvo
