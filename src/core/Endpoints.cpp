#include "core/Endpoints.h"

#include "core/Configuracoes.h"

namespace sonvo {

namespace {
QUrl base(const char* variavel, const QString& chave, const QString& padrao, const Configuracoes& config)
{
    const QByteArray env = qgetenv(variavel);
    if (!env.trimmed().isEmpty())
        return QUrl(QString::fromUtf8(env.trimmed()));
    const auto v = config.texto(chave);
    if (v && !v->trimmed().isEmpty())
        return QUrl(v->trimmed());
    return QUrl(padrao);
}
} // namespace

QUrl Endpoints::baseOpenAI(const Configuracoes& config)
{
    return base("SONVO_OPENAI_BASE_URL", QStringLiteral("openaiBaseURL"), QStringLiteral("https://api.openai.com"), config);
}

QUrl Endpoints::baseAnthropic(const Configuracoes& config)
{
    return base("SONVO_ANTHROPIC_BASE_URL", QStringLiteral("anthropicBaseURL"), QStringLiteral("https://api.anthropic.com"), config);
}

std::optional<QString> Endpoints::erroDeEndereco(const QString& texto)
{
    const QUrl url(texto, QUrl::StrictMode);
    if (url.isValid() && (url.scheme() == u"http" || url.scheme() == u"https") && !url.host().isEmpty())
        return std::nullopt;
    return QStringLiteral("Endereço inválido: ") + texto + QStringLiteral(" (use http:// ou https:// seguido do servidor)");
}

QUrl Endpoints::juntar(const QUrl& base, const QString& caminho)
{
    QUrl u = base;
    QString prefixo = u.path();
    while (prefixo.endsWith(u'/'))
        prefixo.chop(1);
    u.setPath(prefixo + caminho);
    u.setQuery(QString());
    u.setFragment(QString());
    return u;
}

} // namespace sonvo
