#include "ai/IntentDetectionService.h"

#include "ai/ConsultaModelo.h"
#include "core/Configuracoes.h"
#include "core/Log.h"

#include <QElapsedTimer>

#include <algorithm>

namespace sonvo {

IntentDetectionService::IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados, Prazos prazos)
    : m_config(config), m_rede(rede), m_pasta(std::move(pastaDados)), m_prazos(prazos)
{
}

IntentDetectionService::IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados)
    : IntentDetectionService(config, rede, std::move(pastaDados), Prazos{})
{
}

bool IntentDetectionService::featureLigada() const
{
    return m_config.booleano(QStringLiteral("intentDetectionEnabled"), true);
}

IntentResult IntentDetectionService::classificarLocal(const QString& texto) const
{
    return classificarLocal(texto, QuickActions::loadOrdered(m_config));
}

QCoro::Task<IntentResult> IntentDetectionService::classificarComLLM(QString texto)
{
    co_return co_await consultar(std::move(texto), m_prazos.requisicao);
}

QCoro::Task<IntentResult> IntentDetectionService::consultar(QString texto, std::chrono::milliseconds prazo)
{
    const QList<QuickAction> acoes = QuickActions::loadOrdered(m_config);
    ConsultaModelo consulta;
    consulta.provedor = AIService::currentProviderID(m_config);
    consulta.prompt = montarPrompt(texto, acoes);
    consulta.temperatura = 0.0;
    consulta.maxTokens = 60;
    consulta.prazo = prazo;
    const auto resposta = co_await ConsultasModelo::perguntar(m_rede, m_config, m_pasta, std::move(consulta));
    if (!resposta) {
        Log::tag("Intent", QStringLiteral("LLM fallback falhou: %@"), {resposta.erro().descricao});
        co_return IntentResult::nada();
    }
    co_return parseRespostaLLM(resposta.valor(), QSet<QuickAction>(acoes.begin(), acoes.end()));
}

QCoro::Task<IntentResult> IntentDetectionService::detectar(QString texto)
{
    QElapsedTimer relogio;
    relogio.start();
    if (!featureLigada() || !m_config.booleano(Interruptores::intentModal, false))
        co_return IntentResult::nada();
    IntentResult local = classificarLocal(texto);
    if (local.confianca != IntentConfianca::media)
        co_return local;
    // The overall deadline bounds the request itself: when it passes, Http::post aborts the
    // request, so a late answer is never read. The local action is not a fallback.
    const auto restante = std::max(std::chrono::milliseconds(0), m_prazos.total - std::chrono::milliseconds(relogio.elapsed()));
    co_return co_await consultar(std::move(texto), std::min(restante, m_prazos.requisicao));
}

} // namespace sonvo
