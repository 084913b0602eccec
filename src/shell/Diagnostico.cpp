#include "shell/Diagnostico.h"

#include "ai/AIProvider.h"
#include "core/Configuracoes.h"
#include "core/Endpoints.h"
#include "core/KeychainService.h"
#include "dictation/FallbackTranscriptionService.h"
#include "dictation/ServicoTranscricao.h"

#include <QNetworkAccessManager>
#include <QNetworkReply>
#include <QCoroNetworkReply>

#include <memory>

namespace sonvo {

namespace {

// Any HTTP answer counts (401 without a key is an answer); only a silent server does not.
QCoro::Task<std::optional<int>> responde(QNetworkAccessManager& rede, QUrl url, std::chrono::milliseconds prazo)
{
    std::unique_ptr<QNetworkReply> r(rede.get(QNetworkRequest(url)));
    co_await qCoro(r.get()).waitForFinished(prazo);
    if (!r->isFinished()) {
        r->abort();
        co_return std::nullopt;
    }
    const QVariant status = r->attribute(QNetworkRequest::HttpStatusCodeAttribute);
    if (!status.isValid())
        co_return std::nullopt;
    co_return status.toInt();
}

} // namespace

QCoro::Task<QList<FormaServico>> Diagnostico::coletar(Dependencias d)
{
    QList<FormaServico> linhas = d.plataforma.formas;

    const auto formato = d.plataforma.audio->formato();
    if (formato)
        linhas << FormaServico{kMicrofone, QStringLiteral("%1 Hz, %2 canal(is)").arg(formato.valor().taxa).arg(formato.valor().canais), true};
    else
        linhas << FormaServico{kMicrofone, formato.erro(), false};

    const bool notificacoes = co_await d.plataforma.notificacoes->autorizado();
    linhas << FormaServico{QStringLiteral("Notificações"), notificacoes ? QStringLiteral("servidor de notificações")
                                                                          : QStringLiteral("indisponível"),
                           notificacoes};
    linhas << FormaServico{QStringLiteral("Bandeja"), d.bandeja ? QStringLiteral("disponível") : QStringLiteral("indisponível"),
                           d.bandeja};

    const KeychainService chaves(d.pastaDados);
    QStringList guardadas;
    for (AIProviderID id : Provedores::todos)
        if (chaves.chave(Provedores::contaChave(id)))
            guardadas << Provedores::displayName(id).section(u' ', 0, 0);
    linhas << FormaServico{QStringLiteral("Chaves"), guardadas.isEmpty() ? QStringLiteral("nenhuma") : guardadas.join(QStringLiteral(", ")),
                           !guardadas.isEmpty()};

    const ServicoTranscricao servico = ServicoTranscricao::ler(d.config);
    const QUrl base = servico.base;
    const auto status = co_await responde(d.rede, Endpoints::juntar(base, QStringLiteral("/v1/models")), d.prazoRede);
    const bool temChave = servico.chaveOpcional() || chaves.chave(servico.contaChave).has_value();
    const bool local = FallbackTranscriptionService::localizar(d.config, d.pastaDados).has_value();
    QString transcricao = status ? QStringLiteral("%1 responde (HTTP %2)").arg(base.toString()).arg(*status)
                                 : QStringLiteral("%1 não responde").arg(base.toString());
    if (status && !temChave)
        transcricao += QStringLiteral(", sem chave ") + ServicoTranscricao::nome(servico.preset);
    if (local)
        transcricao += QStringLiteral("; reconhecimento local disponível");
    linhas << FormaServico{kTranscricao, transcricao, (status && temChave) || local};
    co_return linhas;
}

bool Diagnostico::ditadoPousa(const QList<FormaServico>& linhas)
{
    auto ok = [&](const QString& servico) {
        for (const FormaServico& l : linhas)
            if (l.servico == servico)
                return l.disponivel;
        return false;
    };
    return ok(kMicrofone) && ok(kTranscricao) && ok(kClipboard);
}

QString Diagnostico::texto(const QList<FormaServico>& linhas)
{
    QString t;
    for (const FormaServico& l : linhas)
        t += l.servico + QStringLiteral(": ") + l.forma + u'\n';
    return t;
}

} // namespace sonvo
