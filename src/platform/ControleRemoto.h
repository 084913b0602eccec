#pragma once

#include "core/Resultado.h"

#include <QObject>
#include <QString>
#include <QCoroTask>

#include <functional>
#include <memory>
#include <optional>

namespace sonvo {

// How other processes reach the running Sonvo: `sonvo alternar` (bound to a shortcut in the
// desktop's own settings where global key grabs do not exist, as on Wayland) and a second start,
// which tells the first one instead of running twice.
class ControleRemoto : public QObject {
    Q_OBJECT
public:
    using QObject::QObject;
    // Makes this process the one others reach. The reason in Portuguese when it cannot.
    virtual std::optional<QString> publicar() = 0;
    // Whether a dictation is recording, for `sonvo parar` to answer at once.
    std::function<bool()> gravando;

Q_SIGNALS:
    void alternarPedido(bool menu); // as Super+Shift+R (menu) or Super+Shift+T
    void iniciarPedido(bool menu);  // `sonvo iniciar [--menu]`: a key bound to a press
    void pararPedido();             // `sonvo parar`: the same key's release
    void outraInstanciaIniciada();
};

// The client side. Each returns the user's message when the running Sonvo could not be reached.
struct ClienteRemoto {
    static QCoro::Task<std::optional<QString>> alternar(bool menu);
    static QCoro::Task<std::optional<QString>> iniciar(bool menu);
    // Whether a dictation was recording (and is now ending), or the user's message.
    static QCoro::Task<Resultado<bool, QString>> parar();
    static QCoro::Task<std::optional<QString>> avisarOutraInstancia();
};

std::unique_ptr<ControleRemoto> criarControleRemoto();

} // namespace sonvo
