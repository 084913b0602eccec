#include "vocabulary/VocabularioPorApp.h"

#include "core/Arquivos.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"

#include <QDateTime>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

namespace sonvo {

namespace {

// A JSON value as an object of texts, or nothing when it is anything else.
std::optional<QMap<QString, QString>> objetoDeTextos(const QJsonValue& v)
{
    if (!v.isObject())
        return std::nullopt;
    QMap<QString, QString> mapa;
    const QJsonObject o = v.toObject();
    for (auto it = o.begin(); it != o.end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        mapa.insert(it.key(), it.value().toString());
    }
    return mapa;
}

std::optional<QStringList> listaDeTextos(const QJsonValue& v)
{
    if (!v.isArray())
        return std::nullopt;
    QStringList lista;
    const QJsonArray a = v.toArray();
    lista.reserve(a.size());
    for (const QJsonValue& x : a) {
        if (!x.isString())
            return std::nullopt;
        lista.append(x.toString());
    }
    return lista;
}

} // namespace

VocabularioPorApp::VocabularioPorApp(QString pasta) : m_pasta(std::move(pasta)) {}

QString VocabularioPorApp::arquivo() const
{
    return m_pasta + u'/' + QLatin1String(kArquivo);
}

std::optional<VocabularioSnapshot> VocabularioPorApp::snapshot(const QByteArray& json, const QString& bundleID)
{
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &erro);
    if (erro.error != QJsonParseError::NoError || !doc.isObject())
        return std::nullopt;
    const QJsonValue entrada = doc.object().value(bundleID);
    if (!entrada.isObject())
        return std::nullopt;
    const QJsonObject app = entrada.toObject();
    VocabularioSnapshot s;
    // A component of the wrong type (or holding anything but texts) reads as empty.
    if (const auto c = objetoDeTextos(app.value(QStringLiteral("corrections"))))
        for (auto it = c->begin(); it != c->end(); ++it)
            s.correcoes.insert(TextoUnicode::minusculas(it.key()), it.value());
    if (const auto p = listaDeTextos(app.value(QStringLiteral("priorityTerms"))))
        s.prioritarios = *p;
    if (const auto w = listaDeTextos(app.value(QStringLiteral("whitelist"))))
        for (const QString& x : *w)
            s.whitelist.insert(TextoUnicode::minusculas(x));
    return s;
}

std::optional<VocabularioSnapshot> VocabularioPorApp::carregar(const QString& bundleID) const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido)
        return std::nullopt;
    return snapshot(lido.valor(), bundleID);
}

VocabularioSnapshot VocabularioPorApp::lerSnapshot(const QString& bundleID) const
{
    return carregar(bundleID).value_or(VocabularioSnapshot::vazio());
}

QStringList VocabularioPorApp::listarApps() const
{
    QStringList apps = lerRaiz().keys();
    apps.sort();
    return apps;
}

std::optional<QString> VocabularioPorApp::diagnosticar() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido)
        return lido.erro().naoExiste() ? std::nullopt
                                       : std::optional(QStringLiteral("Não foi possível ler %1: %2").arg(arquivo(), lido.erro().descricao));
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor(), &erro);
    if (erro.error != QJsonParseError::NoError)
        return QStringLiteral("O arquivo %1 não é JSON válido: %2").arg(arquivo(), erro.errorString());
    if (!doc.isObject())
        return QStringLiteral("O arquivo %1 não contém um objeto JSON").arg(arquivo());
    return std::nullopt;
}

QJsonObject VocabularioPorApp::lerRaiz() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido)
        return {};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor());
    return doc.isObject() ? doc.object() : QJsonObject{};
}

std::optional<QString> VocabularioPorApp::gravarRaiz(const QJsonObject& raiz) const
{
    const QByteArray json = Json::bonito(QJsonDocument(raiz));
    if (json.isEmpty()) {
        Log::tag("Vocab/Tier3", QStringLiteral("gravarJSONRaiz: falha ao serializar"));
        return QStringLiteral("Não foi possível serializar o vocabulário por aplicativo");
    }
    Caminhos::garantirPasta(m_pasta);
    if (const auto erro = Arquivos::gravarAtomico(Arquivos::destinoDeGravacao(arquivo()), json))
        return QStringLiteral("Não foi possível gravar %1: %2").arg(arquivo(), erro->descricao);
    return std::nullopt;
}

