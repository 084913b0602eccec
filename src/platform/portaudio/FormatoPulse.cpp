#include "platform/portaudio/EntradaAudioPortAudio.h"

#include <pulse/pulseaudio.h>

#include <chrono>

namespace sonvo {

namespace {
struct Consulta {
    pa_mainloop* laco = nullptr;
    pa_context* contexto = nullptr;
    QByteArray fontePadrao;
    std::optional<FormatoAudio> formato;
    bool terminou = false;
};

void aoReceberFonte(pa_context*, const pa_source_info* info, int fim, void* dados)
{
    auto* c = static_cast<Consulta*>(dados);
    if (fim || !info) {
        c->terminou = true;
        return;
    }
    c->formato = FormatoAudio{static_cast<int>(info->sample_spec.rate), static_cast<int>(info->sample_spec.channels)};
}

void aoReceberServidor(pa_context* ctx, const pa_server_info* info, void* dados)
{
    auto* c = static_cast<Consulta*>(dados);
    if (!info || !info->default_source_name) {
        c->terminou = true;
        return;
    }
    c->fontePadrao = info->default_source_name;
    pa_operation* op = pa_context_get_source_info_by_name(ctx, c->fontePadrao.constData(), aoReceberFonte, c);
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
} // namespace

std::optional<FormatoAudio> formatoDaFontePadraoPulse()
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
    if (c.formato && (c.formato->taxa <= 0 || c.formato->canais <= 0))
        return std::nullopt;
    return c.formato;
}

} // namespace sonvo
