#include "vocabulary/VocabularyAuditService.h"

#include "core/Arquivos.h"
#include "core/Log.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

#include <cmath>

// The audit's texts and formats, apart from the network and the files: the prompt, the reading
// of the model's answer and the queue's JSON.

namespace sonvo {

namespace {

// 417 bytes: eight lines, each ending in a line feed.
const QString& cabecalhoPrompt()
{
    static const QString s = QStringLiteral(
        "Você está revisando transcrições de voz feitas por um usuário brasileiro\n"
        "em macOS via Whisper (OpenAI). Identifique padrões que parecem ERROS\n"
        "SISTEMÁTICOS de transcrição (palavras consistentemente erradas que\n"
        "provavelmente eram outras palavras conhecidas — nomes próprios, jargão\n"
        "técnico, marcas, etc.). NÃO sugira correções estilísticas — só erros\n"
        "prováveis de reconhecimento.\n"
        "\n"
        "TRANSCRIÇÕES:\n");
    return s;
}

// 360 bytes: two line feeds, then ten lines without a final line feed.
const QString& caudaPrompt()
{
    static const QString s = QStringLiteral(
        "\n\n"
        "Retorne JSON puro (sem markdown, sem texto antes ou depois):\n"
        "[\n"
        "  { \"ouvido\": \"Cloud Code\", \"provavel\": \"Claude Code\", \"confianca\": 0.92, \"ocorrencias\": 7 }\n"
        "]\n"
        "\n"
        "Regras:\n"
        "- confianca entre 0.0 e 1.0\n"
        "- ocorrencias = quantas vezes apareceu nas transcrições acima\n"
        "- Apenas itens com confianca >= 0.7 são úteis\n"
        "- Se nenhum erro sistemático detectado, retorne []");
    return s;
}

// A JSON number that is a whole number within range, as the model's counts should be.
std::optional<qint64> inteiro(const QJsonValue& v)
{
    if (!v.isDouble())
        return std::nullopt;
    const double d = v.toDouble();
    if (!std::isfinite(d) || std::trunc(d) != d || std::fabs(d) >= 9.2e18)
        return std::nullopt;
    return static_cast<qint64>(d);
}

} // namespace

QString AuditErro::errorDescription() const
{
    switch (caso) {
    case Caso::llmFalhou: return QStringLiteral("Auditor LLM falhou: ") + detalhe;
    case Caso::historicoVazio: return QStringLiteral("Sem transcrições suficientes para auditar.");
    case Caso::parseJSON: return QStringLiteral("Resposta do LLM em formato inesperado.");
    }
    return {};
}

// ---- The prompt and the answer ----

QString VocabularyAuditService::montarPrompt(const QStringList& textos)
{
    return cabecalhoPrompt() + textos.join(QStringLiteral("\n---\n")) + caudaPrompt();
}

QList<AuditSugestao> VocabularyAuditService::parseSugestoes(const QString& raw, const QDateTime& agora)
{
    // Models wrap the array in prose or code fences; only the outermost brackets count.
    const qsizetype inicio = raw.indexOf(u'[');
    const qsizetype fim = raw.lastIndexOf(u']');
    if (inicio < 0 || fim < 0 || fim < inicio) {
        Log::tag("VocabAudit", QStringLiteral("parseSugestoes: sem [...] no raw"));
        return {};
    }
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(raw.mid(inicio, fim - inicio + 1).toUtf8(), &erro);
    bool deObjetos = erro.error == QJsonParseError::NoError && doc.isArray();
    const QJsonArray itens = doc.array();
    for (const QJsonValue& v : itens)
        deObjetos = deObjetos && v.isObject();
    if (!deObjetos) {
        Log::tag("VocabAudit", QStringLiteral("parseSugestoes: JSON malformado"));
        return {};
    }

    QList<AuditSugestao> sugestoes;
    for (const QJsonValue& v : itens) {
        const QJsonObject o = v.toObject();
        const QJsonValue ouvido = o.value(QStringLiteral("ouvido"));
        const QJsonValue provavel = o.value(QStringLiteral("provavel"));
        if (!ouvido.isString() || !provavel.isString() || ouvido.toString().isEmpty() || provavel.toString().isEmpty())
            continue;
        const QJsonValue confianca = o.value(QStringLiteral("confianca"));
        AuditSugestao s;
        s.id = QUuid::createUuid();
        s.ouvido = ouvido.toString();
        s.provavel = provavel.toString();
        s.confianca = confianca.isDouble() ? confianca.toDouble() : 0.0; // an integer 1 is 1.0
        s.ocorrencias = inteiro(o.value(QStringLiteral("ocorrencias"))).value_or(0);
        s.createdAt = agora;
        sugestoes.append(std::move(s));
    }
    return sugestoes;
}

QByteArray VocabularyAuditService::codificar(const QList<AuditSugestao>& fila)
{
    QJsonArray a;
    for (const AuditSugestao& s : fila) {
        a.append(QJsonObject{
            {QStringLiteral("id"), s.id.toString(QUuid::WithoutBraces).toUpper()},
            {QStringLiteral("ouvido"), s.ouvido},
            {QStringLiteral("provavel"), s.provavel},
            {QStringLiteral("confianca"), s.confianca},
            {QStringLiteral("ocorrencias"), s.ocorrencias},
            {QStringLiteral("createdAt"), Json::dataIso(s.createdAt)},
        });
    }
    return Json::bonito(QJsonDocument(a));
}

std::optional<QList<AuditSugestao>> VocabularyAuditService::decodificar(const QByteArray& json)
{
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &erro);
    if (erro.error != QJsonParseError::NoError || !doc.isArray())
        return std::nullopt;
    QList<AuditSugestao> fila;
    for (const QJsonValue& v : doc.array()) {
        const QJsonObject o = v.toObject();
        const QJsonValue id = o.value(QStringLiteral("id"));
        const QJsonValue ouvido = o.value(QStringLiteral("ouvido"));
        const QJsonValue provavel = o.value(QStringLiteral("provavel"));
        const QJsonValue confianca = o.value(QStringLiteral("confianca"));
        const auto ocorrencias = inteiro(o.value(QStringLiteral("ocorrencias")));
        const QJsonValue criada = o.value(QStringLiteral("createdAt"));
        if (!v.isObject() || !id.isString() || !ouvido.isString() || !provavel.isString() || !confianca.isDouble()
            || !ocorrencias || !criada.isString())
            return std::nullopt;
        const QUuid uuid = QUuid::fromString(id.toString());
        const auto data = Json::lerDataIso(criada.toString());
        if (uuid.isNull() || !data)
            return std::nullopt;
        fila.append({uuid, ouvido.toString(), provavel.toString(), confianca.toDouble(), *ocorrencias, *data});
    }
    return fila;
}

} // namespace sonvo
