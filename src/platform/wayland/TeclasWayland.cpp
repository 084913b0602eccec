#include "platform/wayland/TeclasWayland.h"

#include "platform/Sessao.h"
#include "virtual-keyboard-unstable-v1-client.h"

#include <QElapsedTimer>

#include <wayland-client.h>
#include <xkbcommon/xkbcommon.h>

#include <linux/input-event-codes.h>
#include <sys/mman.h>
#include <unistd.h>

#include <cstring>

namespace sonvo::wayland {

namespace {

// The keymap as text, in a memory file the compositor maps.
int arquivoDoMapa(const char* texto, uint32_t* tamanho)
{
    const size_t n = std::strlen(texto) + 1;
    const int fd = ::memfd_create("sonvo-teclado", MFD_CLOEXEC);
    if (fd < 0)
        return -1;
    size_t escrito = 0;
    while (escrito < n) {
        const ssize_t w = ::write(fd, texto + escrito, n - escrito);
        if (w <= 0) {
            ::close(fd);
            return -1;
        }
        escrito += size_t(w);
    }
    *tamanho = uint32_t(n);
    return fd;
}

uint32_t tempoMs()
{
    static QElapsedTimer relogio = [] { QElapsedTimer t; t.start(); return t; }();
    return uint32_t(relogio.elapsed());
}

} // namespace

std::unique_ptr<TeclasWayland> TeclasWayland::criar(std::shared_ptr<ConexaoWayland> c)
{
    if (!c || !c->assento())
        return nullptr;
    auto* gerente = static_cast<zwp_virtual_keyboard_manager_v1*>(c->vincular(&zwp_virtual_keyboard_manager_v1_interface, 1));
    if (!gerente)
        return nullptr;

    xkb_context* ctx = xkb_context_new(XKB_CONTEXT_NO_ENVIRONMENT_NAMES);
    const xkb_rule_names nomes{"evdev", "pc105", "us", "", ""};
    xkb_keymap* mapa = ctx ? xkb_keymap_new_from_names(ctx, &nomes, XKB_KEYMAP_COMPILE_NO_FLAGS) : nullptr;
    char* texto = mapa ? xkb_keymap_get_as_string(mapa, XKB_KEYMAP_FORMAT_TEXT_V1) : nullptr;
    const xkb_mod_index_t ctrl = mapa ? xkb_keymap_mod_get_index(mapa, XKB_MOD_NAME_CTRL) : XKB_MOD_INVALID;
    const xkb_mod_index_t shift = mapa ? xkb_keymap_mod_get_index(mapa, XKB_MOD_NAME_SHIFT) : XKB_MOD_INVALID;
    uint32_t tamanho = 0;
    const int fd = texto ? arquivoDoMapa(texto, &tamanho) : -1;
    std::free(texto);
    xkb_keymap_unref(mapa);
    xkb_context_unref(ctx);
    if (fd < 0 || ctrl == XKB_MOD_INVALID || shift == XKB_MOD_INVALID) {
        if (fd >= 0)
            ::close(fd);
        zwp_virtual_keyboard_manager_v1_destroy(gerente);
        return nullptr;
    }

    zwp_virtual_keyboard_v1* teclado = zwp_virtual_keyboard_manager_v1_create_virtual_keyboard(gerente, c->assento());
    zwp_virtual_keyboard_v1_keymap(teclado, WL_KEYBOARD_KEYMAP_FORMAT_XKB_V1, fd, tamanho);
    ::close(fd); // the request carries a duplicate
    zwp_virtual_keyboard_manager_v1_destroy(gerente);
    c->enviar();
    return std::unique_ptr<TeclasWayland>(new TeclasWayland(std::move(c), teclado, 1u << ctrl, 1u << shift));
}

TeclasWayland::TeclasWayland(std::shared_ptr<ConexaoWayland> c, zwp_virtual_keyboard_v1* t, uint32_t ctrl, uint32_t shift)
    : m_c(std::move(c)), m_teclado(t), m_mascaraCtrl(ctrl), m_mascaraShift(shift)
{
}

TeclasWayland::~TeclasWayland()
{
    zwp_virtual_keyboard_v1_destroy(m_teclado);
    m_c->enviar();
}

QString TeclasWayland::forma() const
{
    return Formas::descrever(FormaColar::tecladoVirtual);
}

void TeclasWayland::tecla(uint32_t codigo, bool pressionada)
{
    zwp_virtual_keyboard_v1_key(m_teclado, tempoMs(), codigo,
                                pressionada ? WL_KEYBOARD_KEY_STATE_PRESSED : WL_KEYBOARD_KEY_STATE_RELEASED);
}

QCoro::Task<bool> TeclasWayland::colar(TeclaColar teclaColar)
{
    if (m_c->quebrada())
        co_return false;
    // Key codes are evdev's; the modifier state is sent with the keys, as a real keyboard does.
    const QList<int> teclas = codigosEvdev(teclaColar);
    uint32_t mods = 0;
    for (qsizetype i = 0; i + 1 < teclas.size(); ++i) {
        tecla(uint32_t(teclas[i]), true);
        mods |= teclas[i] == KEY_LEFTCTRL ? m_mascaraCtrl : m_mascaraShift;
    }
    zwp_virtual_keyboard_v1_modifiers(m_teclado, mods, 0, 0, 0);
    tecla(uint32_t(teclas.last()), true);
    for (auto it = teclas.rbegin(); it != teclas.rend(); ++it)
        tecla(uint32_t(*it), false);
    zwp_virtual_keyboard_v1_modifiers(m_teclado, 0, 0, 0, 0);

    // The waits that follow (the target fetching the clipboard) start once the compositor has
    // the keys.
    co_return co_await m_c->sincronizar(std::chrono::milliseconds(500));
}

} // namespace sonvo::wayland
