#include "platform/dbus/ControleRemotoDBus.h"

#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QTimer>
#include <QCoroDBusPendingCall>

namespace sonvo {

namespace {
const QString kCaminho = QStringLiteral("/");

// The reply, or the user's message when the running Sonvo could not be reached.
QCoro::Task<Resultado<QDBusMessage, QString>> chamarComResposta(const QString& metodo, QVariantList args)
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        co_return QStringLiteral("Não há D-Bus de sessão: não é possível falar com o Sonvo aberto.");
    const QString servico = QString::fromLatin1(ControleRemotoDBus::kServico);
    auto msg = QDBusMessage::createMethodCall(servico, kCaminho, servico, metodo);
    msg.setArguments(args);
    // Never start anything on the bus's behalf: Sonvo is started by the user.
    msg.setAutoStartService(false);
    QDBusPendingReply<> r = co_await bus.asyncCall(msg, ControleRemotoDBus::kPrazoMs);
    if (!r.isError())
        co_return r.reply();
    // Without auto-start the bus answers NameHasNoOwner, which Qt has no enumerator for.
    if (r.error().type() == QDBusError::ServiceUnknown
        || r.error().name() == QLatin1String("org.freedesktop.DBus.Error.NameHasNoOwner"))
        co_return QStringLiteral("O Sonvo não está aberto. Inicie-o com o comando sonvo (ou pelo menu de aplicativos).");
    co_return QStringLiteral("O Sonvo aberto não respondeu: ") + r.error().message();
}

QCoro::Task<std::optional<QString>> chamar(QString metodo, QVariantList args)
{
    const auto r = co_await chamarComResposta(metodo, std::move(args));
    if (r)
        co_return std::nullopt;
    co_return r.erro();
}
} // namespace

ControleRemotoDBus::~ControleRemotoDBus()
{
    if (!m_publicado)
        return;
    QDBusConnection bus = QDBusConnection::sessionBus();
    bus.unregisterObject(kCaminho);
    bus.unregisterService(QString::fromLatin1(kServico));
}

std::optional<QString> ControleRemotoDBus::publicar()
{
    QDBusConnection bus = QDBusConnection::sessionBus();
    if (!bus.isConnected())
        return QStringLiteral("sem D-Bus de sessão");
    if (!bus.registerObject(kCaminho, this, QDBusConnection::ExportScriptableSlots))
        return bus.lastError().message();
    if (!bus.registerService(QString::fromLatin1(kServico))) {
        bus.unregisterObject(kCaminho);
        return bus.lastError().message();
    }
    m_publicado = true;
    return std::nullopt;
}

// The caller's reply goes out before the work starts: a dictation toggled from here must not keep
// `sonvo alternar` waiting, and the press is handled as a hotkey is, from the event loop.
void ControleRemotoDBus::Alternar(bool menu)
{
    QTimer::singleShot(0, this, [this, menu] { Q_EMIT alternarPedido(menu); });
}

void ControleRemotoDBus::Iniciar(bool menu)
{
    QTimer::singleShot(0, this, [this, menu] { Q_EMIT iniciarPedido(menu); });
}

bool ControleRemotoDBus::Parar()
{
    if (!gravando || !gravando())
        return false;
    QTimer::singleShot(0, this, [this] { Q_EMIT pararPedido(); });
    return true;
}

void ControleRemotoDBus::OutraInstancia()
{
    QTimer::singleShot(0, this, [this] { Q_EMIT outraInstanciaIniciada(); });
}

QCoro::Task<std::optional<QString>> ClienteRemoto::alternar(bool menu)
{
    return chamar(QStringLiteral("Alternar"), {menu});
}

QCoro::Task<std::optional<QString>> ClienteRemoto::iniciar(bool menu)
{
    return chamar(QStringLiteral("Iniciar"), {menu});
}

QCoro::Task<Resultado<bool, QString>> ClienteRemoto::parar()
{
    const auto r = co_await chamarComResposta(QStringLiteral("Parar"), {});
    if (!r)
        co_return r.erro();
    co_return r.valor().arguments().value(0).toBool();
}

QCoro::Task<std::optional<QString>> ClienteRemoto::avisarOutraInstancia()
{
    return chamar(QStringLiteral("OutraInstancia"), {});
}

std::unique_ptr<ControleRemoto> criarControleRemoto()
{
    return std::make_unique<ControleRemotoDBus>();
}

} // namespace sonvo
