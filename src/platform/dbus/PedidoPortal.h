#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>
#include <QCoroTask>

#include <chrono>
#include <optional>

namespace sonvo {

// xdg-desktop-portal's names, and its way of answering: a method returns a Request object whose
// Response signal carries the result (0 granted, 1 cancelled by the user, 2 other failure).
namespace Portal {
inline const QString kServico = QStringLiteral("org.freedesktop.portal.Desktop");
inline const QString kCaminho = QStringLiteral("/org/freedesktop/portal/desktop");
inline const QString kSessao = QStringLiteral("org.freedesktop.portal.Session");
constexpr uint kCancelado = 1;

struct Pedido {
    QString interface;
    QString metodo;
    QList<QVariant> argumentos; // before the options
    QVariantMap opcoes;         // a handle_token is added
    std::chrono::milliseconds prazoChamada;
    std::chrono::milliseconds prazoResposta;
};

// The results, or nothing when the call failed, timed out or was not granted; `codigo` says which
// (2 for a failed call or no answer). `token` names the Request object and must be new each time.
QCoro::Task<std::optional<QVariantMap>> pedir(QDBusConnection bus, Pedido pedido, QString token, uint* codigo);

// Whether xdg-desktop-portal is running or can be started on that bus.
bool alcancavel(QDBusConnection bus);
// The version of one of its interfaces; 0 when the portal does not offer it (or does not answer
// within a second: asked once, at start-up).
uint versao(QDBusConnection bus, const QString& interface);

// Ends a session; nobody waits for the answer.
void fecharSessao(QDBusConnection bus, const QString& sessao);
} // namespace Portal

// The receiving end of one Request's Response.
class RespostaPortal : public QObject {
    Q_OBJECT
public:
    std::optional<uint> codigo;
    QVariantMap resultados;
public Q_SLOTS:
    void receber(uint c, const QVariantMap& r);
Q_SIGNALS:
    void chegou();
};

} // namespace sonvo
