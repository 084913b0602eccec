#pragma once

#include "platform/Janelas.h"
#include "platform/wayland/ConexaoWayland.h"

#include <QObject>

#include <memory>

struct zwlr_foreign_toplevel_manager_v1;
struct zwlr_foreign_toplevel_handle_v1;

namespace sonvo::wayland {

// Other clients' windows through wlroots' foreign toplevel protocol: the activated one is in
// front, its app_id is the application's identifier. Wayland gives no process id: Sonvo's own
// windows are recognised by their app_id.
class JanelasWayland : public QObject, public Janelas {
    Q_OBJECT
public:
    // Null when the compositor does not offer the protocol.
    static std::unique_ptr<JanelasWayland> criar(std::shared_ptr<ConexaoWayland> c, QStringList idsProprios,
                                                 qint64 pidProprio, bool podeColar);
    ~JanelasWayland() override;

    std::optional<AppJanela> daFrente() override;
    // The windows, the most recently activated first.
    QList<AppJanela> normaisEmOrdem() override;
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override;
    // Whether the keys can reach the application in front (a way to send them exists).
    bool acessoConcedido() override { return m_podeColar; }

    struct Janela;

Q_SIGNALS:
    void ativada();

private:
    JanelasWayland(std::shared_ptr<ConexaoWayland> c, zwlr_foreign_toplevel_manager_v1* m, QStringList ids,
                   qint64 pid, bool podeColar);
    AppJanela descrever(const Janela& j) const;
    static void aoSurgir(void* dados, zwlr_foreign_toplevel_manager_v1* m, zwlr_foreign_toplevel_handle_v1* h);
    static void aoAcabar(void* dados, zwlr_foreign_toplevel_manager_v1* m);

    std::shared_ptr<ConexaoWayland> m_c;
    zwlr_foreign_toplevel_manager_v1* m_gerente = nullptr;
    QStringList m_idsProprios;
    qint64 m_pidProprio = 0;
    bool m_podeColar = false;
    QList<Janela*> m_janelas;
    quint64 m_proximoId = 1;
    quint64 m_ordem = 0;
};

} // namespace sonvo::wayland
