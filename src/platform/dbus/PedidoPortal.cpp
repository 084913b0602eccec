#include "platform/dbus/PedidoPortal.h"

#include "core/Log.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusReply>
#include <QCoroDBusPendingCall>
#include <QCoroSignal>

namespace sonvo {

void RespostaPortal::receber(uint c, const QVariantMap& r)
{
    codigo = c;
    resultados = r;
    Q_EMIT chegou();
}

namespace Portal {

QCoro::Task<std::optional<QVariantMap>> pedir(QDBusConnection bus, Pedido pedido, QString token, uint* codigo)
{
    *codigo = 2;
    // The Request object's path is known in advance: subscribe before calling, or a fast answer
    // would be missed.
    QString remetente = bus.baseService().mid(1);
    remetente.replace(u'.', u'_');
    const QString caminho = QStringLiteral("/org/freedesktop/portal/desktop/request/%1/%2").arg(remetente, token);
    RespostaPortal resposta;
    bus.connect(kServico, caminho, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"),
                &resposta, SLOT(receber(uint, QVariantMap)));
    pedido.opcoes.insert(QStringLiteral("handle_token"), token);
    QDBusMessage m = QDBusMessage::createMethodCall(kServico, kCaminho, pedido.interface, pedido.metodo);
    m.setArguments(pedido.argumentos << pedido.opcoes);
    const QDBusMessage r = co_await bus.asyncCall(m, int(pedido.prazoChamada.count()));
    std::optional<QVariantMap> resultado;
    if (r.type() != QDBusMessage::ReplyMessage) {
        Log::tag("Portal", QStringLiteral("%@ falhou: %@"), {pedido.metodo, r.errorMessage()});
    } else {
        if (!resposta.codigo)
            co_await qCoro(&resposta, &RespostaPortal::chegou, pedido.prazoResposta);
        if (resposta.codigo) {
            *codigo = *resposta.codigo;
            if (*resposta.codigo == 0)
                resultado = resposta.resultados;
        }
    }
    bus.disconnect(kServico, caminho, QStringLiteral("org.freedesktop.portal.Request"), QStringLiteral("Response"),
                   &resposta, SLOT(receber(uint, QVariantMap)));
    co_return resultado;
}

bool alcancavel(QDBusConnection bus)
{
    QDBusConnectionInterface* i = bus.interface();
    if (!i)
        return false;
    if (i->isServiceRegistered(kServico))
        return true;
    const QDBusReply<QStringList> ativaveis = i->call(QStringLiteral("ListActivatableNames"));
    return ativaveis.isValid() && ativaveis.value().contains(kServico);
}

uint versao(QDBusConnection bus, const QString& interface)
{
    if (!alcancavel(bus))
        return 0;
    QDBusMessage m = QDBusMessage::createMethodCall(kServico, kCaminho, QStringLiteral("org.freedesktop.DBus.Properties"),
                                                    QStringLiteral("Get"));
    m.setArguments({interface, QStringLiteral("version")});
    const QDBusMessage r = bus.call(m, QDBus::Block, 1000);
    if (r.type() != QDBusMessage::ReplyMessage || r.arguments().isEmpty())
        return 0;
    return r.arguments().first().value<QDBusVariant>().variant().toUInt();
}

void fecharSessao(QDBusConnection bus, const QString& sessao)
{
    if (!sessao.isEmpty())
        bus.send(QDBusMessage::createMethodCall(kServico, sessao, kSessao, QStringLiteral("Close")));
}

} // namespace Portal

} // namespace sonvo
