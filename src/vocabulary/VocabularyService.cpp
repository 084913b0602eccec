#include "vocabulary/VocabularyService.h"

#include "core/TextoUnicode.h"
#include "vocabulary/MotorCorrecoes.h"

namespace sonvo {

namespace {
constexpr qsizetype kLimiteDica = 1000;
} // namespace

VocabularyService::VocabularyService(QString pasta, Configuracoes& config)
    : m_documento(pasta), m_porApp(pasta), m_aprendizado(config)
{
}

QString VocabularyService::aplicarCorrecoes(const QString& texto, const std::optional<QString>& contextoApp) const
{
    const VocabularioSnapshot global = m_documento.carregar();
    VocabularioSnapshot porApp;
    if (contextoApp)
        porApp = m_porApp.carregar(*contextoApp).value_or(VocabularioSnapshot::vazio());
    const QString passo1 = MotorCorrecoes::aplicar(global.correcoes, global.whitelist, texto);
    if (porApp.correcoes.isEmpty())
        return passo1;
    return MotorCorrecoes::aplicar(porApp.correcoes, global.whitelist + porApp.whitelist, passo1);
}

std::optional<QString> VocabularyService::priorityTermsAsPrompt(const std::optional<QString>& contextoApp) const
{
    // The hint is the first 1000 characters of the joined terms: joining (and reading the
    // document) stops once it is certainly that long.
    QString dica;
    bool algum = false;
    auto acrescentar = [&](QStringView termo) {
        if (algum)
            dica += QStringLiteral(", ");
        dica += termo;
        algum = true;
        return !(dica.size() > kLimiteDica && TextoUnicode::contarGrafemas(dica) > kLimiteDica);
    };
    bool continuar = true;
    m_documento.percorrerPrioritarios([&](QStringView termo) { return continuar = acrescentar(termo); });
    if (continuar && contextoApp)
        if (const auto porApp = m_porApp.carregar(*contextoApp))
            for (const QString& t : porApp->prioritarios)
                if (!acrescentar(t))
                    break;
    if (!algum)
        return std::nullopt;
    return TextoUnicode::prefixoGrafemas(dica, kLimiteDica);
}

} // namespace sonvo