std::optional<QString> VocabularioPorApp::guardarIlegivel(const QString& motivo) const
{
    const auto guardado = Arquivos::preservarCorrompido(arquivo(), QDateTime::currentDateTimeUtc());
    if (!guardado) {
        Log::tag("Vocab", QStringLiteral("%@ ilegível (%@) e não pôde ser guardado à parte; nada foi gravado"),
                 {arquivo(), motivo});
        return QStringLiteral("O arquivo %1 não pôde ser lido nem guardado à parte; nada foi alterado").arg(arquivo());
    }
    Log::tag("Vocab", QStringLiteral("%@ ilegível (%@); original guardado em %@"), {arquivo(), motivo, *guardado});
    return std::nullopt;
}

Resultado<QJsonObject, QString> VocabularioPorApp::raizParaReescrever() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido) {
        if (lido.erro().naoExiste())
            return QJsonObject{};
        if (const auto erro = guardarIlegivel(lido.erro().descricao))
            return *erro;
        return QJsonObject{};
    }
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor(), &erro);
    if (erro.error == QJsonParseError::NoError && doc.isObject())
        return doc.object();
    const QString motivo = erro.error != QJsonParseError::NoError ? erro.errorString() : QStringLiteral("a raiz não é um objeto");
    if (const auto falha = guardarIlegivel(motivo))
        return *falha;
    return QJsonObject{};
}

std::optional<QString> VocabularioPorApp::registrar(const QString& bundleID, const QString& ouvido, const QString& escrever)
{
    const QString o = TextoUnicode::aparar(ouvido).toString();
    const QString e = TextoUnicode::aparar(escrever).toString();
    if (o.isEmpty() || e.isEmpty()) {
        Log::tag("Vocab/Tier3", QStringLiteral("registrarPerApp: skip (vazio)"));
        return QStringLiteral("O texto ouvido e o texto a escrever não podem ser vazios");
    }
    auto raiz = raizParaReescrever();
    if (!raiz)
        return raiz.erro();
    const QJsonValue entrada = raiz.valor().value(bundleID);
    const QJsonValue correcoesAtuais = entrada.toObject().value(QStringLiteral("corrections"));
    // Replacing a value of the wrong type would drop what the user wrote there: keep the file.
    if ((!entrada.isUndefined() && !entrada.isObject()) || (!correcoesAtuais.isUndefined() && !correcoesAtuais.isObject()))
        if (const auto falha = guardarIlegivel(QStringLiteral("entrada de %1 com tipo inesperado").arg(bundleID)))
            return falha;

    QJsonObject app = entrada.toObject();
    QJsonObject correcoes = correcoesAtuais.toObject();
    correcoes.insert(o, e);
    app.insert(QStringLiteral("corrections"), correcoes);
    raiz.valor().insert(bundleID, app);
    const auto erro = gravarRaiz(raiz.valor());
    Log::tag("Vocab/Tier3", QStringLiteral("registrou %@ em %@: '%@' → '%@'"), {bundleID, QString::fromLatin1(kArquivo), o, e});
    return erro;
}

Resultado<bool, QString> VocabularioPorApp::remover(const QString& bundleID, const QString& ouvido)
{
    const QString o = TextoUnicode::aparar(ouvido).toString();
    auto raiz = raizParaReescrever();
    if (!raiz)
        return raiz.erro();
    const QJsonValue entrada = raiz.valor().value(bundleID);
    if (!entrada.isUndefined() && !entrada.isObject())
        if (const auto falha = guardarIlegivel(QStringLiteral("entrada de %1 com tipo inesperado").arg(bundleID)))
            return *falha;

    QJsonObject app = entrada.toObject();
    bool removeu = false;
    const QJsonValue correcoesAtuais = app.value(QStringLiteral("corrections"));
    if (correcoesAtuais.isObject()) {
        QJsonObject correcoes = correcoesAtuais.toObject();
        removeu = correcoes.contains(o);
        correcoes.remove(o);
        if (correcoes.isEmpty())
            app.remove(QStringLiteral("corrections"));
        else
            app.insert(QStringLiteral("corrections"), correcoes);
    }
    // A value of the wrong type counts as present: dropping it would lose what the user wrote.
    auto temConteudo = [&](const QString& chave) {
        const QJsonValue v = app.value(chave);
        if (v.isUndefined())
            return false;
        return !v.isArray() || !v.toArray().isEmpty();
    };
    if (!app.contains(QStringLiteral("corrections")) && !temConteudo(QStringLiteral("priorityTerms")) && !temConteudo(QStringLiteral("whitelist")))
        raiz.valor().remove(bundleID);
    else
        raiz.valor().insert(bundleID, app);
    const auto erro = gravarRaiz(raiz.valor());
    Log::tag("Vocab/Tier3", QStringLiteral("removeu '%@' de %@"), {o, bundleID});
    if (erro)
        return *erro;
    return removeu;
}

} // namespace sonvo
