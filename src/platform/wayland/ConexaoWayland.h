#pragma once

#include <QHash>
#include <QObject>
#include <QSet>
#include <QSocketNotifier>
#include <QString>
#include <QCoroTask>

#include <chrono>
#include <functional>
#include <memory>

struct wl_display;
struct wl_registry;
struct wl_seat;
struct wl_interface;

namespace sonvo::wayland {

// Sonvo's own connection to the compositor, apart from Qt's (the UI may run on XWayland): the
// globals it offers, the first seat, and its events dispatched from the Qt event loop.
class ConexaoWayland : public QObject {
    Q_OBJECT
public:
    // The compositor in $WAYLAND_DISPLAY; nothing when it refuses the connection.
    static std::shared_ptr<ConexaoWayland> abrir();
    ~ConexaoWayland() override;

    wl_display* display() const { return m_display; }
    wl_seat* assento() const { return m_assento; }
    QSet<QString> globais() const;
    // Binds the global that implements `interface`, at most at `versaoMaxima`; null when absent.
    void* vincular(const wl_interface* interface, uint32_t versaoMaxima);

    // Sends the requests made so far and dispatches what has already arrived.
    void enviar();
    // Resolves once the compositor has handled every request sent before it, or after `limite`.
    // True when it answered.
    QCoro::Task<bool> sincronizar(std::chrono::milliseconds limite);
    bool quebrada() const { return m_quebrada; }
    // Reads and dispatches whatever the compositor has sent, without waiting.
    void atualizar();

Q_SIGNALS:
    void sincronizada(quint64 id);

private:
    explicit ConexaoWayland(wl_display* d);

    struct Global {
        uint32_t nome;
        QString interface;
        uint32_t versao;
    };
    static void aoAnunciar(void* dados, wl_registry* r, uint32_t nome, const char* interface, uint32_t versao);
    static void aoRemover(void* dados, wl_registry* r, uint32_t nome);

    wl_display* m_display = nullptr;
    wl_registry* m_registro = nullptr;
    wl_seat* m_assento = nullptr;
    QList<Global> m_globais;
    std::unique_ptr<QSocketNotifier> m_leitura;
    bool m_quebrada = false;
    quint64 m_sincronias = 0; // sync requests sent
    quint64 m_respondida = 0; // the last one answered (answers come in order)
};

} // namespace sonvo::wayland
