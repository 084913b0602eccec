#include "platform/dbus/TeclasPortal.h"

#include "core/Arquivos.h"
#include "core/Log.h"
#include "platform/Sessao.h"
#include "platform/dbus/PedidoPortal.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QFile>
#include <QCoroDBusPendingCall>

#include <utility>

namespace sonvo {

namespace {
const QString kInterface = QStringLiteral("org.freedesktop.portal.RemoteDesktop");
constexpr uint kTeclado = 1;    // device type
constexpr uint kAteRevogar = 2; // persist_mode: until the user revokes it
} // namespace

TeclasPortal::TeclasPortal(QDBusConnection bus, QString arquivoToken, Prazos prazos)
    : m_bus(std::move(bus)), m_arquivoToken(std::move(arquivoToken)), m_prazos(prazos)
{
}

QString TeclasPortal::forma() const
{
    return Formas::descrever(FormaColar::portalRemoteDesktop);
}

void TeclasPortal::aoFecharSessao()
{
    // Closed by the portal (the user revoked it): a new one is started at the next paste.
    Log::tag("Portal", QStringLiteral("sessão RemoteDesktop encerrada pelo portal"));
    m_estado = Estado::semSessao;
    m_sessao.clear();
}

QCoro::Task<std::optional<QVariantMap>> TeclasPortal::pedir(QString metodo, QList<QVariant> argumentos,
                                                            QVariantMap opcoes, std::chrono::milliseconds prazo,
                                                            uint* codigo)
{
    Portal::Pedido p{kInterface, metodo, std::move(argumentos), std::move(opcoes), m_prazos.chamada, prazo};
    co_return co_await Portal::pedir(m_bus, std::move(p), QStringLiteral("sonvo%1").arg(++m_pedidos), codigo);
}

QCoro::Task<bool> TeclasPortal::iniciarSessao()
{
    m_estado = Estado::iniciando;
    uint codigo = 0;
    QVariantMap criar{{QStringLiteral("session_handle_token"), QStringLiteral("sonvo%1").arg(++m_pedidos)}};
    const auto sessao = co_await pedir(QStringLiteral("CreateSession"), QList<QVariant>(), criar, m_prazos.chamada, &codigo);
    if (!sessao) {
        m_estado = Estado::recusada;
        co_return false;
    }
    m_sessao = sessao->value(QStringLiteral("session_handle")).toString();

    QVariantMap dispositivos{{QStringLiteral("types"), kTeclado}, {QStringLiteral("persist_mode"), kAteRevogar}};
    QFile arquivo(m_arquivoToken);
    QString tokenAntigo;
    if (arquivo.open(QIODevice::ReadOnly))
        tokenAntigo = QString::fromUtf8(arquivo.readAll()).trimmed();
    if (!tokenAntigo.isEmpty())
        dispositivos.insert(QStringLiteral("restore_token"), tokenAntigo);
    const QVariant objeto = QVariant::fromValue(QDBusObjectPath(m_sessao));
    const QList<QVariant> soSessao{objeto};
    if (!co_await pedir(QStringLiteral("SelectDevices"), soSessao, dispositivos, m_prazos.chamada, &codigo)) {
        fecharSessao();
        if (!tokenAntigo.isEmpty()) {
            // A token the portal no longer takes: dropped, and the next paste asks the user.
            QFile::remove(m_arquivoToken);
            m_estado = Estado::semSessao;
        } else {
            m_estado = Estado::recusada;
        }
        co_return false;
    }

    Log::tag("Portal", tokenAntigo.isEmpty() ? QStringLiteral("RemoteDesktop: pedindo consentimento")
                                             : QStringLiteral("RemoteDesktop: retomando com o token guardado"));
    const QList<QVariant> sessaoEJanela{objeto, QString()};
    const auto iniciado = co_await pedir(QStringLiteral("Start"), sessaoEJanela, QVariantMap(), m_prazos.consentimento, &codigo);
    if (!iniciado || !(iniciado->value(QStringLiteral("devices")).toUInt() & kTeclado)) {
        Log::tag("Portal", codigo == Portal::kCancelado ? QStringLiteral("RemoteDesktop: consentimento recusado")
                                                        : QStringLiteral("RemoteDesktop: sessão não iniciada"));
        if (codigo != Portal::kCancelado) // a refused session is closed by the portal itself
            fecharSessao();
        m_estado = Estado::recusada;
        co_return false;
    }
    const QString token = iniciado->value(QStringLiteral("restore_token")).toString();
    if (!token.isEmpty() && token != tokenAntigo) {
        if (Arquivos::gravarAtomico(m_arquivoToken, token.toUtf8()))
            Log::tag("Portal", QStringLiteral("token do RemoteDesktop não gravado"));
    }
    m_bus.connect(Portal::kServico, m_sessao, Portal::kSessao, QStringLiteral("Closed"), this, SLOT(aoFecharSessao()));
    m_estado = Estado::ativa;
    co_return true;
}

TeclasPortal::~TeclasPortal()
{
    if (m_estado == Estado::ativa)
        fecharSessao();
}

void TeclasPortal::fecharSessao()
{
    Portal::fecharSessao(m_bus, std::exchange(m_sessao, QString()));
}

QCoro::Task<bool> TeclasPortal::tecla(QString sessao, int codigo, bool pressionada)
{
    QDBusMessage m = QDBusMessage::createMethodCall(Portal::kServico, Portal::kCaminho, kInterface,
                                                    QStringLiteral("NotifyKeyboardKeycode"));
    m.setArguments({QVariant::fromValue(QDBusObjectPath(sessao)), QVariantMap(), codigo, uint(pressionada ? 1 : 0)});
    const QDBusMessage r = co_await m_bus.asyncCall(m, int(m_prazos.chamada.count()));
    co_return r.type() == QDBusMessage::ReplyMessage;
}

QCoro::Task<bool> TeclasPortal::colar(TeclaColar teclaColar)
{
    if (m_estado == Estado::recusada || m_estado == Estado::iniciando)
        co_return false;
    if (m_estado == Estado::semSessao && !co_await iniciarSessao())
        co_return false;
    // Evdev key codes, in order; each call is answered before the next, so they arrive in order.
    const QList<int> codigos = codigosEvdev(teclaColar);
    QList<QPair<int, bool>> teclas;
    for (int c : codigos)
        teclas << qMakePair(c, true);
    for (auto it = codigos.rbegin(); it != codigos.rend(); ++it)
        teclas << qMakePair(*it, false);
    // The session may be closed by the portal while the keys go: they then fail, and say so.
    const QString sessao = m_sessao;
    bool ok = true;
    for (const auto& [codigo, pressionada] : teclas)
        ok = co_await tecla(sessao, codigo, pressionada) && ok;
    co_return ok;
}

} // namespace sonvo
