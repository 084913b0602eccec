#include "platform/dbus/NotificacoesDBus.h"

#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusPendingReply>
#include <QCoroDBusPendingCall>

namespace sonvo {

namespace {
const QString kServico = QStringLiteral("org.freedesktop.Notifications");
const QString kCaminho = QStringLiteral("/org/freedesktop/Notifications");
const QString kInterface = QStringLiteral("org.freedesktop.Notifications");
constexpr uint kFechadaPeloUsuario = 2;
} // namespace

NotificacoesDBus::NotificacoesDBus(QDBusConnection conexao, QObject* parent)
    : NotificacoesUsuario(parent), m_conexao(std::move(conexao))
{
    m_conexao.connect(kServico, kCaminho, kInterface, QStringLiteral("ActionInvoked"), this,
                      SLOT(aoInvocarAcao(uint, QString)));
    m_conexao.connect(kServico, kCaminho, kInterface, QStringLiteral("NotificationClosed"), this,
                      SLOT(aoFechar(uint, uint)));
}

QCoro::Task<std::optional<QStringList>> NotificacoesDBus::capacidades(QString* erro)
{
    if (!m_conexao.isConnected()) {
        if (erro)
            *erro = QStringLiteral("sem D-Bus de sessão");
        co_return std::nullopt;
    }
    const auto msg = QDBusMessage::createMethodCall(kServico, kCaminho, kInterface, QStringLiteral("GetCapabilities"));
    QDBusPendingReply<QStringList> r = co_await m_conexao.asyncCall(msg, kPrazoMs);
    if (r.isError()) {
        if (erro)
            *erro = r.error().message().isEmpty() ? r.error().name() : r.error().message();
        co_return std::nullopt;
    }
    co_return r.value();
}

QCoro::Task<bool> NotificacoesDBus::solicitarAutorizacao(QString* erro)
{
    const auto c = co_await capacidades(erro);
    if (!c)
        co_return false;
    m_marcacao = c->contains(QStringLiteral("body-markup"));
    co_return c->contains(QStringLiteral("actions"));
}

QCoro::Task<bool> NotificacoesDBus::autorizado()
{
    const auto c = co_await capacidades(nullptr);
    co_return c && c->contains(QStringLiteral("actions"));
}

void NotificacoesDBus::registrarCategorias(const QList<CategoriaNotificacao>& categorias)
{
    for (const auto& c : categorias)
        m_categorias.insert(c.identificador, c.acoes);
}

QCoro::Task<std::optional<QString>> NotificacoesDBus::adicionar(PedidoNotificacao pedido)
{
    if (!m_conexao.isConnected())
        co_return QStringLiteral("sem D-Bus de sessão");
    // The texts carry what the user dictated; a server that reads markup must not interpret it.
    const QString corpo = m_marcacao ? pedido.corpo.toHtmlEscaped() : pedido.corpo;
    QStringList acoes{QString::fromLatin1(acaoPadrao), QString()};
    for (const auto& a : m_categorias.value(pedido.categoria))
        acoes << a.identificador << a.titulo;
    QVariantMap dicas;
    if (pedido.som)
        dicas.insert(QStringLiteral("sound-name"), QStringLiteral("message-new-instant"));
    else
        dicas.insert(QStringLiteral("suppress-sound"), true);
    dicas.insert(QStringLiteral("category"), QStringLiteral("im"));
    dicas.insert(QStringLiteral("desktop-entry"), QStringLiteral("sonvo"));

    const uint substitui = m_idPorIdentificador.value(pedido.identificador, 0);
    auto msg = QDBusMessage::createMethodCall(kServico, kCaminho, kInterface, QStringLiteral("Notify"));
    msg << QStringLiteral("Sonvo") << substitui << QStringLiteral("sonvo") << pedido.titulo << corpo << acoes << dicas
        << int(-1);
    QDBusPendingReply<uint> r = co_await m_conexao.asyncCall(msg, kPrazoMs);
    if (r.isError())
        co_return r.error().message().isEmpty() ? r.error().name() : r.error().message();
    const uint id = r.value();
    if (substitui && substitui != id)
        m_userInfo.remove(substitui);
    m_idPorIdentificador.insert(pedido.identificador, id);
    m_userInfo.insert(id, pedido.userInfo);
    co_return std::nullopt;
}

void NotificacoesDBus::aoInvocarAcao(uint id, const QString& acao)
{
    // Only ours: the server broadcasts every application's answers.
    const auto it = m_userInfo.constFind(id);
    if (it == m_userInfo.constEnd())
        return;
    const QVariantMap info = *it;
    m_userInfo.erase(it);
    Q_EMIT respondida(acao, info);
}

void NotificacoesDBus::aoFechar(uint id, uint motivo)
{
    for (auto it = m_idPorIdentificador.begin(); it != m_idPorIdentificador.end(); ++it)
        if (it.value() == id) {
            m_idPorIdentificador.erase(it);
            break;
        }
    const auto it = m_userInfo.constFind(id);
    if (it == m_userInfo.constEnd())
        return;
    const QVariantMap info = *it;
    m_userInfo.erase(it);
    // Expired or closed by Sonvo itself is no answer; the user closing it is.
    if (motivo == kFechadaPeloUsuario)
        Q_EMIT respondida(QString::fromLatin1(acaoFechar), info);
}

} // namespace sonvo
