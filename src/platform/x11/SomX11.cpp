#include "platform/x11/SomX11.h"

#include <QThreadPool>

#include <canberra.h>

#include <mutex>

namespace sonvo::x11 {

struct SomX11::Estado {
    std::shared_ptr<ConexaoX11> x;
    std::mutex trava; // one play at a time on the context
    ca_context* contexto = nullptr;

    ~Estado()
    {
        if (contexto)
            ca_context_destroy(contexto);
    }

    void campainha()
    {
        // xcb may be used from any thread.
        xcb_bell(x->conexao(), 0);
        xcb_flush(x->conexao());
    }

    void tocar()
    {
        std::lock_guard trava_(trava);
        if (!contexto) {
            if (ca_context_create(&contexto) != CA_SUCCESS) {
                contexto = nullptr;
                campainha();
                return;
            }
            ca_context_change_props(contexto, CA_PROP_APPLICATION_NAME, "Sonvo", CA_PROP_APPLICATION_ID, "sonvo",
                                    nullptr);
        }
        const int r = ca_context_play(contexto, 1, CA_PROP_EVENT_ID, "complete", CA_PROP_EVENT_DESCRIPTION,
                                      "Ditado concluído", nullptr);
        if (r != CA_SUCCESS)
            campainha();
    }
};

SomX11::SomX11(std::shared_ptr<ConexaoX11> x) : m_estado(std::make_shared<Estado>())
{
    m_estado->x = std::move(x);
}

SomX11::~SomX11() = default;

void SomX11::tocarConclusao()
{
    // The worker keeps the state alive until it is done, even if Sonvo is shutting down.
    QThreadPool::globalInstance()->start([estado = m_estado] { estado->tocar(); });
}

} // namespace sonvo::x11
