#include "platform/wayland/ConexaoWayland.h"

#include "core/Log.h"

#include <QPointer>
#include <QCoroSignal>

#include <poll.h>
#include <wayland-client.h>

#include <csignal>

namespace sonvo::wayland {

std::shared_ptr<ConexaoWayland> ConexaoWayland::abrir()
{
    wl_display* d = wl_display_connect(nullptr);
    if (!d)
        return nullptr;
    // A reader that closes its end of a clipboard transfer early must not kill us with SIGPIPE.
    std::signal(SIGPIPE, SIG_IGN);
    auto c = std::shared_ptr<ConexaoWayland>(new ConexaoWayland(d));
    // Two roundtrips: the globals, then the first events of what was bound (the seat's name).
    if (wl_display_roundtrip(d) < 0)
        return nullptr;
    for (const Global& g : c->m_globais)
        if (g.interface == u"wl_seat" && !c->m_assento) {
            c->m_assento = static_cast<wl_seat*>(
                wl_registry_bind(c->m_registro, g.nome, &wl_seat_interface, std::min<uint32_t>(g.versao, 2)));
        }
    wl_display_roundtrip(d);
    return c;
}

ConexaoWayland::ConexaoWayland(wl_display* d) : m_display(d)
{
    static const wl_registry_listener registro = {&ConexaoWayland::aoAnunciar, &ConexaoWayland::aoRemover};
    m_registro = wl_display_get_registry(d);
    wl_registry_add_listener(m_registro, &registro, this);
    m_leitura = std::make_unique<QSocketNotifier>(wl_display_get_fd(d), QSocketNotifier::Read);
    connect(this, &ConexaoWayland::sincronizada, this, [this](quint64 id) { m_respondida = std::max(m_respondida, id); });
    connect(m_leitura.get(), &QSocketNotifier::activated, this, &ConexaoWayland::atualizar);
}

ConexaoWayland::~ConexaoWayland()
{
    m_leitura.reset();
    if (m_assento)
        wl_seat_destroy(m_assento);
    wl_registry_destroy(m_registro);
    wl_display_flush(m_display);
    wl_display_disconnect(m_display);
}

void ConexaoWayland::aoAnunciar(void* dados, wl_registry*, uint32_t nome, const char* interface, uint32_t versao)
{
    static_cast<ConexaoWayland*>(dados)->m_globais << Global{nome, QString::fromUtf8(interface), versao};
}

void ConexaoWayland::aoRemover(void* dados, wl_registry*, uint32_t nome)
{
    auto* c = static_cast<ConexaoWayland*>(dados);
    c->m_globais.removeIf([nome](const Global& g) { return g.nome == nome; });
}

QSet<QString> ConexaoWayland::globais() const
{
    QSet<QString> s;
    for (const Global& g : m_globais)
        s.insert(g.interface);
    return s;
}

void* ConexaoWayland::vincular(const wl_interface* interface, uint32_t versaoMaxima)
{
    const QString nome = QString::fromLatin1(interface->name);
    for (const Global& g : m_globais)
        if (g.interface == nome)
            return wl_registry_bind(m_registro, g.nome, interface, std::min(g.versao, versaoMaxima));
    return nullptr;
}

void ConexaoWayland::enviar()
{
    if (m_quebrada)
        return;
    wl_display_dispatch_pending(m_display);
    if (wl_display_flush(m_display) < 0 && errno != EAGAIN) {
        m_quebrada = true;
        Log::tag("Wayland", QStringLiteral("conexão com o compositor perdida"));
    }
}

void ConexaoWayland::atualizar()
{
    if (m_quebrada)
        return;
    while (wl_display_prepare_read(m_display) != 0)
        wl_display_dispatch_pending(m_display);
    wl_display_flush(m_display);
    pollfd p{wl_display_get_fd(m_display), POLLIN, 0};
    if (::poll(&p, 1, 0) > 0 && (p.revents & POLLIN)) {
        if (wl_display_read_events(m_display) < 0) {
            m_quebrada = true;
            m_leitura->setEnabled(false);
            Log::tag("Wayland", QStringLiteral("conexão com o compositor perdida"));
            return;
        }
    } else {
        wl_display_cancel_read(m_display);
    }
    wl_display_dispatch_pending(m_display);
    wl_display_flush(m_display);
}

namespace {
struct Sincronia {
    QPointer<ConexaoWayland> conexao;
    quint64 id;
};
void aoConcluir(void* dados, wl_callback* cb, uint32_t)
{
    wl_callback_destroy(cb);
    std::unique_ptr<Sincronia> s(static_cast<Sincronia*>(dados));
    // Queued, so the waiting code does not resume inside the dispatch.
    if (s->conexao)
        QMetaObject::invokeMethod(s->conexao, "sincronizada", Qt::QueuedConnection, Q_ARG(quint64, s->id));
}
const wl_callback_listener kSincronia = {&aoConcluir};
} // namespace

QCoro::Task<bool> ConexaoWayland::sincronizar(std::chrono::milliseconds limite)
{
    if (m_quebrada)
        co_return false;
    const quint64 id = ++m_sincronias;
    wl_callback* cb = wl_display_sync(m_display);
    wl_callback_add_listener(cb, &kSincronia, new Sincronia{this, id});
    enviar();
    const auto fim = std::chrono::steady_clock::now() + limite;
    while (m_respondida < id && !m_quebrada) {
        const auto resto = std::chrono::ceil<std::chrono::milliseconds>(fim - std::chrono::steady_clock::now());
        if (resto.count() <= 0)
            co_return false;
        co_await qCoro(this, &ConexaoWayland::sincronizada, resto);
    }
    co_return m_respondida >= id && !m_quebrada;
}

} // namespace sonvo::wayland
