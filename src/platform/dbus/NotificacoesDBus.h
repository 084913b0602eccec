#pragma once

#include "platform/Notificacoes.h"

#include <QDBusConnection>
#include <QHash>

namespace sonvo {

// org.freedesktop.Notifications on the session bus. "Authorised" means the server answers and
// offers action buttons; an action's identifier is the key the server sends back in ActionInvoked.
class NotificacoesDBus : public NotificacoesUsuario {
    Q_OBJECT
public:
    explicit NotificacoesDBus(QDBusConnection conexao = QDBusConnection::sessionBus(), QObject* parent = nullptr);

    QCoro::Task<bool> solicitarAutorizacao(QString* erro) override;
    QCoro::Task<bool> autorizado() override;
    void registrarCategorias(const QList<CategoriaNotificacao>& categorias) override;
    QCoro::Task<std::optional<QString>> adicionar(PedidoNotificacao pedido) override;

    static constexpr int kPrazoMs = 5000;

private Q_SLOTS:
    void aoInvocarAcao(uint id, const QString& acao);
    void aoFechar(uint id, uint motivo);

private:
    // The server's capabilities, or its error.
    QCoro::Task<std::optional<QStringList>> capacidades(QString* erro);

    QDBusConnection m_conexao;
    QHash<QString, QList<AcaoNotificacao>> m_categorias;
    QHash<QString, uint> m_idPorIdentificador; // the shown notification of each identifier
    QHash<uint, QVariantMap> m_userInfo;        // of each notification still on screen
    bool m_marcacao = false;                    // the server reads the body as markup
};

} // namespace sonvo
