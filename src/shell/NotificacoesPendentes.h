#pragma once

#include "platform/Notificacoes.h"

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace sonvo {

class DitadosPendentes;
class RoteadorAtalhos;
class SpeechManager;
struct DitadoPendente;

// A failed dictation's notification, with "Tentar de novo", and the user's click turned into a
// retry into the application in front.
class NotificacoesPendentes : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kCategoria = "DITADO_PENDENTE";
    static constexpr const char* kAcaoRetentar = "DITADO_RETENTAR";

    NotificacoesPendentes(NotificacoesUsuario& notificacoes, DitadosPendentes& pendentes, SpeechManager& speech,
                          RoteadorAtalhos& roteador, QObject* parent = nullptr);

    static CategoriaNotificacao categoria();
    static PedidoNotificacao pedidoPara(const DitadoPendente& pendente);

private:
    void responder(const QString& acao, const QVariantMap& userInfo);

    NotificacoesUsuario& m_notificacoes;
    DitadosPendentes& m_pendentes;
    RoteadorAtalhos& m_roteador;
};

} // namespace sonvo
