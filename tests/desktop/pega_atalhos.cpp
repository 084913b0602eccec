// Another client holding Super+Shift+R and Super+Shift+T (every lock variant) before Sonvo starts.
// Prints "pronto" once the grabs are in place and keeps them until killed.
#include <xcb/xcb.h>

#include <initializer_list>
#include <cstdio>
#include <cstdlib>
#include <unistd.h>

int main()
{
    xcb_connection_t* c = xcb_connect(nullptr, nullptr);
    if (xcb_connection_has_error(c))
        return 1;
    const xcb_setup_t* setup = xcb_get_setup(c);
    const xcb_window_t raiz = xcb_setup_roots_iterator(setup).data->root;
    const int quantas = setup->max_keycode - setup->min_keycode + 1;
    auto* mapa = xcb_get_keyboard_mapping_reply(c, xcb_get_keyboard_mapping(c, setup->min_keycode, quantas), nullptr);
    if (!mapa)
        return 1;
    const xcb_keysym_t* ks = xcb_get_keyboard_mapping_keysyms(mapa);
    for (int i = 0; i < quantas; ++i) {
        const xcb_keysym_t s = ks[i * mapa->keysyms_per_keycode];
        if (s != 'r' && s != 't')
            continue;
        const auto tecla = static_cast<xcb_keycode_t>(setup->min_keycode + i);
        for (int travas : {0, int(XCB_MOD_MASK_LOCK), int(XCB_MOD_MASK_2), int(XCB_MOD_MASK_LOCK | XCB_MOD_MASK_2)})
            xcb_grab_key(c, 1, raiz, static_cast<uint16_t>(XCB_MOD_MASK_SHIFT | XCB_MOD_MASK_4 | travas), tecla, XCB_GRAB_MODE_ASYNC,
                         XCB_GRAB_MODE_ASYNC);
    }
    std::free(mapa);
    std::free(xcb_get_input_focus_reply(c, xcb_get_input_focus(c), nullptr)); // a round trip: grabs done
    std::puts("pronto");
    std::fflush(stdout);
    // Events are read and dropped, so the server never blocks on this client.
    while (xcb_generic_event_t* e = xcb_wait_for_event(c))
        std::free(e);
    return 0;
}
