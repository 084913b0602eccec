#include "platform/wayland/JanelasWayland.h"

#include "wlr-foreign-toplevel-management-unstable-v1-client.h"

#include <QCoroSignal>

#include <wayland-client.h>

#include <algorithm>

namespace sonvo::wayland {

namespace {
constexpr uint32_t kAtivada = 2; // zwlr_foreign_toplevel_handle_v1.state.activated
using Relogio = std::chrono::steady_clock;
} // namespace

struct JanelasWayland::Janela {
    JanelasWayland* dono = nullptr;
    zwlr_foreign_toplevel_handle_v1* alca = nullptr;
    quint64 id = 0;
    QString appId;
    bool ativa = false;    // as of the last "done"
    bool ativaNova = false; // as the pending state says
    quint64 ordem = 0;     // when it was last activated
};

namespace {

using Janela = JanelasWayland::Janela;

const zwlr_foreign_toplevel_handle_v1_listener kJanela = {
    [](void*, zwlr_foreign_toplevel_handle_v1*, const char*) {}, // title
    [](void* d, zwlr_foreign_toplevel_handle_v1*, const char* appId) {
        static_cast<Janela*>(d)->appId = QString::fromUtf8(appId);
    },
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    [](void*, zwlr_foreign_toplevel_handle_v1*, wl_output*) {},
    [](void* d, zwlr_foreign_toplevel_handle_v1*, wl_array* estados) {
        auto* j = static_cast<Janela*>(d);
        j->ativaNova = false;
        const auto* e = static_cast<const uint32_t*>(estados->data);
        for (size_t i = 0; i < estados->size / sizeof(uint32_t); ++i)
            j->ativaNova = j->ativaNova || e[i] == kAtivada;
    },
    nullptr, // done and closed need the owner: set below
    nullptr,
    [](void*, zwlr_foreign_toplevel_handle_v1*, zwlr_foreign_toplevel_handle_v1*) {}, // parent
};

} // namespace

std::unique_ptr<JanelasWayland> JanelasWayland::criar(std::shared_ptr<ConexaoWayland> c, QStringList idsProprios,
                                                      qint64 pidProprio, bool podeColar)
{
    if (!c)
        return nullptr;
    auto* m = static_cast<zwlr_foreign_toplevel_manager_v1*>(c->vincular(&zwlr_foreign_toplevel_manager_v1_interface, 3));
    if (!m)
        return nullptr;
    return std::unique_ptr<JanelasWayland>(new JanelasWayland(std::move(c), m, std::move(idsProprios), pidProprio, podeColar));
}

JanelasWayland::JanelasWayland(std::shared_ptr<ConexaoWayland> c, zwlr_foreign_toplevel_manager_v1* m, QStringList ids,
                               qint64 pid, bool podeColar)
    : m_c(std::move(c)), m_gerente(m), m_idsProprios(std::move(ids)), m_pidProprio(pid), m_podeColar(podeColar)
{
    static const zwlr_foreign_toplevel_manager_v1_listener gerente = {&JanelasWayland::aoSurgir,
                                                                      &JanelasWayland::aoAcabar};
    zwlr_foreign_toplevel_manager_v1_add_listener(m_gerente, &gerente, this);
    // The windows that already exist are announced at once.
    wl_display_roundtrip(m_c->display());
}

JanelasWayland::~JanelasWayland()
{
    for (Janela* j : std::as_const(m_janelas)) {
        zwlr_foreign_toplevel_handle_v1_destroy(j->alca);
        delete j;
    }
    if (m_gerente) {
        // "finished" would come later, to a proxy that no longer listens.
        zwlr_foreign_toplevel_manager_v1_stop(m_gerente);
        wl_proxy_destroy(reinterpret_cast<wl_proxy*>(m_gerente));
    }
    m_c->enviar();
}

void JanelasWayland::aoSurgir(void* dados, zwlr_foreign_toplevel_manager_v1*, zwlr_foreign_toplevel_handle_v1* h)
{
    auto* eu = static_cast<JanelasWayland*>(dados);
    auto* j = new Janela;
    j->dono = eu;
    j->alca = h;
    j->id = eu->m_proximoId++;
    static const zwlr_foreign_toplevel_handle_v1_listener ouvinte = [] {
        zwlr_foreign_toplevel_handle_v1_listener l = kJanela;
        l.done = [](void* d, zwlr_foreign_toplevel_handle_v1*) {
            auto* j = static_cast<Janela*>(d);
            const bool agora = j->ativaNova && !j->ativa;
            j->ativa = j->ativaNova;
            if (agora) {
                j->ordem = ++j->dono->m_ordem;
                // Queued: a waiting activation must not resume inside the dispatch.
                QMetaObject::invokeMethod(j->dono, &JanelasWayland::ativada, Qt::QueuedConnection);
            }
        };
        l.closed = [](void* d, zwlr_foreign_toplevel_handle_v1* h) {
            auto* j = static_cast<Janela*>(d);
            j->dono->m_janelas.removeOne(j);
            zwlr_foreign_toplevel_handle_v1_destroy(h);
            delete j;
        };
        return l;
    }();
    zwlr_foreign_toplevel_handle_v1_add_listener(h, &ouvinte, j);
    eu->m_janelas << j;
}

void JanelasWayland::aoAcabar(void* dados, zwlr_foreign_toplevel_manager_v1* m)
{
    auto* eu = static_cast<JanelasWayland*>(dados);
    wl_proxy_destroy(reinterpret_cast<wl_proxy*>(m));
    eu->m_gerente = nullptr;
}

AppJanela JanelasWayland::descrever(const Janela& j) const
{
    AppJanela a;
    a.janela = j.id;
    if (!j.appId.isEmpty())
        a.id = j.appId;
    if (m_idsProprios.contains(j.appId, Qt::CaseInsensitive))
        a.pid = m_pidProprio;
    return a;
}

std::optional<AppJanela> JanelasWayland::daFrente()
{
    m_c->atualizar();
    for (const Janela* j : std::as_const(m_janelas))
        if (j->ativa)
            return descrever(*j);
    return std::nullopt;
}

QList<AppJanela> JanelasWayland::normaisEmOrdem()
{
    m_c->atualizar();
    QList<const Janela*> ordem(m_janelas.cbegin(), m_janelas.cend());
    std::stable_sort(ordem.begin(), ordem.end(), [](const Janela* a, const Janela* b) { return a->ordem > b->ordem; });
    QList<AppJanela> r;
    for (const Janela* j : ordem)
        r << descrever(*j);
    return r;
}

QCoro::Task<bool> JanelasWayland::ativar(AppJanela app, std::chrono::milliseconds limite)
{
    auto alvo = std::find_if(m_janelas.cbegin(), m_janelas.cend(), [&](const Janela* j) { return j->id == app.janela; });
    if (alvo == m_janelas.cend() || !m_c->assento())
        co_return false;
    zwlr_foreign_toplevel_handle_v1_activate((*alvo)->alca, m_c->assento());
    m_c->enviar();
    const auto fim = Relogio::now() + limite;
    for (;;) {
        const auto frente = daFrente();
        if (frente && frente->janela == app.janela)
            co_return true;
        const auto resto = std::chrono::ceil<std::chrono::milliseconds>(fim - Relogio::now());
        if (resto.count() <= 0)
            co_return false;
        co_await qCoro(this, &JanelasWayland::ativada, resto);
    }
}

} // namespace sonvo::wayland
