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
    QList<DispositivoEntrada> dispositivos() override;
    void escolher(const QString& nome) override { m_escolhido = nome; }

private:
    std::optional<QString> inicializar();

    bool m_inicializado = false;
    PaStream* m_stream = nullptr;
    Bloco m_bloco;
    int m_canais = 0;
    QString m_escolhido; // a sound server source; empty: its default
};

// The format of a sound server source (empty name: the default one), when a PulseAudio (or
// PipeWire) server answers: through ALSA's "default" device PortAudio only sees a generic
// 32-channel device.
std::optional<FormatoAudio> formatoDaFontePulse(const QString& nome);
// The server's sources that are microphones (monitors of outputs left out), the default first.
std::optional<QList<DispositivoEntrada>> fontesPulse();

} // namespace sonvo
