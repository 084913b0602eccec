#pragma once

#include <QList>
#include <QString>
#include <QCoroTask>

#include <chrono>
#include <optional>

namespace sonvo {

// An application as the window system shows it: one top-level window, the application's
// identifier (WM_CLASS class on X11, the bundle identifier on macOS) and its process.
struct AppJanela {
    quint64 janela = 0;
    std::optional<QString> id;
    qint64 pid = 0;
    bool operator==(const AppJanela&) const = default;
};

class Janelas {
public:
    virtual ~Janelas() = default;
    // The application in front (the active window), if any.
    virtual std::optional<AppJanela> daFrente() = 0;
    // The normal windows in the window manager's order.
    virtual QList<AppJanela> normaisEmOrdem() = 0;
    // Asks the window manager to activate the window and waits until it is in front, bounded.
    virtual QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) = 0;
    // Whether synthetic input reaches other applications (macOS: the accessibility permission).
    virtual bool acessoConcedido() = 0;
};

// The paste shortcuts.
enum class TeclaColar {
    ctrlV,
    ctrlShiftV, // terminals: Ctrl+V is a control character there
    shiftInsert // xterm and its kin: pastes PRIMARY, and they have no key that pastes CLIPBOARD
};

// The shortcut as evdev key codes in the order they are pressed: the modifiers, then the key.
QList<int> codigosEvdev(TeclaColar tecla);

// Synthetic key presses into the application in front.
class TeclasSinteticas {
public:
    virtual ~TeclasSinteticas() = default;
    // Releases modifiers the user may still hold (Super+Shift of the hotkey): with them down
    // the paste shortcut would be a different one.
    virtual void soltarModificadores() = 0;
    // The paste shortcut. False when it could not be sent (no way to send keys, or the user
    // refused it). May wait for a consent the first time.
    virtual QCoro::Task<bool> colar(TeclaColar tecla) = 0;
    // How the keys are sent, in the user's words ("teclado virtual do Wayland").
    virtual QString forma() const = 0;
    // Resolves once no key of Sonvo's hotkeys is held (a key still down keeps its grab, which would
    // take the paste keys), or after `limite`; false then. Backends that cannot tell resolve at once.
    virtual QCoro::Task<bool> aguardarSoltura(std::chrono::milliseconds limite)
    {
        (void)limite;
        co_return true;
    }
};

// Short event sounds.
class SomEvento {
public:
    virtual ~SomEvento() = default;
    virtual void tocarConclusao() = 0; // the "complete" sound, else a beep
};

} // namespace sonvo
