#include "ai/ConsultaModelo.h"

#include "ai/Dialeto.h"
#include "core/Configuracoes.h"
#include "core/Http.h"
#include "core/KeychainService.h"

#include <QNetworkAccessManager>
#include <QNetworkRequest>

namespace sonvo::ConsultasModelo {

QCoro::Task<Resultado<QString, FalhaConsulta>> perguntar(QNetworkAccessManager& rede, const Configuracoes& config,
                                                          QString pastaDados, ConsultaModelo consulta)
{
    const AIProviderID p = consulta.provedor;
    const QString conta = Provedores::contaChave(p);
    const auto mapa = KeychainService(pastaDados).carregar();
    if (!mapa)
        co_return FalhaConsulta{mapa.erro().descricao()};
    const QString chave = mapa.valor().value(conta);
    if (chave.isEmpty()) {
        const KeychainService::KeychainErro semChave{KeychainService::KeychainErro::Caso::itemNaoEncontrado, {}};
        co_return FalhaConsulta{semChave.descricao() + QStringLiteral(" (") + conta + u')'};
    }
    QNetworkRequest req = Dialeto::requisicao(p, Provedores::endpoint(p, config), chave);
    QByteArray dados = Dialeto::corpoPergunta(p, consulta.prompt, consulta.temperatura, consulta.maxTokens);
    const Http::Resposta r = co_await Http::post(rede, std::move(req), std::move(dados), consulta.prazo);
    const auto texto = Dialeto::ler(p, Dialeto::Uso::pergunta, r);
    if (!texto)
        co_return FalhaConsulta{texto.erro().errorDescription()};
    co_return texto.valor();
}

} // namespace sonvo::ConsultasModelo
