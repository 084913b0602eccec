#include "platform/portaudio/EntradaAudioPortAudio.h"

#include <pulse/pulseaudio.h>

#include <chrono>

namespace sonvo {

namespace {
// One question to the sound server: its default source, then every source.
struct Consulta {
    pa_mainloop* laco = nullptr;
    pa_context* contexto = nullptr;
    QByteArray fontePadrao;
    struct Fonte {
        DispositivoEntrada dispositivo;
        FormatoAudio formato;
        bool monitor = false;
    };
    QList<Fonte> fontes;
    bool respondeu = false;
    bool terminou = false;
};

void aoReceberFonte(pa_context*, const pa_source_info* info, int fim, void* dados)
{
    auto* c = static_cast<Consulta*>(dados);
    if (fim || !info) {
        c->respondeu = fim > 0;
        c->terminou = true;
        return;
    }
    c->fontes << Consulta::Fonte{{QString::fromUtf8(info->name), QString::fromUtf8(info->description)},
                                 {static_cast<int>(info->sample_spec.rate), static_cast<int>(info->sample_spec.channels)},
                                 info->monitor_of_sink != PA_INVALID_INDEX};
}

void aoReceberServidor(pa_context* ctx, const pa_server_info* info, void* dados)
{
    auto* c = static_cast<Consulta*>(dados);
    if (info && info->default_source_name)
        c->fontePadrao = info->default_source_name;
    pa_operation* op = pa_context_get_source_info_list(ctx, aoReceberFonte, c);
    if (op)
        pa_operation_unref(op);
    else
        c->terminou = true;
}

void aoMudarEstado(pa_context* ctx, void* dados)
{
    auto* c = static_cast<Consulta*>(dados);
    switch (pa_context_get_state(ctx)) {
    case PA_CONTEXT_READY: {
        pa_operation* op = pa_context_get_server_info(ctx, aoReceberServidor, c);
        if (op)
            pa_operation_unref(op);
        else
            c->terminou = true;
        break;
    }
    case PA_CONTEXT_FAILED:
    case PA_CONTEXT_TERMINATED: c->terminou = true; break;
    default: break;
    }
}
std::optional<Consulta> consultar()
{
    Consulta c;
    c.laco = pa_mainloop_new();
    if (!c.laco)
        return std::nullopt;
    c.contexto = pa_context_new(pa_mainloop_get_api(c.laco), "Sonvo");
    if (c.contexto && pa_context_connect(c.contexto, nullptr, PA_CONTEXT_NOAUTOSPAWN, nullptr) >= 0) {
        pa_context_set_state_callback(c.contexto, aoMudarEstado, &c);
        // A local round trip, bounded so that a wedged server never holds the caller.
        const auto limite = std::chrono::steady_clock::now() + std::chrono::milliseconds(500);
        while (!c.terminou) {
            const auto resta = std::chrono::duration_cast<std::chrono::microseconds>(limite - std::chrono::steady_clock::now());
            if (resta.count() <= 0)
                break;
            if (pa_mainloop_prepare(c.laco, static_cast<int>(resta.count())) < 0 || pa_mainloop_poll(c.laco) < 0
                || pa_mainloop_dispatch(c.laco) < 0)
                break;
        }
        pa_context_disconnect(c.contexto);
    }
    if (c.contexto)
        pa_context_unref(c.contexto);
    pa_mainloop_free(c.laco);
    c.laco = nullptr;
    c.contexto = nullptr;
    if (!c.respondeu)
        return std::nullopt;
    return c;
}

} // namespace

std::optional<FormatoAudio> formatoDaFontePulse(const QString& nome)
{
    const auto c = consultar();
    if (!c)
        return std::nullopt;
    const QString procurada = nome.isEmpty() ? QString::fromUtf8(c->fontePadrao) : nome;
    for (const auto& f : c->fontes)
        if (f.dispositivo.nome == procurada && f.formato.taxa > 0 && f.formato.canais > 0)
            return f.formato;
    return std::nullopt;
}

std::optional<QList<DispositivoEntrada>> fontesPulse()
{
    const auto c = consultar();
    if (!c)
        return std::nullopt;
    QList<DispositivoEntrada> r;
    for (const auto& f : c->fontes)
        if (!f.monitor)
            r.insert(f.dispositivo.nome == QString::fromUtf8(c->fontePadrao) ? 0 : r.size(), f.dispositivo);
    return r;
}

} // namespace sonvo
