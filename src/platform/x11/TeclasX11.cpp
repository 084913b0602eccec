#include "platform/x11/TeclasX11.h"

#include <QCoroTimer>

#include <algorithm>

#include <X11/XKBlib.h>
#include <X11/Xlib.h>
#include <X11/extensions/XTest.h>
#include <X11/keysym.h>

namespace sonvo::x11 {

std::unique_ptr<TeclasX11> TeclasX11::criar()
{
    Display* d = XOpenDisplay(nullptr);
    if (!d)
        return nullptr;
    int evento = 0, erro = 0, maior = 0, menor = 0;
    if (!XTestQueryExtension(d, &evento, &erro, &maior, &menor)) {
        XCloseDisplay(d);
        return nullptr;
    }
    return std::unique_ptr<TeclasX11>(new TeclasX11(d));
}

TeclasX11::~TeclasX11()
{
    XCloseDisplay(m_d);
}

void TeclasX11::soltarModificadores()
{
    char teclas[32] = {};
    XQueryKeymap(m_d, teclas);
    XModifierKeymap* mapa = XGetModifierMapping(m_d);
    if (!mapa)
        return;
    for (int i = 0; i < 8 * mapa->max_keypermod; ++i) {
        const KeyCode k = mapa->modifiermap[i];
        if (k != 0 && (teclas[k / 8] & (1 << (k % 8))))
            XTestFakeKeyEvent(m_d, k, False, CurrentTime);
    }
    XFreeModifiermap(mapa);
    XSync(m_d, False);
}

QCoro::Task<bool> TeclasX11::aguardarSoltura(std::chrono::milliseconds limite)
{
    QList<KeyCode> teclas;
    for (KeySym k : {XK_Super_L, XK_Super_R, XK_Shift_L, XK_Shift_R, XK_t, XK_r})
        if (const KeyCode c = XKeysymToKeycode(m_d, k))
            teclas << c;
    const auto fim = std::chrono::steady_clock::now() + limite;
    for (;;) {
        char estado[32] = {};
        XQueryKeymap(m_d, estado);
        if (std::none_of(teclas.begin(), teclas.end(), [&](KeyCode c) { return estado[c / 8] & (1 << (c % 8)); }))
            co_return true;
        if (std::chrono::steady_clock::now() >= fim)
            co_return false;
        co_await QCoro::sleepFor(std::chrono::milliseconds(15));
    }
}

QString TeclasX11::forma() const
{
    return QStringLiteral("XTest (X11)");
}

namespace {

// The modifiers first, the key last.
QList<KeySym> simbolosDe(TeclaColar tecla)
{
    switch (tecla) {
    case TeclaColar::ctrlV:
        return {XK_Control_L, XK_v};
    case TeclaColar::ctrlShiftV:
        return {XK_Control_L, XK_Shift_L, XK_v};
    case TeclaColar::shiftInsert:
        return {XK_Shift_L, XK_Insert};
    }
    return {};
}

} // namespace

QCoro::Task<bool> TeclasX11::colar(TeclaColar tecla)
{
    // Pressed in order, let go in the reverse order.
    const QList<KeySym> simbolos = simbolosDe(tecla);
    QList<KeyCode> teclas;
    for (KeySym s : simbolos) {
        const KeyCode c = XKeysymToKeycode(m_d, s);
        if (c == 0)
            co_return false;
        teclas << c;
    }
    for (KeyCode c : teclas)
        XTestFakeKeyEvent(m_d, c, True, CurrentTime);
    for (auto it = teclas.rbegin(); it != teclas.rend(); ++it)
        XTestFakeKeyEvent(m_d, *it, False, CurrentTime);
    // The server has the events when this returns, so the waits that follow start after them.
    XSync(m_d, False);
    co_return true;
}

} // namespace sonvo::x11
