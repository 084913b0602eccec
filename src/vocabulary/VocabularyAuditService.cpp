#include "vocabulary/VocabularyAuditService.h"

#include "ai/ConsultaModelo.h"
#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "vocabulary/DocumentoVocabulario.h"

#include <QSet>

namespace sonvo {

namespace {

const QString kChaveLigado = QStringLiteral("vocabularyAuditEnabled");
const QString kChaveUltima = QStringLiteral("vocabularyAuditLastRun");

// Queued pairs are compared ignoring case: "cloud code|claude code".
QString chaveDe(const AuditSugestao& s)
{
    return TextoUnicode::minusculas(s.ouvido) + u'|' + TextoUnicode::minusculas(s.provavel);
}

} // namespace

VocabularyAuditService::VocabularyAuditService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados,
                                               const FonteTranscricoes& historico, Relogio relogio,
                                               std::chrono::milliseconds prazoRequisicao)
    : m_config(config), m_rede(rede), m_pasta(std::move(pastaDados)), m_historico(historico), m_relogio(std::move(relogio)),
      m_prazo(prazoRequisicao)
{
}

QString VocabularyAuditService::arquivo() const
{
    return m_pasta + u'/' + QLatin1String(kArquivo);
}

QList<AuditSugestao> VocabularyAuditService::parseSugestoes(const QString& raw) const
{
    return parseSugestoes(raw, m_relogio());
}

// ---- The queue file ----

std::optional<QList<AuditSugestao>> VocabularyAuditService::lerFilaGravada() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido) {
        if (lido.erro().naoExiste())
            return QList<AuditSugestao>{};
        return std::nullopt;
    }
    return decodificar(lido.valor());
}

QList<AuditSugestao> VocabularyAuditService::pendentes() const
{
    return lerFilaGravada().value_or(QList<AuditSugestao>{});
}

std::optional<QString> VocabularyAuditService::gravarPendentes(const QList<AuditSugestao>& fila)
{
    Caminhos::garantirPasta(m_pasta);
    if (!lerFilaGravada()) {
        // The queue reads as empty, but the file may be something the user wants back.
        const auto guardado = Arquivos::preservarCorrompido(arquivo(), m_relogio());
        if (!guardado) {
            Log::tag("VocabAudit", QStringLiteral("fila pendente ilegível em %@ não pôde ser guardada à parte; nada gravado"), {arquivo()});
            return QStringLiteral("A fila de sugestões %1 está ilegível e não pôde ser guardada à parte; nada foi gravado").arg(arquivo());
        }
        Log::tag("VocabAudit", QStringLiteral("fila pendente ilegível; original guardado em %@"), {*guardado});
    }
    if (const auto erro = Arquivos::gravarAtomico(arquivo(), codificar(fila))) {
        Log::tag("VocabAudit", QStringLiteral("gravarPendentes falhou: %@"), {erro->descricao});
        return QStringLiteral("Não foi possível gravar %1: %2").arg(arquivo(), erro->descricao);
    }
    return std::nullopt;
}

std::optional<QString> VocabularyAuditService::removerDaFila(const QUuid& id)
{
    QList<AuditSugestao> fila = pendentes();
    fila.removeIf([&](const AuditSugestao& s) { return s.id == id; });
    return gravarPendentes(fila);
}

// ---- Operations ----

