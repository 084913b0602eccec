#include "support/EsquemaOpenAI.h"

#include <QFile>
#include <QProcess>
#include <QTemporaryFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QSet>

namespace sonvo::teste {

namespace {
QJsonObject documento()
{
    QFile f(QStringLiteral(SONVO_TEST_DADOS "/openai/openai-subset.json"));
    if (!f.open(QIODevice::ReadOnly))
        return {};
    return QJsonDocument::fromJson(f.readAll()).object();
}

QJsonObject resolver(const QJsonObject& doc, QJsonObject esquema)
{
    while (esquema.contains(QStringLiteral("$ref"))) {
        const QString ref = esquema.value(QStringLiteral("$ref")).toString();
        const QString nome = ref.section(u'/', -1);
        esquema = doc[QStringLiteral("components")][QStringLiteral("schemas")][nome].toObject();
    }
    return esquema;
}

// Whether a plain text value fits the schema (type string, or any alternative that is a string).
bool aceitaTexto(const QJsonObject& doc, const QJsonObject& esquemaBruto, const QString& valor)
{
    const QJsonObject e = resolver(doc, esquemaBruto);
    for (const char* alt : {"anyOf", "oneOf"}) {
        const QJsonArray alternativas = e.value(QLatin1String(alt)).toArray();
        if (!alternativas.isEmpty()) {
            for (const QJsonValue& a : alternativas)
                if (aceitaTexto(doc, a.toObject(), valor))
                    return true;
            return false;
        }
    }
    if (e.value(QStringLiteral("type")).toString() != u"string")
        return false;
    const QJsonArray enumeracao = e.value(QStringLiteral("enum")).toArray();
    return enumeracao.isEmpty() || enumeracao.contains(valor);
}
} // namespace

QStringList violacoesTranscricao(const QList<ParteMultipart>& partes)
{
    const QJsonObject doc = documento();
    const QJsonObject req = doc[QStringLiteral("components")][QStringLiteral("schemas")][QStringLiteral("CreateTranscriptionRequest")].toObject();
    if (req.isEmpty())
        return {QStringLiteral("descrição da API não encontrada")};
    const QJsonObject props = req.value(QStringLiteral("properties")).toObject();
    const bool fechado = req.value(QStringLiteral("additionalProperties")) == QJsonValue(false);

    QStringList erros;
    QSet<QString> vistos;
    for (const ParteMultipart& p : partes) {
        const QString nome = QString::fromUtf8(p.nome);
        if (vistos.contains(nome))
            erros << QStringLiteral("campo repetido: ") + nome;
        vistos.insert(nome);
        if (!props.contains(nome)) {
            if (fechado)
                erros << QStringLiteral("campo desconhecido: ") + nome;
            continue;
        }
        const QJsonObject e = resolver(doc, props.value(nome).toObject());
        if (e.value(QStringLiteral("format")).toString() == u"binary") {
            if (!p.nomeArquivo || p.nomeArquivo->isEmpty())
                erros << QStringLiteral("arquivo sem nome: ") + nome;
            if (p.dados.isEmpty())
                erros << QStringLiteral("arquivo vazio: ") + nome;
            continue;
        }
        if (p.nomeArquivo)
            erros << QStringLiteral("campo de texto enviado como arquivo: ") + nome;
        if (!aceitaTexto(doc, props.value(nome).toObject(), QString::fromUtf8(p.dados)))
            erros << QStringLiteral("valor fora do tipo: ") + nome;
    }
    for (const QJsonValue& r : req.value(QStringLiteral("required")).toArray())
        if (!vistos.contains(r.toString()))
            erros << QStringLiteral("campo obrigatório ausente: ") + r.toString();
    return erros;
}

QStringList violacoesJson(const QByteArray& corpo, const QString& esquema)
{
    QTemporaryFile arquivo;
    if (!arquivo.open() || arquivo.write(corpo) != corpo.size() || !arquivo.flush())
        return {QStringLiteral("não foi possível gravar o corpo")};
    QProcess node;
    node.start(QStringLiteral("node"), {QStringLiteral(SONVO_TEST_ESQUEMA "/validar.mjs"),
                                        QStringLiteral(SONVO_TEST_DADOS "/openai/openai-subset.json"), esquema,
                                        arquivo.fileName()});
    if (!node.waitForFinished(30000) || node.exitStatus() != QProcess::NormalExit)
        return {QStringLiteral("o validador não terminou")};
    if (node.exitCode() == 0)
        return {};
    return {QString::fromUtf8(node.readAllStandardError())};
}

} // namespace sonvo::teste
