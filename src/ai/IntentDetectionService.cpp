#include "ai/IntentDetectionService.h"

#include "ai/ConsultaModelo.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "vocabulary/TextoUnicode.h"

#include <QElapsedTimer>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <utility>

namespace sonvo {

namespace {

// "\b" is a Unicode word boundary and "\S" any non-blank: the text is NFC, so "ó" is one
// code point and the character classes see it as such.
QRegularExpression compilar(const QString& padrao)
{
    QRegularExpression re(padrao, QRegularExpression::CaseInsensitiveOption | QRegularExpression::UseUnicodePropertiesOption);
    if (!re.isValid()) {
        // A pattern of ours that does not compile is a programming fault, not a runtime condition.
        qFatal("IntentDetectionService: padrão inválido %s: %s", qPrintable(padrao), qPrintable(re.errorString()));
    }
    re.optimize();
    return re;
}

const QRegularExpression& regexNegacao()
{
    static const QRegularExpression re = compilar(QStringLiteral(
        R"(\b(não|nao|sem|nunca)\s+\S+\s*(transforma|converte|resume|resuma|format|escreve|cria|gera|adapta|e-?mail|resumo|bullets?|legenda|post|artigo))"));
    return re;
}

const QRegularExpression& regexVerbosTransformacao()
{
    static const QRegularExpression re = compilar(QStringLiteral(
        R"(\b(transforma(r)?|converte(r)?|converta|transcreve(r)?|resume(r)?|resuma|format[ae](r)?|fa(z|zer|ça)|cria(r)?|crie|gera(r)?|gere|escreve(r)?|escreva|adapta(r)?|coloca(r)?|coloque|reescreve(r)?|reescreva)\b)"));
    return re;
}

using ParKeyword = std::pair<QRegularExpression, QuickAction>;

// The order is the tie-break: "manda um e-mail com o resumo" is an e-mail.
const std::array<ParKeyword, 5>& mapaKeywords()
{
    static const std::array<ParKeyword, 5> mapa{{
        {compilar(QStringLiteral(R"(\be-?mail(s)?\b)")), QuickAction::email},
        {compilar(QStringLiteral(R"(\bresum(o|os|e|ir|a)\b)")), QuickAction::resumir},
        {compilar(QStringLiteral(R"(\b(bullets?|pontos?|t[oó]picos?|lista)\b)")), QuickAction::bulletPoints},
        {compilar(QStringLiteral(R"(\b(legenda|caption)\b)")), QuickAction::legenda},
        {compilar(QStringLiteral(R"(\b(post|artigo|blog)\b)")), QuickAction::post},
    }};
    return mapa;
}

bool encontra(const QRegularExpression& re, const QString& texto)
{
    return re.match(texto).hasMatch();
}

} // namespace

QString Intencao::rawValue(IntentConfianca c)
{
    switch (c) {
    case IntentConfianca::alta: return QStringLiteral("alta");
    case IntentConfianca::media: return QStringLiteral("media");
    case IntentConfianca::nenhuma: return QStringLiteral("nenhuma");
    }
    return {};
}

QString Intencao::descrever(const IntentResult& r)
{
    return rawValue(r.confianca) + u' ' + (r.acao ? QuickActions::rawValue(*r.acao) : QStringLiteral("nil"));
}

IntentDetectionService::IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados, Prazos prazos)
    : m_config(config), m_rede(rede), m_pasta(std::move(pastaDados)), m_prazos(prazos)
{
}

IntentDetectionService::IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados)
    : IntentDetectionService(config, rede, std::move(pastaDados), Prazos{})
{
}

bool IntentDetectionService::featureLigada() const
{
    return m_config.booleano(QStringLiteral("intentDetectionEnabled"), true);
}

IntentResult IntentDetectionService::classificarLocal(const QString& texto, const QList<QuickAction>& acoesHabilitadas)
{
    const QString t = TextoUnicode::minusculas(TextoUnicode::nfc(texto));
    // "não quero resumo, transforma em e-mail": a negation anywhere vetoes the whole text.
    if (encontra(regexNegacao(), t))
        return IntentResult::nada();
    if (acoesHabilitadas.isEmpty())
        return IntentResult::nada();
    std::optional<QuickAction> acao;
    for (const auto& [re, candidata] : mapaKeywords()) {
        if (acoesHabilitadas.contains(candidata) && encontra(re, t)) {
            acao = candidata;
            break;
        }
    }
    if (!acao)
        return IntentResult::nada();
    // A keyword alone may be incidental ("o resumo da reunião"); with a verb it is an order.
    return {acao, encontra(regexVerbosTransformacao(), t) ? IntentConfianca::alta : IntentConfianca::media};
}

