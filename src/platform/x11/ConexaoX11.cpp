#include "platform/x11/ConexaoX11.h"

#include <cstdlib>
#include <cstring>

#include <poll.h>

namespace sonvo::x11 {

std::shared_ptr<ConexaoX11> ConexaoX11::abrir()
{
    if (!std::getenv("DISPLAY"))
        return nullptr;
    int tela = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &tela);
    if (!c || xcb_connection_has_error(c)) {
        if (c)
            xcb_disconnect(c);
        return nullptr;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < tela && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem || !it.data) {
        xcb_disconnect(c);
        return nullptr;
    }
    return std::shared_ptr<ConexaoX11>(new ConexaoX11(c, it.data->root));
}

ConexaoX11::ConexaoX11(xcb_connection_t* c, xcb_window_t raiz) : m_c(c), m_raiz(raiz)
{

    m_auxiliar = xcb_generate_id(c);
    const uint32_t mascara = XCB_EVENT_MASK_PROPERTY_CHANGE;
    xcb_create_window(c, XCB_COPY_FROM_PARENT, m_auxiliar, m_raiz, -10, -10, 1, 1, 0, XCB_WINDOW_CLASS_INPUT_ONLY,
                      XCB_COPY_FROM_PARENT, XCB_CW_EVENT_MASK, &mascara);
    xcb_flush(c);
}

ConexaoX11::~ConexaoX11()
{
    xcb_disconnect(m_c);
}

bool ConexaoX11::quebrada() const
{
    return xcb_connection_has_error(m_c) != 0;
}

xcb_atom_t ConexaoX11::atomo(const char* nome)
{
    const QByteArray chave(nome);
    if (auto it = m_atomos.constFind(chave); it != m_atomos.cend())
        return *it;
    xcb_intern_atom_reply_t* r =
        xcb_intern_atom_reply(m_c, xcb_intern_atom(m_c, 0, static_cast<uint16_t>(std::strlen(nome)), nome), nullptr);
    if (!r)
        return XCB_NONE;
    const xcb_atom_t a = r->atom;
    std::free(r);
    m_atomos.insert(chave, a);
    return a;
}

QByteArray ConexaoX11::nomeDoAtomo(xcb_atom_t atomo)
{
    xcb_get_atom_name_reply_t* r = xcb_get_atom_name_reply(m_c, xcb_get_atom_name(m_c, atomo), nullptr);
    if (!r)
        return {};
    QByteArray nome(xcb_get_atom_name_name(r), xcb_get_atom_name_name_length(r));
    std::free(r);
    return nome;
}

bool ConexaoX11::temExtensao(const char* nome)
{
    const QByteArray chave(nome);
    if (auto it = m_extensoes.constFind(chave); it != m_extensoes.cend())
        return *it;
    xcb_query_extension_reply_t* r = xcb_query_extension_reply(
        m_c, xcb_query_extension(m_c, static_cast<uint16_t>(std::strlen(nome)), nome), nullptr);
    const bool respondeu = r != nullptr;
    const bool presente = respondeu && r->present;
    std::free(r);
    if (respondeu)
        m_extensoes.insert(chave, presente);
    return presente;
}

std::optional<ConexaoX11::Propriedade> ConexaoX11::propriedade(xcb_window_t janela, xcb_atom_t nome, bool apagar)
{
    xcb_generic_error_t* erro = nullptr;
    // The length is in 32-bit units: ask for everything at once.
    xcb_get_property_reply_t* r = xcb_get_property_reply(
        m_c, xcb_get_property(m_c, apagar ? 1 : 0, janela, nome, XCB_GET_PROPERTY_TYPE_ANY, 0, 0x1fffffff), &erro);
    std::free(erro);
    if (!r)
        return std::nullopt;
    Propriedade p;
    p.tipo = r->type;
    p.formato = r->format;
    const int n = xcb_get_property_value_length(r);
    if (n > 0)
        p.dados = QByteArray(static_cast<const char*>(xcb_get_property_value(r)), n);
    std::free(r);
    return p;
}

std::optional<xcb_window_t> ConexaoX11::janelaDaPropriedade(xcb_window_t janela, const char* nome)
{
    const auto p = propriedade(janela, atomo(nome));
    if (!p || p->formato != 32 || p->dados.size() < 4)
        return std::nullopt;
    xcb_window_t w = XCB_NONE;
    std::memcpy(&w, p->dados.constData(), sizeof w);
    return w;
}

bool ConexaoX11::janelaExiste(xcb_window_t janela)
{
    xcb_generic_error_t* erro = nullptr;
    xcb_get_window_attributes_reply_t* r =
        xcb_get_window_attributes_reply(m_c, xcb_get_window_attributes(m_c, janela), &erro);
    std::free(erro);
    const bool existe = r != nullptr;
    std::free(r);
    return existe;
}

xcb_generic_event_t* ConexaoX11::aguardarEvento(const std::function<bool(const xcb_generic_event_t*)>& aceita,
                                                Relogio::time_point prazo)
{
    for (;;) {
        while (xcb_generic_event_t* e = xcb_poll_for_event(m_c)) {
            if (aceita(e))
                return e;
            std::free(e);
        }
        if (quebrada())
            return nullptr;
        const auto resto = std::chrono::ceil<std::chrono::milliseconds>(prazo - Relogio::now());
        if (resto.count() <= 0)
            return nullptr;
        pollfd p{xcb_get_file_descriptor(m_c), POLLIN, 0};
        ::poll(&p, 1, static_cast<int>(resto.count()));
    }
}

void ConexaoX11::descartarEventos()
{
    while (xcb_generic_event_t* e = xcb_poll_for_event(m_c))
        std::free(e);
}

} // namespace sonvo::x11
