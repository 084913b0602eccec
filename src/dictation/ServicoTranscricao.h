#pragma once

#include <QString>
#include <QUrl>

#include <optional>

namespace sonvo {

class Configuracoes;

// Which service transcribes, as the settings and the environment say: a preset (OpenAI, Groq or
// a server of the user's own, all speaking OpenAI's /v1/audio/transcriptions) that fills the
// address and the model, both of which the user may change, and how the audio is uploaded.
// Without any setting it is exactly OpenAI's whisper-1 with the recording as WAV.
struct ServicoTranscricao {
    enum class Preset { openai, groq, proprio };

    Preset preset = Preset::openai;
    QUrl base;          // the address before /v1/audio/transcriptions
    QString modelo;     // whisper-1, gpt-4o-transcribe, whisper-large-v3-turbo, any name
    QString contaChave; // its key's account in the key store
    bool compacto = false; // upload as Ogg/Opus

    // "transcricaoServico" (openai|groq|proprio), "transcricaoURL", "transcricaoModelo", "envioAudio"
    // (wav|opus). SONVO_OPENAI_BASE_URL and "openaiBaseURL" still decide OpenAI's address, and
    // SONVO_TRANSCRICAO_MODELO wins over the model setting, like the address variables do.
    static ServicoTranscricao ler(const Configuracoes& config);

    static std::optional<Preset> presetDe(const QString& rawValue);
    static QString rawValue(Preset p);            // openai, groq, proprio
    static QString nome(Preset p);                // OpenAI, Groq, Servidor próprio
    static QString urlPadrao(Preset p);
    static QString modeloPadrao(Preset p);
    static QString contaDe(Preset p);             // openai_api_key, groq_api_key, proprio_api_key
    static QString descricaoEnvio(bool compacto); // Original (WAV), Compacto (Opus)

    QUrl endpoint() const;
    // A server of one's own may need no key: the request then goes without Authorization.
    bool chaveOpcional() const { return preset == Preset::proprio; }
};

} // namespace sonvo