IntentResult IntentDetectionService::classificarLocal(const QString& texto) const
{
    return classificarLocal(texto, QuickActions::loadOrdered(m_config));
}

QString IntentDetectionService::montarPrompt(const QString& texto, const QList<QuickAction>& acoesHabilitadas)
{
    QStringList brutos;
    for (QuickAction a : acoesHabilitadas)
        brutos << QuickActions::rawValue(a);
    return QStringLiteral("Você é um classificador de intenção. Responda SOMENTE com JSON válido, sem texto antes ou depois.\n"
                          "Texto do usuário: \"")
        + texto
        + QStringLiteral("\"\nTarefa: o usuário está pedindo IMPERATIVAMENTE para transformar o texto numa das ações abaixo?\n"
                         "Ações válidas: ")
        + brutos.join(u'|')
        + QStringLiteral("\nSchema: {\"acao\": \"<uma das ações ou null>\", \"confianca\": \"alta\"|\"media\"|\"nenhuma\"}\n"
                         "Regras:\n"
                         "  - \"alta\" SOMENTE se houver verbo imperativo de transformação + ação clara\n"
                         "  - \"nenhuma\" se a menção for incidental, no passado, ou negada");
}

IntentResult IntentDetectionService::parseRespostaLLM(const QString& resposta, const QSet<QuickAction>& habilitadas)
{
    // Models wrap the object in prose or code fences; only the outermost braces count.
    const qsizetype inicio = resposta.indexOf(u'{');
    const qsizetype fim = resposta.lastIndexOf(u'}');
    if (inicio < 0 || fim < 0 || fim < inicio)
        return IntentResult::nada();
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(resposta.mid(inicio, fim - inicio + 1).toUtf8(), &erro);
    if (erro.error != QJsonParseError::NoError || !doc.isObject())
        return IntentResult::nada();
    const QJsonObject obj = doc.object();

    std::optional<QuickAction> acao;
    const QJsonValue acaoBruta = obj.value(QStringLiteral("acao"));
    if (acaoBruta.isString()) {
        acao = QuickActions::deRawValue(acaoBruta.toString());
        if (acao && !habilitadas.contains(*acao))
            acao.reset();
    }
    IntentConfianca confianca = IntentConfianca::nenhuma;
    const QJsonValue confiancaBruta = obj.value(QStringLiteral("confianca"));
    if (confiancaBruta.isString()) {
        const QString c = confiancaBruta.toString();
        if (c == u"alta")
            confianca = IntentConfianca::alta;
        else if (c == u"media")
            confianca = IntentConfianca::media;
    }
    if (!acao || confianca == IntentConfianca::nenhuma)
        return IntentResult::nada();
    return {acao, confianca};
}

QCoro::Task<IntentResult> IntentDetectionService::classificarComLLM(QString texto)
{
    co_return co_await consultar(std::move(texto), m_prazos.requisicao);
}

QCoro::Task<IntentResult> IntentDetectionService::consultar(QString texto, std::chrono::milliseconds prazo)
{
    const QList<QuickAction> acoes = QuickActions::loadOrdered(m_config);
    ConsultaModelo consulta;
    consulta.provedor = AIService::currentProviderID(m_config);
    consulta.prompt = montarPrompt(texto, acoes);
    consulta.temperatura = 0.0;
    consulta.maxTokens = 60;
    consulta.prazo = prazo;
    const auto resposta = co_await ConsultasModelo::perguntar(m_rede, m_config, m_pasta, std::move(consulta));
    if (!resposta) {
        Log::tag("Intent", QStringLiteral("LLM fallback falhou: %@"), {resposta.erro().descricao});
        co_return IntentResult::nada();
    }
    co_return parseRespostaLLM(resposta.valor(), QSet<QuickAction>(acoes.begin(), acoes.end()));
}

QCoro::Task<IntentResult> IntentDetectionService::detectar(QString texto)
{
    QElapsedTimer relogio;
    relogio.start();
    if (!featureLigada() || !m_config.booleano(QStringLiteral("toggleShowIntentModal"), false))
        co_return IntentResult::nada();
    IntentResult local = classificarLocal(texto);
    if (local.confianca != IntentConfianca::media)
        co_return local;
    // The overall deadline bounds the request itself: when it passes, Http::post aborts the
    // request, so a late answer is never read. The local action is not a fallback.
    const auto restante = std::max(std::chrono::milliseconds(0), m_prazos.total - std::chrono::milliseconds(relogio.elapsed()));
    co_return co_await consultar(std::move(texto), std::min(restante, m_prazos.requisicao));
}

} // namespace sonvo
