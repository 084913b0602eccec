#include "ai/KeychainService.h"
#include "app/Arquivos.h"
#include "capture/WhisperService.h"
#include "cli/Comandos.h"

#include <QFileInfo>

namespace sonvo::cli {

QCoro::Task<int> comandoTranscrever(Contexto& ctx)
{
    const auto app = ctx.args.opcao(QStringLiteral("--app"));
    if (ctx.args.faltouValor())
        co_return erroDeUso(QStringLiteral("Falta o valor de --app"));
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    if (pos.size() != 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo transcrever ARQUIVO [--app ID]"));
    Q_UNUSED(app);

    const QString arquivo = QFileInfo(pos.first()).absoluteFilePath();
    const QString indisponivel = QStringLiteral("Transcrição indisponível (sem conexão e sem reconhecimento local)");

    const KeychainService keychain(Caminhos::pastaDados());
    const auto chave = keychain.chave(QStringLiteral("openai_api_key"));
    if (!chave) {
        escreverErro(indisponivel);
        co_return falha;
    }
    WhisperService whisper(ctx.rede, WhisperService::endpointPara(ctx.config));
    const auto r = co_await whisper.transcrever(arquivo, *chave, std::nullopt);
    if (!r) {
        escreverErro(deveUsarFallback(r.erro()) ? indisponivel : descricao(r.erro()));
        co_return falha;
    }
    escreverSaida(r.valor() + u'\n');
    co_return sucesso;
}

} // namespace sonvo::cli
