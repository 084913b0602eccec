#pragma once

#include <QObject>
#include <QCoroTask>

#include <chrono>

namespace sonvo {

// Whether another application has fetched the text Sonvo last put on the clipboard: each text
// written is a generation, and a read of a generation answers the waits for it and for the ones
// before it.
class LeiturasClipboard : public QObject {
    Q_OBJECT
public:
    quint64 novoTexto() { return ++m_geracao; }
    // The last text's generation: the same text put in a second place is read as the same text.
    quint64 atual() const { return m_geracao; }
    // A read of `geracao` (0: contents whose reads do not count). Announced from the event loop,
    // never from inside the caller, which may be a window system's dispatch.
    void lida(quint64 geracao);
    // Resolves when the last text written has been fetched, or after `limite`; true when fetched.
    QCoro::Task<bool> aguardar(std::chrono::milliseconds limite);

Q_SIGNALS:
    void textoLido();

private:
    quint64 m_geracao = 0;
    quint64 m_lida = 0;
};

} // namespace sonvo
