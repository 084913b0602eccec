#include "platform/x11/AtalhosX11.h"

#include <QSocketNotifier>
#include <QTimer>

#include <xcb/xinput.h>

#include <cstdlib>
#include <utility>

namespace sonvo::x11 {

namespace {
// Keysyms (X11/keysymdef.h).
constexpr uint32_t kShiftL = 0xffe1, kShiftR = 0xffe2, kControlL = 0xffe3, kControlR = 0xffe4;
constexpr uint32_t kMetaL = 0xffe7, kMetaR = 0xffe8, kAltL = 0xffe9, kAltR = 0xffea;
constexpr uint32_t kSuperL = 0xffeb, kSuperR = 0xffec, kNumLock = 0xff7f;

uint32_t keysymDaLetra(char letra)
{
    return static_cast<uint32_t>(letra >= 'A' && letra <= 'Z' ? letra - 'A' + 'a' : letra);
}

template<typename Resposta>
struct Livre {
    Resposta* r;
    ~Livre() { std::free(r); }
};
} // namespace

AtalhosX11::AtalhosX11(QObject* parent) : AtalhosGlobais(parent)
{
    // A repeat's press follows its release in the same burst from the server; 30 ms covers a
    // burst split across two reads.
    m_confirmarSoltura = new QTimer(this);
    m_confirmarSoltura->setSingleShot(true);
    m_confirmarSoltura->setInterval(30);
    connect(m_confirmarSoltura, &QTimer::timeout, this, [this] {
        for (xcb_keycode_t k : std::exchange(m_solturas, {}))
            if (const int id = m_idDaTecla.take(k))
                Q_EMIT solto(id);
    });
    if (qEnvironmentVariableIsEmpty("DISPLAY"))
        return;
    int tela = 0;
    xcb_connection_t* c = xcb_connect(nullptr, &tela);
    if (xcb_connection_has_error(c)) {
        xcb_disconnect(c);
        return;
    }
    xcb_screen_iterator_t it = xcb_setup_roots_iterator(xcb_get_setup(c));
    for (int i = 0; i < tela && it.rem; ++i)
        xcb_screen_next(&it);
    if (!it.rem) {
        xcb_disconnect(c);
        return;
    }
    m_c = c;
    m_raiz = it.data->root;
    carregarTeclado();
}

AtalhosX11::~AtalhosX11()
{
    removerMonitor();
    removerRegistros();
    delete m_leitor;
    if (m_c)
        xcb_disconnect(m_c);
}

void AtalhosX11::carregarTeclado()
{
    const xcb_setup_t* setup = xcb_get_setup(m_c);
    m_primeira = setup->min_keycode;
    const int quantas = setup->max_keycode - setup->min_keycode + 1;
    Livre<xcb_get_keyboard_mapping_reply_t> mapa{
        xcb_get_keyboard_mapping_reply(m_c, xcb_get_keyboard_mapping(m_c, m_primeira, static_cast<uint8_t>(quantas)), nullptr)};
    if (mapa.r) {
        m_porTecla = mapa.r->keysyms_per_keycode;
        const xcb_keysym_t* ks = xcb_get_keyboard_mapping_keysyms(mapa.r);
        const int n = xcb_get_keyboard_mapping_keysyms_length(mapa.r);
        m_keysyms = QList<uint32_t>(ks, ks + n);
    }
    m_teclasShift = QSet<xcb_keycode_t>{};
    for (auto k : teclasDe(kShiftL) + teclasDe(kShiftR))
        m_teclasShift.insert(k);
    for (auto k : teclasDe(kControlL) + teclasDe(kControlR))
        m_teclasControl.insert(k);
    for (auto k : teclasDe(kAltL) + teclasDe(kAltR) + teclasDe(kMetaL) + teclasDe(kMetaR))
        m_teclasAlt.insert(k);
    for (auto k : teclasDe(kSuperL) + teclasDe(kSuperR))
        m_teclasSuper.insert(k);

    // Which modifier bit Super and NumLock sit on (Mod4 and Mod2 on almost every layout).
    Livre<xcb_get_modifier_mapping_reply_t> mods{
        xcb_get_modifier_mapping_reply(m_c, xcb_get_modifier_mapping(m_c), nullptr)};
    if (!mods.r)
        return;
    const xcb_keycode_t* kc = xcb_get_modifier_mapping_keycodes(mods.r);
    const int porMod = mods.r->keycodes_per_modifier;
    for (int mod = 3; mod < 8; ++mod) // Mod1..Mod5
        for (int j = 0; j < porMod; ++j) {
            const xcb_keycode_t k = kc[mod * porMod + j];
            if (k && m_teclasSuper.contains(k))
                m_super = static_cast<uint16_t>(1u << mod);
            if (k && teclasDe(kNumLock).contains(k))
                m_numLock = static_cast<uint16_t>(1u << mod);
        }
}

QList<xcb_keycode_t> AtalhosX11::teclasDe(uint32_t keysym) const
{
    QList<xcb_keycode_t> r;
    if (m_porTecla <= 0)
        return r;
    for (qsizetype i = 0; i < m_keysyms.size(); ++i)
        if (m_keysyms[i] == keysym)
            r << static_cast<xcb_keycode_t>(m_primeira + i / m_porTecla);
    return r;
}

xcb_keycode_t AtalhosX11::teclaDe(uint32_t keysym) const
{
    // The key whose first keysym is the letter (its unshifted symbol), else any key that has it.
    for (qsizetype i = 0; m_porTecla > 0 && i < m_keysyms.size(); i += m_porTecla)
        if (m_keysyms[i] == keysym)
            return static_cast<xcb_keycode_t>(m_primeira + i / m_porTecla);
    const auto todas = teclasDe(keysym);
    return todas.isEmpty() ? 0 : todas.first();
}

int AtalhosX11::instalarTratador()
{
    if (!m_c)
        return kSemDisplay;
    if (!m_leitor) {
        m_leitor = new QSocketNotifier(xcb_get_file_descriptor(m_c), QSocketNotifier::Read, this);
        connect(m_leitor, &QSocketNotifier::activated, this, &AtalhosX11::lerEventos);
    }
    m_leitor->setEnabled(true);
    m_tratador = true;
    return 0;
}

int AtalhosX11::registrar(const AtalhoGlobal& atalho)
{
    if (!m_c || !m_tratador)
        return kSemDisplay;
    const xcb_keycode_t tecla = teclaDe(keysymDaLetra(atalho.tecla));
    if (!tecla)
        return XCB_MATCH; // no key on this layout makes the letter
    const uint16_t base = XCB_MOD_MASK_SHIFT | m_super;
    QList<Agarrado> feitos;
    int status = 0;
    // A grab matches the modifier state exactly, so each lock combination is grabbed too.
    for (uint16_t travas : {uint16_t(0), uint16_t(XCB_MOD_MASK_LOCK), m_numLock, uint16_t(XCB_MOD_MASK_LOCK | m_numLock)}) {
        const uint16_t mods = base | travas;
        xcb_void_cookie_t ck = xcb_grab_key_checked(m_c, 1, m_raiz, mods, tecla, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC);
        if (xcb_generic_error_t* erro = xcb_request_check(m_c, ck)) {
            if (!status)
                status = erro->error_code;
            std::free(erro);
        } else {
            feitos << Agarrado{tecla, mods, atalho.id};
        }
    }
    if (status) {
        // Half a combination would be a trap: it works or not depending on CapsLock.
        for (const auto& a : feitos)
            xcb_ungrab_key(m_c, a.tecla, m_raiz, a.modificadores);
        xcb_flush(m_c);
        return status;
    }
    m_agarrados += feitos;
    QTimer::singleShot(0, this, &AtalhosX11::lerEventos);
    return 0;
}

void AtalhosX11::removerRegistros()
{
    if (!m_c)
        return;
    for (const auto& a : std::as_const(m_agarrados))
        xcb_ungrab_key(m_c, a.tecla, m_raiz, a.modificadores);
    m_agarrados.clear();
    m_abaixadas.clear();
    xcb_flush(m_c);
    m_tratador = false;
    if (m_leitor && !m_monitor)
        m_leitor->setEnabled(false);
}

bool AtalhosX11::instalarMonitor(const QList<AtalhoGlobal>& atalhos)
{
    if (!m_c)
        return false;
    if (m_monitor)
        return true;
    const xcb_query_extension_reply_t* ext = xcb_get_extension_data(m_c, &xcb_input_id);
    if (!ext || !ext->present)
        return false;
    // Version 2.2: raw events then reach every client that asked, even while another holds a grab.
    Livre<xcb_input_xi_query_version_reply_t> versao{
        xcb_input_xi_query_version_reply(m_c, xcb_input_xi_query_version(m_c, 2, 2), nullptr)};
    if (!versao.r || versao.r->major_version < 2)
        return false;
    struct {
        xcb_input_event_mask_t cabecalho;
        uint32_t mascara;
    } pedido{{XCB_INPUT_DEVICE_ALL_MASTER, 1},
             XCB_INPUT_XI_EVENT_MASK_RAW_KEY_PRESS | XCB_INPUT_XI_EVENT_MASK_RAW_KEY_RELEASE};
    if (xcb_generic_error_t* erro = xcb_request_check(m_c, xcb_input_xi_select_events_checked(m_c, m_raiz, 1, &pedido.cabecalho))) {
        std::free(erro);
        return false;
    }
    m_opcodeXi = ext->major_opcode;
    m_monitoradas.clear();
    for (const auto& a : atalhos)
        if (const xcb_keycode_t k = teclaDe(keysymDaLetra(a.tecla)))
            m_monitoradas.insert(k, a.id);
    m_brutasAbaixadas.clear();
    m_monitor = true;
    if (!m_leitor) {
        m_leitor = new QSocketNotifier(xcb_get_file_descriptor(m_c), QSocketNotifier::Read, this);
        connect(m_leitor, &QSocketNotifier::activated, this, &AtalhosX11::lerEventos);
    }
    m_leitor->setEnabled(true);
    QTimer::singleShot(0, this, &AtalhosX11::lerEventos);
    return true;
}

void AtalhosX11::removerMonitor()
{
    if (!m_c || !m_monitor)
        return;
    struct {
        xcb_input_event_mask_t cabecalho;
        uint32_t mascara;
    } pedido{{XCB_INPUT_DEVICE_ALL_MASTER, 1}, 0};
    xcb_input_xi_select_events(m_c, m_raiz, 1, &pedido.cabecalho);
    xcb_flush(m_c);
    m_monitor = false;
    if (m_leitor && !m_tratador)
        m_leitor->setEnabled(false);
}

void AtalhosX11::lerEventos()
{
    if (!m_c)
        return;
    while (xcb_generic_event_t* e = xcb_poll_for_event(m_c)) {
        tratar(e);
        std::free(e);
    }
    if (xcb_connection_has_error(m_c) && m_leitor)
        m_leitor->setEnabled(false); // the X server went away: nothing more will come
}

void AtalhosX11::tratar(xcb_generic_event_t* e)
{
    const uint8_t tipo = e->response_type & 0x7f;
    if (tipo == XCB_GE_GENERIC) {
        tratarBruto(e);
        return;
    }
    if (tipo == XCB_KEY_RELEASE) {
        // The grab holds the keyboard until the letter is let go, so its release comes here even
        // when Shift or Super went up first. It may still be a repeat's: decided a moment later.
        const auto* k = reinterpret_cast<xcb_key_release_event_t*>(e);
        m_abaixadas.remove(k->detail);
        m_soltaEm.insert(k->detail, k->time);
        if (m_idDaTecla.contains(k->detail)) {
            m_solturas.insert(k->detail);
            m_confirmarSoltura->start();
        }
        return;
    }
    if (tipo == XCB_KEY_PRESS) {
        const auto* k = reinterpret_cast<xcb_key_press_event_t*>(e);
        const bool repeticao = m_abaixadas.contains(k->detail) || m_soltaEm.value(k->detail, 0) == k->time;
        m_abaixadas.insert(k->detail);
        if (repeticao) {
            m_solturas.remove(k->detail);
            return;
        }
        const uint16_t estado = k->state & 0xff & ~(XCB_MOD_MASK_LOCK | m_numLock);
        for (const auto& a : std::as_const(m_agarrados))
            if (a.tecla == k->detail && (a.modificadores & 0xff & ~(XCB_MOD_MASK_LOCK | m_numLock)) == estado) {
                m_idDaTecla.insert(k->detail, a.id);
                Q_EMIT pressionado(a.id);
                return;
            }
    }
}

void AtalhosX11::tratarBruto(xcb_generic_event_t* e)
{
    const auto* g = reinterpret_cast<xcb_ge_generic_event_t*>(e);
    if (!m_monitor || g->extension != m_opcodeXi)
        return;
    if (g->event_type != XCB_INPUT_RAW_KEY_PRESS && g->event_type != XCB_INPUT_RAW_KEY_RELEASE)
        return;
    const auto* r = reinterpret_cast<xcb_input_raw_key_press_event_t*>(e);
    const auto tecla = static_cast<xcb_keycode_t>(r->detail);
    if (g->event_type == XCB_INPUT_RAW_KEY_RELEASE) {
        // Raw events carry no repeats' releases: this one is the key going up.
        m_brutasAbaixadas.remove(tecla);
        if (const auto id = m_idDaTecla.take(tecla))
            Q_EMIT solto(id);
        return;
    }
    const bool jaAbaixada = m_brutasAbaixadas.contains(tecla) || (r->flags & XCB_INPUT_KEY_EVENT_FLAGS_KEY_REPEAT);
    m_brutasAbaixadas.insert(tecla);
    const auto it = m_monitoradas.constFind(tecla);
    if (jaAbaixada || it == m_monitoradas.constEnd())
        return;
    auto algumaDe = [this](const QSet<xcb_keycode_t>& teclas) {
        for (auto k : teclas)
            if (m_brutasAbaixadas.contains(k))
                return true;
        return false;
    };
    const ModificadoresPressionados m{algumaDe(m_teclasShift), algumaDe(m_teclasControl), algumaDe(m_teclasAlt),
                                      algumaDe(m_teclasSuper)};
    if (modificadoresDoAtalho(m)) {
        m_idDaTecla.insert(tecla, it.value());
        Q_EMIT pressionado(it.value());
    }
}

} // namespace sonvo::x11
