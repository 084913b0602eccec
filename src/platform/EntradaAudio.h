#pragma once

#include "core/Resultado.h"

#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace sonvo {

struct FormatoAudio {
    int taxa = 0;   // frames per second, the device's own
    int canais = 0; // the device's own channel count
};

// A microphone the sound server offers: its name (kept in the settings) and what the user reads.
struct DispositivoEntrada {
    QString nome;
    QString descricao;
    bool operator==(const DispositivoEntrada&) const = default;
};

// The chosen microphone (the default one unless told), captured as the device delivers it: its own rate and channel count,
// 32-bit float, interleaved, 1024 frames per buffer. No conversion of any kind.
class EntradaAudio {
public:
    // Called on the audio thread for every buffer; it must not block.
    using Bloco = std::function<void(const float* intercalado, unsigned long quadros)>;

    virtual ~EntradaAudio() = default;
    // The format the next capture will have, or why there is no input.
    virtual Resultado<FormatoAudio, QString> formato() = 0;
    // Starts delivering buffers; on failure, the description of the cause.
    virtual std::optional<QString> iniciar(Bloco bloco) = 0;
    // Stops; when it returns, no buffer is being delivered and none will be. Safe when stopped.
    virtual void parar() = 0;
    // Does the slow, one-time part of opening the input (the device probe) now, so the first
    // recording starts at once instead of clipping the user's first syllable.
    virtual void preparar() {}
    // The microphones, the default one first; empty when the server cannot tell.
    virtual QList<DispositivoEntrada> dispositivos() { return {}; }
    // The one the next capture uses, by name; empty: the system's default.
    virtual void escolher(const QString& nome) { (void)nome; }
};

} // namespace sonvo
