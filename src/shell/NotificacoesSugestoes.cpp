#include "shell/NotificacoesSugestoes.h"

#include "core/Log.h"
#include "dictation/SpeechManager.h"
#include "vocabulary/VocabularyService.h"

#include <QHash>
#include <QPointer>

namespace sonvo {

namespace {
const QString kCategoriaTier1 = QStringLiteral("VOCAB_TIER1_CANDIDATE");
const QString kCategoriaTier2 = QStringLiteral("VOCAB_TIER2_CANDIDATE");
} // namespace

NotificacoesSugestoes::NotificacoesSugestoes(NotificacoesUsuario& notificacoes, VocabularyService& vocabulario,
                                             SpeechManager& speech, QObject* parent)
    : QObject(parent), m_notificacoes(notificacoes), m_vocabulario(vocabulario), m_speech(speech)
{
    connect(&m_notificacoes, &NotificacoesUsuario::respondida, this, &NotificacoesSugestoes::responderNotificacao);
}

QList<CategoriaNotificacao> NotificacoesSugestoes::categoriasDeNotificacao()
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

QString NotificacoesSugestoes::identificadorNotificacao(const char* prefixo, const QString& ouvido, const QString& escrever)
{
    // The process's string hash, seeded per run: a pair repeated within one run keeps its identifier.
    auto hash = [](const QString& s) { return QString::number(static_cast<qint64>(qHash(s, QHashSeed::globalSeed()))); };
    return QLatin1String(prefixo) + hash(ouvido) + u'-' + hash(escrever);
}

QCoro::Task<> NotificacoesSugestoes::configurarNotificacoes()
{
    QPointer<NotificacoesSugestoes> self(this);
    // Observed before the permission answer arrives: a suggestion is never missed at start-up.
    connect(&m_vocabulario.aprendizado(), &AprendizadoTier1::candidato, this, &NotificacoesSugestoes::dispararNotificacaoTier1);
    connect(&m_speech, &SpeechManager::candidatoTier2, this,
            [this](const QString& ouvido, const QString& escrever, int ocorrencias) {
                dispararNotificacaoTier2(ouvido, escrever, ocorrencias);
            });
    m_notificacoes.registrarCategorias(categoriasDeNotificacao());
    QString erro;
    const bool concedida = co_await m_notificacoes.solicitarAutorizacao(&erro);
    if (!self)
        co_return;
    if (!erro.isEmpty())
        Log::tag("Vocab/Tier1", QStringLiteral("requestAuthorization erro: %@"), {erro});
    Log::tag("Vocab/Tier1", QStringLiteral("notification auth granted=%d"), {concedida ? 1 : 0});
}

void NotificacoesSugestoes::dispararNotificacaoTier1(const QString& ouvido, const QString& escrever)
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
    }(m_notificacoes, std::move(p));
}

QCoro::Task<> NotificacoesSugestoes::dispararNotificacaoTier2(QString ouvido, QString escrever, int ocorrencias)
{
    QPointer<NotificacoesSugestoes> self(this);
    NotificacoesUsuario& n = m_notificacoes;
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

void NotificacoesSugestoes::responderNotificacao(const QString& acao, const QVariantMap& userInfo)
{
    if (!userInfo.contains(QStringLiteral("ouvido")))
        return; // another kind of notification
    const QString ouvido = userInfo.value(QStringLiteral("ouvido")).toString();
    const QString escrever = userInfo.value(QStringLiteral("escrever")).toString();
    const bool tier1 = acao == u"VOCAB_ADD";
    if (tier1 || acao == u"VOCAB_TIER2_SAVE") {
        const char* tag = tier1 ? "Vocab/Tier1" : "Vocab/Tier2";
        if (const auto erro = m_vocabulario.documento().importarCorrecaoAprovada(ouvido, escrever))
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