QCoro::Task<Resultado<QList<AuditSugestao>, AuditErro>> VocabularyAuditService::auditarAgora()
{
    const QStringList entradas = m_historico.textosRecentes(kEntradasEnviadas);
    if (entradas.isEmpty())
        co_return AuditErro::semHistorico();

    ConsultaModelo consulta;
    consulta.provedor = AIService::currentProviderID(m_config);
    consulta.prompt = montarPrompt(entradas);
    consulta.temperatura = 0.2;
    consulta.maxTokens = 800;
    consulta.prazo = m_prazo;
    const auto resposta = co_await ConsultasModelo::perguntar(m_rede, m_config, m_pasta, std::move(consulta));
    if (!resposta) {
        Log::tag("VocabAudit", QStringLiteral("LLM falhou: %@"), {resposta.erro().descricao});
        co_return AuditErro::llm(resposta.erro().descricao);
    }

    QList<AuditSugestao> fortes = parseSugestoes(resposta.valor());
    fortes.removeIf([](const AuditSugestao& s) { return !(s.confianca >= kLimiar); });
    if (fortes.isEmpty()) {
        Log::tag("VocabAudit", QStringLiteral("zero sugestões >= %.2f"), {kLimiar});
        co_return QList<AuditSugestao>{};
    }

    // Read only now: an approval made while the model was thinking must survive this write.
    QList<AuditSugestao> fila = pendentes();
    QSet<QString> conhecidas;
    for (const AuditSugestao& s : fila)
        conhecidas.insert(chaveDe(s));
    QList<AuditSugestao> novas;
    for (const AuditSugestao& s : fortes)
        if (!conhecidas.contains(chaveDe(s)))
            novas.append(s);
    const auto falhaGravacao = gravarPendentes(fila + novas); // logged there
    if (!falhaGravacao)
        Log::tag("VocabAudit", QStringLiteral("%d sugestões novas adicionadas à fila pendente"), {novas.size()});
    co_return novas;
}

std::optional<QString> VocabularyAuditService::aprovar(const AuditSugestao& sugestao)
{
    DocumentoVocabulario vocab(m_pasta);
    vocab.bootstrapSeNecessario();
    // A correction that could not be written stays queued, so the approval can be repeated.
    if (const auto falha = vocab.importarCorrecaoAprovada(sugestao.ouvido, sugestao.provavel))
        return falha;
    const auto falha = removerDaFila(sugestao.id);
    Log::tag("VocabAudit", QStringLiteral("aprovou %@ → %@"), {sugestao.ouvido, sugestao.provavel});
    return falha;
}

std::optional<QString> VocabularyAuditService::rejeitar(const AuditSugestao& sugestao)
{
    const auto falha = removerDaFila(sugestao.id);
    Log::tag("VocabAudit", QStringLiteral("rejeitou %@ → %@"), {sugestao.ouvido, sugestao.provavel});
    return falha;
}

QCoro::Task<VocabularyAuditService::Automatico> VocabularyAuditService::executarAutomatico()
{
    if (!m_config.booleano(kChaveLigado, false)) {
        Log::tag("VocabAudit", QStringLiteral("auto-trigger pulado (toggle OFF)"));
        co_return Automatico::desligado;
    }
    const qsizetype total = m_historico.quantidade();
    if (total < kMinimoAutomatico) {
        Log::tag("VocabAudit", QStringLiteral("auto-trigger pulado (histórico=%d < minimo=%d)"), {total, kMinimoAutomatico});
        co_return Automatico::historicoCurto;
    }
    const double ultima = m_config.real(kChaveUltima).value_or(0.0);
    const double agora = static_cast<double>(m_relogio().toMSecsSinceEpoch()) / 1000.0;
    if (ultima > 0 && agora - ultima < static_cast<double>(kIntervaloAutomaticoSeg)) {
        Log::tag("VocabAudit", QStringLiteral("auto-trigger pulado (último audit < 24h)"));
        co_return Automatico::recente;
    }
    Log::tag("VocabAudit", QStringLiteral("auto-trigger DISPARADO (histórico=%d)"), {total});
    const auto r = co_await auditarAgora();
    if (!r) {
        Log::tag("VocabAudit", QStringLiteral("auto-trigger falhou: %@"), {r.erro().errorDescription()});
        co_return Automatico::falhou;
    }
    // The moment taken before the run: a slow audit does not push tomorrow's run later.
    m_config.definir(kChaveUltima, agora);
    Log::tag("VocabAudit", QStringLiteral("auto-trigger OK — %d sugestões adicionadas"), {r.valor().size()});
    co_return Automatico::executado;
}

} // namespace sonvo
