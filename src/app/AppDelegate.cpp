#include "app/AppDelegate.h"

#include "ai/AIService.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/OperationMode.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "platform/AreaTransferencia.h"
#include "platform/Janelas.h"
#include "vocabulary/TextoUnicode.h"
#include "vocabulary/VocabularyNotifications.h"
#include "vocabulary/VocabularyService.h"

#include <QHash>
#include <QPointer>

namespace sonvo {

namespace {
const QString kRotuloMenu = QStringLiteral("Super+Shift+R");
const QString kRotuloDireto = QStringLiteral("Super+Shift+T");

const QString kCategoriaTier1 = QStringLiteral("VOCAB_TIER1_CANDIDATE");
const QString kCategoriaTier2 = QStringLiteral("VOCAB_TIER2_CANDIDATE");
} // namespace

AppDelegate::AppDelegate(Dependencias deps, QObject* parent) : QObject(parent), m_d(std::move(deps))
{
    // Presses hop through the event loop: the handler never runs inside the platform's callback.
    connect(&m_d.atalhos, &AtalhosGlobais::pressionado, this,
            [this](int id) {
                if (id == 1 || id == 2)
                    handleHotKeyTrigger(id == 1);
            },
            Qt::QueuedConnection);
    connect(&m_d.notificacoes, &NotificacoesUsuario::respondida, this, &AppDelegate::responderNotificacao);
}

AppDelegate::~AppDelegate() = default;

const QList<AtalhoGlobal>& AppDelegate::hotKeySpecs()
{
    static const QList<AtalhoGlobal> specs{{1, 'R', kRotuloMenu}, {2, 'T', kRotuloDireto}};
    return specs;
}

void AppDelegate::setupGlobalHotkey()
{
    const int status = m_d.atalhos.instalarTratador();
    if (status != 0) {
        Log::simples(QStringLiteral("falha ao instalar handler de hotkey global (status %d)."), {status});
    } else {
        m_tratador = true;
        m_rotulos.clear();
        for (const AtalhoGlobal& a : hotKeySpecs()) {
            const int s = m_d.atalhos.registrar(a);
            if (s != 0) {
                Log::simples(QStringLiteral("falha ao registrar hotkey %@ (status %d)."), {a.rotulo, s});
                continue;
            }
            m_rotulos << a.rotulo;
        }
        Q_EMIT recordMenuTitleChanged(recordMenuTitle());
        if (!m_rotulos.isEmpty())
            return;
    }
    setupEventMonitorFallback();
}

void AppDelegate::setupEventMonitorFallback()
{
    if (m_monitor)
        return;
    Log::simples(QStringLiteral("usando fallback de monitor de teclado para atalhos."));
    // Without a keyboard monitor (no X display), the menu and `sonvo alternar` remain.
    m_monitor = m_d.atalhos.instalarMonitor(hotKeySpecs());
}

void AppDelegate::liberarAtalhos()
{
    m_d.atalhos.removerRegistros();
    m_tratador = false;
    if (m_monitor)
        m_d.atalhos.removerMonitor();
    m_monitor = false;
}

QString AppDelegate::recordMenuTitle() const
{
    const QStringList rotulos = m_rotulos.isEmpty() ? QStringList{kRotuloMenu, kRotuloDireto} : m_rotulos;
    return QStringLiteral("Gravar  ") + rotulos.join(QStringLiteral(" / "));
}

std::optional<QString> AppDelegate::readSelectedText()
{
    const auto frente = m_d.janelas.daFrente();
    if (!frente)
        return std::nullopt;
    auto texto = m_d.clipboard.textoSelecionado(*frente);
    if (!texto || texto->isEmpty())
        return std::nullopt;
    return texto;
}

void AppDelegate::handleHotKeyTrigger(bool actionMenu)
{
    const auto agora = m_d.relogio();
    if (m_ultimoAcionamento && agora - *m_ultimoAcionamento <= kDebounce)
        return;
    m_ultimoAcionamento = agora;
    m_ultimoFoiMenu = actionMenu;

    if (m_d.config.booleano(Interruptores::selecao)) {
        m_selecao = readSelectedText();
        if (m_selecao)
            Log::tag("Phase7/SelectionCtx", QStringLiteral("capturado %d chars"),
                     {static_cast<long long>(TextoUnicode::contarGrafemas(*m_selecao))});
        else
            Log::tag("Phase7/SelectionCtx", QStringLiteral("sem selecao (toggle ON)"));
    } else {
        m_selecao.reset();
        Log::tag("Phase7/SelectionCtx", QStringLiteral("toggle OFF, nao capturado"));
    }

    const auto frente = m_d.janelas.daFrente();
    m_ultimoBundle = frente && frente->pid != m_d.pidProprio ? frente->id : std::nullopt;
    Log::tag("HotKey", QStringLiteral("capturado bundleID=%@"), {m_ultimoBundle});

    SpeechManager& speech = m_d.viewModel.speechManager();
    speech.pularInsercao = actionMenu && m_d.config.booleano(Interruptores::actionMenu);
    speech.contextoBundleID = m_ultimoBundle;
    Log::tag("HotKey", QStringLiteral("trigger %@ (actionMenu=%d) state=%@"),
             {actionMenu ? kRotuloMenu : kRotuloDireto, actionMenu ? 1 : 0, m_d.viewModel.state().descricao()});
    speech.alternar();
}

void AppDelegate::startStopRecording()
{
    m_ultimoFoiMenu = false;
    // From the menu entry a dictation is a plain one, whatever the last hotkey asked for: with the
    // flag above cleared nothing would route a held-back text, and it would be lost.
    SpeechManager& speech = m_d.viewModel.speechManager();
    speech.pularInsercao = false;
    speech.alternar();
}

// ---- notifications ----

QList<CategoriaNotificacao> AppDelegate::categoriasDeNotificacao()
{
    return {
        {kCategoriaTier1,
         {{QStringLiteral("VOCAB_ADD"), QStringLiteral("Adicionar ao vocabulário")},
          {QStringLiteral("VOCAB_DISMISS"), QStringLiteral("Ignorar")}}},
        {kCategoriaTier2,
         {{QStringLiteral("VOCAB_TIER2_SAVE"), QStringLiteral("Salvar correção")},
          {QStringLiteral("VOCAB_TIER2_SKIP"), QStringLiteral("Ignorar")}}},
    };
}

QString AppDelegate::identificadorNotificacao(const char* prefixo, const QString& ouvido, const QString& escrever)
{
    // The process's string hash, seeded per run: a pair repeated within one run keeps its identifier.
    auto hash = [](const QString& s) { return QString::number(static_cast<qint64>(qHash(s, QHashSeed::globalSeed()))); };
    return QLatin1String(prefixo) + hash(ouvido) + u'-' + hash(escrever);
}

QCoro::Task<> AppDelegate::configurarNotificacoes()
{
    QPointer<AppDelegate> self(this);
    // Observed before the permission answer arrives: a suggestion is never missed at start-up.
    connect(&VocabularyNotifications::instance(), &VocabularyNotifications::notificacao, this,
            [this](const QString& nome, const QVariantMap& info) {
                const QString ouvido = info.value(QStringLiteral("ouvido")).toString();
                const QString escrever = info.value(QStringLiteral("escrever")).toString();
                if (nome == QLatin1String(VocabularyNotifications::candidatoNotification))
                    dispararNotificacaoTier1(ouvido, escrever);
                else if (nome == QLatin1String(VocabularyNotifications::tier2Notification))
                    dispararNotificacaoTier2(ouvido, escrever, info.value(QStringLiteral("ocorrencias")).toInt());
            });
    m_d.notificacoes.registrarCategorias(categoriasDeNotificacao());
    QString erro;
    const bool concedida = co_await m_d.notificacoes.solicitarAutorizacao(&erro);
    if (!self)
        co_return;
    if (!erro.isEmpty())
        Log::tag("Vocab/Tier1", QStringLiteral("requestAuthorization erro: %@"), {erro});
    Log::tag("Vocab/Tier1", QStringLiteral("notification auth granted=%d"), {concedida ? 1 : 0});
}

void AppDelegate::dispararNotificacaoTier1(const QString& ouvido, const QString& escrever)
{
    PedidoNotificacao p;
    p.identificador = identificadorNotificacao("vocab-tier1-", ouvido, escrever);
    p.titulo = QStringLiteral("Adicionar ao vocabulário?");
    p.corpo = QStringLiteral("Notei que você corrige '") + ouvido + QStringLiteral("' → '") + escrever
              + QStringLiteral("' frequentemente.");
    p.som = true;
    p.categoria = kCategoriaTier1;
    p.userInfo = {{QStringLiteral("ouvido"), ouvido}, {QStringLiteral("escrever"), escrever}};
    [](NotificacoesUsuario& n, PedidoNotificacao pedido) -> QCoro::Task<> {
        const std::optional<QString> erro = co_await n.adicionar(std::move(pedido));
        if (erro)
            Log::tag("Vocab/Tier1", QStringLiteral("notif add erro: %@"), {*erro});
    }(m_d.notificacoes, std::move(p));
}

QCoro::Task<> AppDelegate::dispararNotificacaoTier2(QString ouvido, QString escrever, int ocorrencias)
{
    QPointer<AppDelegate> self(this);
    NotificacoesUsuario& n = m_d.notificacoes;
    const bool pode = co_await n.autorizado();
    if (!self)
        co_return;
    if (!pode) {
        Log::tag("Vocab/Tier2", QStringLiteral("notification denied — fallback to NSLog only: '%@' → '%@' (%dx)"),
                 {ouvido, escrever, ocorrencias});
        co_return;
    }
    PedidoNotificacao p;
    p.identificador = identificadorNotificacao("vocab-tier2-", ouvido, escrever);
    p.titulo = QStringLiteral("Sonvo — Sugestão de vocabulário");
    p.corpo = QStringLiteral("Notei '") + ouvido + QStringLiteral("' em vez de '") + escrever + QStringLiteral("' (")
              + QString::number(ocorrencias) + QStringLiteral("x). Salvar?");
    p.som = false;
    p.categoria = kCategoriaTier2;
    p.userInfo = {{QStringLiteral("ouvido"), ouvido}, {QStringLiteral("escrever"), escrever}};
    const std::optional<QString> erro = co_await n.adicionar(std::move(p));
    if (erro)
        Log::tag("Vocab/Tier2", QStringLiteral("notif add erro: %@"), {*erro});
}

void AppDelegate::responderNotificacao(const QString& acao, const QVariantMap& userInfo)
{
    const QString ouvido = userInfo.value(QStringLiteral("ouvido")).toString();
    const QString escrever = userInfo.value(QStringLiteral("escrever")).toString();
    const bool tier1 = acao == u"VOCAB_ADD";
    if (tier1 || acao == u"VOCAB_TIER2_SAVE") {
        const char* tag = tier1 ? "Vocab/Tier1" : "Vocab/Tier2";
        if (const auto erro = m_d.vocabulario.importarCorrecaoAprovada(ouvido, escrever))
            Log::tag(tag, QStringLiteral("falha ao adicionar ao .md: %@ → %@: %@"), {ouvido, escrever, *erro});
        else
            Log::tag(tag, QStringLiteral("aprovado e adicionado ao .md: %@ → %@"), {ouvido, escrever});
        return;
    }
    if (acao == u"VOCAB_TIER2_SKIP") {
        Log::tag("Vocab/Tier2", QStringLiteral("dismiss: %@ → %@"), {ouvido, escrever});
        return;
    }
    Log::tag("Vocab/Tier1", QStringLiteral("dismiss: %@ → %@"), {ouvido, escrever});
}

} // namespace sonvo
