#include "platform/x11/JanelasX11.h"

#include <QCoroTimer>

#include <cstring>

namespace sonvo::x11 {

namespace {
using namespace std::chrono_literals;
constexpr auto kIntervaloFoco = 5ms;

QList<uint32_t> valores32(const ConexaoX11::Propriedade& p)
{
    QList<uint32_t> v;
    if (p.formato != 32)
        return v;
    for (qsizetype i = 0; i + 4 <= p.dados.size(); i += 4) {
        uint32_t x = 0;
        std::memcpy(&x, p.dados.constData() + i, sizeof x);
        v << x;
    }
    return v;
}
} // namespace

JanelasX11::JanelasX11(std::shared_ptr<ConexaoX11> x) : m_x(std::move(x)) {}

bool JanelasX11::acessoConcedido()
{
    return m_x->temExtensao("XTEST");
}

std::optional<AppJanela> JanelasX11::descrever(xcb_window_t janela)
{
    // WM_CLASS is "instance\0class\0"; the class names the application.
    const auto classe = m_x->propriedade(janela, XCB_ATOM_WM_CLASS);
    if (!classe) // the window is gone
        return std::nullopt;
    AppJanela app;
    app.janela = janela;
    const QList<QByteArray> partes = classe->dados.split('\0');
    if (partes.size() >= 2 && !partes[1].isEmpty())
        app.id = QString::fromUtf8(partes[1]);
    if (const auto pid = m_x->propriedade(janela, m_x->atomo("_NET_WM_PID")); pid) {
        const auto v = valores32(*pid);
        if (!v.isEmpty())
            app.pid = v.first();
    }
    return app;
}

std::optional<AppJanela> JanelasX11::daFrente()
{
    const auto ativa = m_x->janelaDaPropriedade(m_x->raiz(), "_NET_ACTIVE_WINDOW");
    if (!ativa || *ativa == XCB_NONE)
        return std::nullopt;
    return descrever(*ativa);
}

bool JanelasX11::ehNormal(xcb_window_t janela)
{
    const auto tipo = m_x->propriedade(janela, m_x->atomo("_NET_WM_WINDOW_TYPE"));
    if (!tipo)
        return false;
    if (tipo->tipo != XCB_NONE)
        return valores32(*tipo).contains(m_x->atomo("_NET_WM_WINDOW_TYPE_NORMAL"));
    // Without a type, a window is normal unless it is transient for another (then a dialog).
    const auto transitoria = m_x->propriedade(janela, XCB_ATOM_WM_TRANSIENT_FOR);
    return transitoria && transitoria->tipo == XCB_NONE;
}

QList<AppJanela> JanelasX11::normaisEmOrdem()
{
    QList<AppJanela> lista;
    const auto clientes = m_x->propriedade(m_x->raiz(), m_x->atomo("_NET_CLIENT_LIST"));
    if (!clientes)
        return lista;
    for (uint32_t janela : valores32(*clientes)) {
        if (!ehNormal(janela))
            continue;
        if (auto app = descrever(janela))
            lista << *app;
    }
    return lista;
}

QCoro::Task<bool> JanelasX11::ativar(AppJanela app, std::chrono::milliseconds limite)
{
    xcb_connection_t* c = m_x->conexao();
    const xcb_window_t alvo = static_cast<xcb_window_t>(app.janela);
    const auto ativa = m_x->janelaDaPropriedade(m_x->raiz(), "_NET_ACTIVE_WINDOW");
    if (ativa && *ativa == alvo)
        co_return true;

    xcb_client_message_event_t ev;
    std::memset(&ev, 0, sizeof ev);
    ev.response_type = XCB_CLIENT_MESSAGE;
    ev.format = 32;
    ev.window = alvo;
    ev.type = m_x->atomo("_NET_ACTIVE_WINDOW");
    ev.data.data32[0] = 2; // source: a pager, i.e. on the user's behalf; managers honour it
    ev.data.data32[1] = XCB_CURRENT_TIME;
    ev.data.data32[2] = ativa.value_or(XCB_NONE);
    xcb_send_event(c, 0, m_x->raiz(), XCB_EVENT_MASK_SUBSTRUCTURE_REDIRECT | XCB_EVENT_MASK_SUBSTRUCTURE_NOTIFY,
                   reinterpret_cast<const char*>(&ev));
    xcb_flush(c);

    const auto fim = ConexaoX11::Relogio::now() + limite;
    for (;;) {
        const auto agora = m_x->janelaDaPropriedade(m_x->raiz(), "_NET_ACTIVE_WINDOW");
        if (agora && *agora == alvo)
            co_return true;
        // A window that closed meanwhile will never come to the front.
        if (ConexaoX11::Relogio::now() >= fim || !m_x->janelaExiste(alvo))
            co_return false;
        co_await QCoro::sleepFor(kIntervaloFoco);
    }
}

} // namespace sonvo::x11
