#pragma once

#include "platform/Janelas.h"

#include <QDBusConnection>
#include <QObject>
#include <QVariantMap>

#include <chrono>
#include <optional>

namespace sonvo {

struct PrazosPortal {
    std::chrono::milliseconds chamada{5000};        // one method call
    std::chrono::milliseconds consentimento{120000}; // the user reading the portal's dialog
};

// The paste keys through the RemoteDesktop portal (GNOME, KDE): a keyboard-only session the user
// consents to once; the portal's restore token, kept in a file, lets later sessions start without
// asking again. After a refusal nothing is asked again until Sonvo restarts.
class TeclasPortal : public QObject, public TeclasSinteticas {
    Q_OBJECT
public:
    using Prazos = PrazosPortal;

    TeclasPortal(QDBusConnection bus, QString arquivoToken, Prazos prazos = {});
    ~TeclasPortal() override;

    void soltarModificadores() override {}
    QCoro::Task<bool> colar(TeclaColar tecla) override;
    QString forma() const override;

private Q_SLOTS:
    void aoFecharSessao();

private:
    enum class Estado { semSessao, iniciando, ativa, recusada };
    QCoro::Task<bool> iniciarSessao();
    QCoro::Task<std::optional<QVariantMap>> pedir(QString metodo, QList<QVariant> argumentos,
                                                  QVariantMap opcoes, std::chrono::milliseconds prazo, uint* codigo);
    QCoro::Task<bool> tecla(QString sessao, int codigo, bool pressionada);
    void fecharSessao();

    QDBusConnection m_bus;
    QString m_arquivoToken;
    Prazos m_prazos;
    Estado m_estado = Estado::semSessao;
    QString m_sessao;
    quint64 m_pedidos = 0;
};

} // namespace sonvo
