#include "dictation/ServicoTranscricao.h"

#include "core/Configuracoes.h"
#include "core/Endpoints.h"

namespace sonvo {

namespace {
QString textoConfig(const Configuracoes& config, const char* chave)
{
    return config.texto(QLatin1String(chave)).value_or(QString()).trimmed();
}
} // namespace

std::optional<ServicoTranscricao::Preset> ServicoTranscricao::presetDe(const QString& v)
{
    for (Preset p : {Preset::openai, Preset::groq, Preset::proprio})
        if (v == rawValue(p))
            return p;
    return std::nullopt;
}

QString ServicoTranscricao::rawValue(Preset p)
{
    switch (p) {
    case Preset::groq: return QStringLiteral("groq");
    case Preset::proprio: return QStringLiteral("proprio");
    case Preset::openai: break;
    }
    return QStringLiteral("openai");
}

QString ServicoTranscricao::nome(Preset p)
{
    switch (p) {
    case Preset::groq: return QStringLiteral("Groq");
    case Preset::proprio: return QStringLiteral("Servidor próprio");
    case Preset::openai: break;
    }
    return QStringLiteral("OpenAI");
}

QString ServicoTranscricao::urlPadrao(Preset p)
{
    switch (p) {
    case Preset::groq: return QStringLiteral("https://api.groq.com/openai");
    case Preset::proprio: return QStringLiteral("http://127.0.0.1:8000");
    case Preset::openai: break;
    }
    return QStringLiteral("https://api.openai.com");
}

QString ServicoTranscricao::modeloPadrao(Preset p)
{
    return p == Preset::groq ? QStringLiteral("whisper-large-v3-turbo") : QStringLiteral("whisper-1");
}

QString ServicoTranscricao::contaDe(Preset p)
{
    return rawValue(p) + QStringLiteral("_api_key");
}

QString ServicoTranscricao::descricaoEnvio(bool compacto)
{
    return compacto ? QStringLiteral("Compacto (Opus)") : QStringLiteral("Original (WAV)");
}

ServicoTranscricao ServicoTranscricao::ler(const Configuracoes& config)
{
    ServicoTranscricao s;
    s.preset = presetDe(textoConfig(config, "transcricaoServico")).value_or(Preset::openai);
    const QString url = textoConfig(config, "transcricaoURL");
    if (!url.isEmpty())
        s.base = QUrl(url);
    else if (s.preset == Preset::openai)
        s.base = Endpoints::baseOpenAI(config);
    else
        s.base = QUrl(urlPadrao(s.preset));
    // OpenAI's address variable is how tests and gateways redirect OpenAI, whatever the setting.
    if (s.preset == Preset::openai && !qEnvironmentVariableIsEmpty("SONVO_OPENAI_BASE_URL"))
        s.base = Endpoints::baseOpenAI(config);
    const QString modeloEnv = qEnvironmentVariable("SONVO_TRANSCRICAO_MODELO").trimmed();
    const QString modelo = textoConfig(config, "transcricaoModelo");
    s.modelo = !modeloEnv.isEmpty() ? modeloEnv : !modelo.isEmpty() ? modelo : modeloPadrao(s.preset);
    s.contaChave = contaDe(s.preset);
    s.compacto = textoConfig(config, "envioAudio") == u"opus";
    return s;
}

QUrl ServicoTranscricao::endpoint() const
{
    return Endpoints::juntar(base, QStringLiteral("/v1/audio/transcriptions"));
}

} // namespace sonvo
