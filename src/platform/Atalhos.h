#pragma once

#include <QHash>
#include <QList>
#include <QObject>
#include <QString>

namespace sonvo {

// A system-wide key combination of Sonvo's: Super+Shift plus a letter (Command+Shift on macOS).
struct AtalhoGlobal {
    int id = 0;       // 1: dictation for the action menu, 2: plain dictation
    char tecla = 0;   // 'R', 'T'
    QString rotulo;   // as the menu shows it: "Super+Shift+R"
};

// Global hotkeys: combinations grabbed for Sonvo alone (the focused application never sees them),
// and a passive monitor for when no grab succeeds, which sees the keys without consuming them.
// Presses arrive as `pressionado` on the thread the object lives on, never from inside a call.
class AtalhosGlobais : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    // Sets up the delivery of presses: 0, or the platform's status when that is impossible.
    virtual int instalarTratador() = 0;
    // Grabs one combination: 0, or the platform's status (on X11 the protocol error code, 10
    // "BadAccess" when another client holds the combination).
    virtual int registrar(const AtalhoGlobal& atalho) = 0;
    // Releases every grab and the delivery of presses.
    virtual void removerRegistros() = 0;
    // Watches for the combinations without grabbing them. False when the platform cannot.
    virtual bool instalarMonitor(const QList<AtalhoGlobal>& atalhos) = 0;
    virtual void removerMonitor() = 0;

Q_SIGNALS:
    void pressionado(int id);
    // The key of a pressed combination let go (a held key's repeats are not releases).
    void solto(int id);
    // The keys the desktop bound to each combination, as it describes them ("Press <Super>T"),
    // when it is the desktop that binds them; again whenever the user changes them.
    void rotulosDefinidos(const QHash<int, QString>& rotulos);
    // The combinations could not be bound after all (the desktop refused them); the reason in
    // the log's words.
    void indisponivel(const QString& motivo);
};

// The modifiers held when a monitored key went down. A combination matches only with Super and
// Shift both held and neither Control nor Alt (so Super+Shift+Alt+R is not Super+Shift+R).
struct ModificadoresPressionados {
    bool shift = false;
    bool control = false;
    bool alt = false;
    bool super = false;
};
inline bool modificadoresDoAtalho(ModificadoresPressionados m)
{
    return m.shift && m.super && !m.control && !m.alt;
}

} // namespace sonvo
