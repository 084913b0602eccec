#include "platform/portaudio/EntradaAudioPortAudio.h"

#include "core/Log.h"
#include "platform/Plataforma.h"

#include <portaudio.h>

#include <cstdio>
#include <fcntl.h>
#include <unistd.h>

namespace sonvo {

namespace {
constexpr unsigned long kQuadrosPorBloco = 1024;

// ALSA and JACK print dozens of diagnostic lines while PortAudio probes devices; they mean
// nothing to the user and would land on the terminal or in the log. Standard error is pointed
// at /dev/null for the duration of the probe.
class SilencioStderr {
public:
    SilencioStderr()
    {
        std::fflush(stderr);
        m_salvo = ::dup(STDERR_FILENO);
        const int nulo = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
        if (m_salvo >= 0 && nulo >= 0)
            ::dup2(nulo, STDERR_FILENO);
        if (nulo >= 0)
            ::close(nulo);
    }
    ~SilencioStderr()
    {
        std::fflush(stderr);
        if (m_salvo >= 0) {
            ::dup2(m_salvo, STDERR_FILENO);
            ::close(m_salvo);
        }
    }
    SilencioStderr(const SilencioStderr&) = delete;
    SilencioStderr& operator=(const SilencioStderr&) = delete;

private:
    int m_salvo = -1;
};

QString textoPa(PaError e)
{
    return QString::fromUtf8(Pa_GetErrorText(e));
}

// Generic ALSA devices that are really the sound server.
bool ehDispositivoDoServidor(const PaDeviceInfo* info)
{
    const QString nome = QString::fromUtf8(info->name);
    return nome == u"default" || nome == u"pulse" || nome == u"pipewire" || nome == u"sysdefault";
}
} // namespace

EntradaAudioPortAudio::EntradaAudioPortAudio() = default;

EntradaAudioPortAudio::~EntradaAudioPortAudio()
{
    parar();
    if (m_inicializado)
        Pa_Terminate();
}

std::optional<QString> EntradaAudioPortAudio::inicializar()
{
    if (m_inicializado)
        return std::nullopt;
    SilencioStderr silencio;
    const PaError e = Pa_Initialize();
    if (e != paNoError)
        return textoPa(e);
    m_inicializado = true;
    return std::nullopt;
}

Resultado<FormatoAudio, QString> EntradaAudioPortAudio::formato()
{
    if (auto erro = inicializar())
        return *erro;
    const PaDeviceIndex dispositivo = Pa_GetDefaultInputDevice();
    if (dispositivo == paNoDevice)
        return QStringLiteral("nenhum dispositivo de entrada de áudio");
    const PaDeviceInfo* info = Pa_GetDeviceInfo(dispositivo);
    if (!info || info->maxInputChannels < 1)
        return QStringLiteral("nenhum dispositivo de entrada de áudio");
    if (ehDispositivoDoServidor(info)) {
        if (const auto f = formatoDaFontePulse(m_escolhido))
            return *f;
    }
    // A real device reports its own channels; a generic one is taken as stereo at most.
    const int canais = ehDispositivoDoServidor(info) ? std::min(info->maxInputChannels, 2) : info->maxInputChannels;
    return FormatoAudio{static_cast<int>(info->defaultSampleRate), canais};
}

namespace {
int aoCapturar(const void* entrada, void*, unsigned long quadros, const PaStreamCallbackTimeInfo*, PaStreamCallbackFlags,
               void* dados)
{
    auto* bloco = static_cast<EntradaAudio::Bloco*>(dados);
    if (entrada && *bloco)
        (*bloco)(static_cast<const float*>(entrada), quadros);
    return paContinue;
}
} // namespace

QList<DispositivoEntrada> EntradaAudioPortAudio::dispositivos()
{
    return fontesPulse().value_or(QList<DispositivoEntrada>{});
}

std::optional<QString> EntradaAudioPortAudio::iniciar(Bloco bloco)
{
    parar();
    const auto f = formato();
    if (!f)
        return f.erro();
    const PaDeviceIndex dispositivo = Pa_GetDefaultInputDevice();
    const PaDeviceInfo* info = Pa_GetDeviceInfo(dispositivo);
    PaStreamParameters params{};
    params.device = dispositivo;
    params.channelCount = f.valor().canais;
    params.sampleFormat = paFloat32;
    params.suggestedLatency = info ? info->defaultLowInputLatency : 0.05;
    m_bloco = std::move(bloco);
    m_canais = f.valor().canais;
    // ALSA's pulse plugin records from the client's default source, which libpulse reads from
    // PULSE_SOURCE when the stream's connection is made.
    if (m_escolhido.isEmpty())
        qunsetenv("PULSE_SOURCE");
    else
        qputenv("PULSE_SOURCE", m_escolhido.toUtf8());
    SilencioStderr silencio;
    PaError e = Pa_OpenStream(&m_stream, &params, nullptr, f.valor().taxa, kQuadrosPorBloco, paNoFlag,
                              aoCapturar, &m_bloco);
    if (e != paNoError) {
        m_stream = nullptr;
        m_bloco = nullptr;
        return textoPa(e);
    }
    e = Pa_StartStream(m_stream);
    if (e != paNoError) {
        Pa_CloseStream(m_stream);
        m_stream = nullptr;
        m_bloco = nullptr;
        return textoPa(e);
    }
    return std::nullopt;
}

void EntradaAudioPortAudio::parar()
{
    if (!m_stream)
        return;
    // Pa_StopStream returns after the last callback has finished.
    Pa_StopStream(m_stream);
    Pa_CloseStream(m_stream);
    m_stream = nullptr;
    m_bloco = nullptr;
}

std::unique_ptr<EntradaAudio> criarEntradaAudio()
{
    return std::make_unique<EntradaAudioPortAudio>();
}

} // namespace sonvo
