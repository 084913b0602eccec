#include "platform/dbus/AtalhosPortal.h"

#include "core/Arquivos.h"
#include "core/Log.h"
#include "platform/dbus/PedidoPortal.h"

#include <QDBusArgument>
#include <QDBusMetaType>
#include <QDBusObjectPath>
#include <QFile>
#include <QTimer>

namespace sonvo {

namespace {

const QString kInterface = QStringLiteral("org.freedesktop.portal.GlobalShortcuts");

// One shortcut as the portal carries it: (sa{sv}).
struct AtalhoDoPortal {
    QString id;
    QVariantMap propriedades;
};

QDBusArgument& operator<<(QDBusArgument& a, const AtalhoDoPortal& s)
{
    a.beginStructure();
    a << s.id << s.propriedades;
    a.endStructure();
    return a;
}

const QDBusArgument& operator>>(const QDBusArgument& a, AtalhoDoPortal& s)
{
    a.beginStructure();
    a >> s.id >> s.propriedades;
    a.endStructure();
    return a;
}

// The shortcuts of an answer or a ShortcutsChanged: id → trigger description.
QHash<int, QString> rotulosDe(const QVariant& v)
{
    QHash<int, QString> r;
    for (const AtalhoDoPortal& a : qdbus_cast<QList<AtalhoDoPortal>>(v))
        for (int id : {1, 2})
            if (a.id == AtalhosPortal::identificador(id))
                r.insert(id, a.propriedades.value(QStringLiteral("trigger_description")).toString());
    return r;
}

} // namespace

} // namespace sonvo

Q_DECLARE_METATYPE(sonvo::AtalhoDoPortal)

namespace sonvo {

AtalhosPortal::AtalhosPortal(QDBusConnection bus, QString arquivoRecusa)
    : AtalhosPortal(std::move(bus), std::move(arquivoRecusa), Prazos{})
{
}

AtalhosPortal::AtalhosPortal(QDBusConnection bus, QString arquivoRecusa, Prazos prazos)
    : m_bus(std::move(bus)), m_arquivoRecusa(std::move(arquivoRecusa)), m_prazos(prazos)
{
    qDBusRegisterMetaType<AtalhoDoPortal>();
    qDBusRegisterMetaType<QList<AtalhoDoPortal>>();
}

AtalhosPortal::~AtalhosPortal()
{
    removerRegistros();
}

QString AtalhosPortal::identificador(int id)
{
    return id == 1 ? QStringLiteral("menu-acoes") : QStringLiteral("ditado");
}

int AtalhosPortal::instalarTratador()
{
    for (const char* sinal : {"Activated", "Deactivated", "ShortcutsChanged"})
        m_bus.connect(Portal::kServico, Portal::kCaminho, kInterface, QString::fromLatin1(sinal), this,
                      SLOT(aoSinal(QDBusMessage)));
    return 0;
}

int AtalhosPortal::registrar(const AtalhoGlobal& atalho)
{
    m_atalhos << atalho;
    if (!m_pedido) {
        m_pedido = true;
        QTimer::singleShot(0, this, [this] { vincular(); });
    }
    return 0;
}

void AtalhosPortal::removerRegistros()
{
    Portal::fecharSessao(m_bus, std::exchange(m_sessao, QString()));
}

QCoro::Task<> AtalhosPortal::vincular()
{
    uint codigo = 0;
    // The same token on every launch: the desktop keeps what the user bound for this session.
    QVariantMap criar{{QStringLiteral("session_handle_token"), QStringLiteral("sonvo")}};
    Portal::Pedido pedido{kInterface, QStringLiteral("CreateSession"), {}, criar, m_prazos.chamada, m_prazos.chamada};
    const auto sessao = co_await Portal::pedir(m_bus, pedido, QStringLiteral("sonvo_atalhos%1").arg(++m_pedidos), &codigo);
    if (!sessao) {
        falhar(QStringLiteral("sessão do portal GlobalShortcuts não criada (código %1)").arg(codigo));
        co_return;
    }
    m_sessao = sessao->value(QStringLiteral("session_handle")).toString();

    QList<AtalhoDoPortal> atalhos;
    for (const AtalhoGlobal& a : std::as_const(m_atalhos))
        atalhos << AtalhoDoPortal{identificador(a.id),
                                  {{QStringLiteral("description"), a.id == 1 ? QStringLiteral("Ditar e abrir o menu de ações")
                                                                             : QStringLiteral("Ditar e colar")},
                                   {QStringLiteral("preferred_trigger"),
                                    QStringLiteral("LOGO+SHIFT+") + QChar::fromLatin1(a.tecla).toLower()}}};
    const QList<QVariant> argumentos{QVariant::fromValue(QDBusObjectPath(m_sessao)), QVariant::fromValue(atalhos), QString()};
    Portal::Pedido vinculo{kInterface, QStringLiteral("BindShortcuts"), argumentos, {}, m_prazos.chamada, m_prazos.resposta};
    const auto vinculados = co_await Portal::pedir(m_bus, vinculo, QStringLiteral("sonvo_atalhos%1").arg(++m_pedidos), &codigo);
    if (!vinculados) {
        removerRegistros();
        falhar(codigo == Portal::kCancelado ? QStringLiteral("o usuário recusou os atalhos")
                                            : QStringLiteral("atalhos não vinculados (código %1)").arg(codigo));
        co_return;
    }
    QFile::remove(m_arquivoRecusa);
    Q_EMIT rotulosDefinidos(rotulosDe(vinculados->value(QStringLiteral("shortcuts"))));
}

void AtalhosPortal::falhar(const QString& motivo)
{
    Arquivos::gravarAtomico(m_arquivoRecusa, motivo.toUtf8());
    Q_EMIT indisponivel(motivo);
}

void AtalhosPortal::aoSinal(const QDBusMessage& m)
{
    const QList<QVariant> a = m.arguments();
    if (m_sessao.isEmpty() || a.size() < 2 || a[0].value<QDBusObjectPath>().path() != m_sessao)
        return;
    if (m.member() == u"ShortcutsChanged") {
        Q_EMIT rotulosDefinidos(rotulosDe(a[1]));
        return;
    }
    for (int id : {1, 2})
        if (a[1].toString() == identificador(id)) {
            if (m.member() == u"Activated")
                Q_EMIT pressionado(id);
            else
                Q_EMIT solto(id);
        }
}

} // namespace sonvo
