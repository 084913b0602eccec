#pragma once

#include "platform/EntradaAudio.h"

#include <memory>
#include <mutex>

typedef void PaStream;

namespace sonvo {

// The default input through PortAudio (ALSA here, Core Audio on macOS).
class EntradaAudioPortAudio : public EntradaAudio {
public:
    EntradaAudioPortAudio();
    ~EntradaAudioPortAudio() override;

    Resultado<FormatoAudio, QString> formato() override;
    std::optional<QString> iniciar(Bloco bloco) override;
    void parar() override;
    void preparar() override { inicializar(); }

private:
    std::optional<QString> inicializar();

    bool m_inicializado = false;
    PaStream* m_stream = nullptr;
    Bloco m_bloco;
    int m_canais = 0;
};

// The format of the sound server's default source, when a PulseAudio (or PipeWire) server
// answers: through ALSA's "default" device PortAudio only sees a generic 32-channel device.
std::optional<FormatoAudio> formatoDaFontePadraoPulse();

} // namespace sonvo
