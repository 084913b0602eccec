#pragma once

#include "platform/Atalhos.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QCoroTask>

#include <chrono>

namespace sonvo {

// Global hotkeys bound by the desktop through the GlobalShortcuts portal (KDE Plasma, GNOME 48+,
// Hyprland): one session whose token is the same on every launch, so the desktop remembers what
// the user bound; a press is `Activated`, its release `Deactivated`. Asked once per launch: a
// refusal or a missing portal is reported through `indisponivel`, never asked again.
class AtalhosPortal : public AtalhosGlobais {
    Q_OBJECT
public:
    struct Prazos {
        std::chrono::milliseconds chamada{5000};
        std::chrono::milliseconds resposta{120000}; // the desktop may ask the user to confirm
    };
    // arquivoRecusa: exists while the desktop's last answer was a refusal (for `sonvo diagnostico`).
    AtalhosPortal(QDBusConnection bus, QString arquivoRecusa);
    AtalhosPortal(QDBusConnection bus, QString arquivoRecusa, Prazos prazos);
    ~AtalhosPortal() override;

    // The session is created and the keys bound from the event loop, once every combination
    // is registered: both return 0 at once.
    int instalarTratador() override;
    int registrar(const AtalhoGlobal& atalho) override;
    void removerRegistros() override;
    bool instalarMonitor(const QList<AtalhoGlobal>&) override { return false; }
    void removerMonitor() override {}

    // The portal's identifiers: "menu-acoes" is id 1 (Super+Shift+R), "ditado" id 2.
    static QString identificador(int id);

private Q_SLOTS:
    void aoSinal(const QDBusMessage& m);

private:
    QCoro::Task<> vincular();

    void falhar(const QString& motivo);

    QDBusConnection m_bus;
    QString m_arquivoRecusa;
    Prazos m_prazos;
    QList<AtalhoGlobal> m_atalhos;
    QString m_sessao;
    bool m_pedido = false;
    quint64 m_pedidos = 0;
};

} // namespace sonvo
