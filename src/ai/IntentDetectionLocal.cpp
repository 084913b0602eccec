#include "ai/IntentDetectionService.h"

#include "core/TextoUnicode.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>
#include <QRegularExpression>

#include <array>
#include <utility>

// The parts of intent detection that need neither the network nor the settings: the patterns,
// the prompt and the reading of the model's answer.

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

} // namespace sonvo
