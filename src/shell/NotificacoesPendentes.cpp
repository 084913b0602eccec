#include "shell/NotificacoesPendentes.h"

#include "core/Log.h"
#include "dictation/DitadosPendentes.h"
#include "dictation/SpeechManager.h"
#include "shell/RoteadorAtalhos.h"

namespace sonvo {

namespace {
const QString kChavePendente = QStringLiteral("pendente");
} // namespace

NotificacoesPendentes::NotificacoesPendentes(NotificacoesUsuario& notificacoes, DitadosPendentes& pendentes,
                                             SpeechManager& speech, RoteadorAtalhos& roteador, QObject* parent)
    : QObject(parent), m_notificacoes(notificacoes), m_pendentes(pendentes), m_roteador(roteador)
{
    m_notificacoes.registrarCategorias({categoria()});
    connect(&m_notificacoes, &NotificacoesUsuario::respondida, this, &NotificacoesPendentes::responder);
    connect(&speech, &SpeechManager::ditadoGuardado, this, [this](const DitadoPendente& d) {
        [](NotificacoesUsuario& n, PedidoNotificacao pedido) -> QCoro::Task<> {
            const std::optional<QString> erro = co_await n.adicionar(std::move(pedido));
            if (erro)
                Log::tag("Pendentes", QStringLiteral("notificação não exibida: %@"), {*erro});
        }(m_notificacoes, pedidoPara(d));
    });
}

CategoriaNotificacao NotificacoesPendentes::categoria()
{
    return {QString::fromLatin1(kCategoria), {{QString::fromLatin1(kAcaoRetentar), QStringLiteral("Tentar de novo")}}};
}

PedidoNotificacao NotificacoesPendentes::pedidoPara(const DitadoPendente& pendente)
{
    PedidoNotificacao p;
    p.identificador = QStringLiteral("sonvo.pendente.") + pendente.id;
    p.titulo = QStringLiteral("Ditado não transcrito");
    p.corpo = pendente.erro + QStringLiteral("\nO áudio foi guardado em Ditados pendentes.");
    p.categoria = QString::fromLatin1(kCategoria);
    p.userInfo = {{kChavePendente, pendente.id}};
    return p;
}

void NotificacoesPendentes::responder(const QString& acao, const QVariantMap& userInfo)
{
    if (acao != QLatin1String(kAcaoRetentar) || !userInfo.contains(kChavePendente))
        return;
    const QString id = userInfo.value(kChavePendente).toString();
    const std::optional<DitadoPendente> d = m_pendentes.porId(id);
    if (!d) {
        Log::tag("Pendentes", QStringLiteral("ditado pendente não existe mais: %@"), {id});
        return;
    }
    m_roteador.retentarPendente(*d);
}

} // namespace sonvo
