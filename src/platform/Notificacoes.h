#pragma once

#include <QList>
#include <QObject>
#include <QString>
#include <QVariantMap>
#include <QCoroTask>

#include <optional>

namespace sonvo {

// A button of a notification: the identifier the answer carries and the title the user reads.
struct AcaoNotificacao {
    QString identificador;
    QString titulo;
};

// A set of buttons registered once and named by the notifications that use it.
struct CategoriaNotificacao {
    QString identificador;
    QList<AcaoNotificacao> acoes;
};

struct PedidoNotificacao {
    // A second request with the same identifier replaces the first one's notification.
    QString identificador;
    QString titulo;
    QString corpo;
    bool som = false;
    QString categoria;
    QVariantMap userInfo;
};

// User notifications with action buttons (org.freedesktop.Notifications on Linux, the
// UserNotifications framework on macOS).
class NotificacoesUsuario : public QObject {
    Q_OBJECT
public:
    // What the user did with a notification: one of its actions, or one of these two.
    static constexpr const char* acaoPadrao = "default";   // a click on the notification itself
    static constexpr const char* acaoFechar = "dismiss";   // closed by the user

    using QObject::QObject;
    // Asks for permission to show notifications; true when granted. The error, when there is one,
    // goes to `erro`.
    virtual QCoro::Task<bool> solicitarAutorizacao(QString* erro) = 0;
    // Whether notifications can be shown now.
    virtual QCoro::Task<bool> autorizado() = 0;
    virtual void registrarCategorias(const QList<CategoriaNotificacao>& categorias) = 0;
    // Shows the notification now; the error's description when it could not be shown.
    virtual QCoro::Task<std::optional<QString>> adicionar(PedidoNotificacao pedido) = 0;

Q_SIGNALS:
    void respondida(const QString& acao, const QVariantMap& userInfo);
};

} // namespace sonvo
