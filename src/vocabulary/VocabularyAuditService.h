#pragma once

#include "core/Resultado.h"
#include "vocabulary/FonteTranscricoes.h"

#include <QByteArray>
#include <QDateTime>
#include <QList>
#include <QString>
#include <QUuid>
#include <QCoroTask>

#include <chrono>
#include <functional>
#include <optional>

class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;

// One suggestion of the audit: the transcriptions keep writing `ouvido` where the user probably
// said `provavel`.
struct AuditSugestao {
    QUuid id;
    QString ouvido;
    QString provavel;
    double confianca = 0.0; // the model's, 0.0 to 1.0
    qint64 ocorrencias = 0; // how often it appeared in the transcriptions sent
    QDateTime createdAt;    // when the answer was parsed
    bool operator==(const AuditSugestao&) const = default;
};

struct AuditErro {
    enum class Caso { llmFalhou, historicoVazio, parseJSON };
    Caso caso;
    QString detalhe; // llmFalhou: the underlying description

    static AuditErro llm(QString descricao) { return {Caso::llmFalhou, std::move(descricao)}; }
    static AuditErro semHistorico() { return {Caso::historicoVazio, {}}; }
    static AuditErro formato() { return {Caso::parseJSON, {}}; }
    QString errorDescription() const;
    bool operator==(const AuditErro&) const = default;
};

// Sends the recent transcriptions to a model and queues the systematic misrecognitions it finds
// ("vocabulary-audit-pending.json"); the user approves (the correction goes into vocabulary.md)
// or rejects each one. Confined to the main thread. The queue is re-read on every use and read
// only after the model has answered, so an approval made while the audit waits is never undone
// by the audit's write.
class VocabularyAuditService {
public:
    static constexpr const char* kArquivo = "vocabulary-audit-pending.json";
    static constexpr double kLimiar = 0.7;             // applied here, whatever the model was told
    static constexpr qsizetype kEntradasEnviadas = 50; // the newest history entries sent
    static constexpr qsizetype kMinimoAutomatico = 10; // history entries before the daily run
    static constexpr qint64 kIntervaloAutomaticoSeg = 86400;
    using Relogio = std::function<QDateTime()>;

    VocabularyAuditService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados,
                           const FonteTranscricoes& historico,
                           Relogio relogio = &QDateTime::currentDateTimeUtc,
                           std::chrono::milliseconds prazoRequisicao = std::chrono::seconds(30));

    QString arquivo() const;

    // The newest entries first, as the history gives them, between the fixed head and tail.
    static QString montarPrompt(const QStringList& textos);
    // The array between the first "[" and the last "]"; objects without a non-empty "ouvido" and
    // "provavel" are dropped. Unusable text gives an empty list (logged).
    static QList<AuditSugestao> parseSugestoes(const QString& raw, const QDateTime& agora);
    QList<AuditSugestao> parseSugestoes(const QString& raw) const;

    // Asks the model about the last 50 transcriptions; queues the suggestions of confidence 0.7
    // or more whose pair (ignoring case) is not queued yet, and returns those.
    QCoro::Task<Resultado<QList<AuditSugestao>, AuditErro>> auditarAgora();

    // Appends the correction to vocabulary.md (created from its template when missing), then
    // takes the suggestion out of the queue. When the correction cannot be written the queue
    // keeps the suggestion and the failure (Portuguese) is returned.
    std::optional<QString> aprovar(const AuditSugestao& sugestao);
    // Takes the suggestion out of the queue; nothing remembers it, a later audit may propose it again.
    std::optional<QString> rejeitar(const AuditSugestao& sugestao);

    // The queue; a missing file or one that cannot be read or decoded is empty.
    QList<AuditSugestao> pendentes() const;
    // The same, but nothing when the file exists and cannot be read or decoded (for callers that
    // must tell the user).
    std::optional<QList<AuditSugestao>> lerFilaGravada() const;
    // Writes the queue. A file that cannot be decoded is first kept beside it
    // ("<name>.corrupt-<time>"); when that fails, nothing is written and the failure is returned.
    std::optional<QString> gravarPendentes(const QList<AuditSugestao>& fila);

    // Pretty-printed array, sorted keys, UTC ISO 8601 dates, upper-case UUIDs.
    static QByteArray codificar(const QList<AuditSugestao>& fila);
    // Every element must have all six fields; otherwise nothing.
    static std::optional<QList<AuditSugestao>> decodificar(const QByteArray& json);

    // The daily audit the tray application starts at launch: on only when "vocabularyAuditEnabled",
    // with at least 10 history entries and 24 hours since "vocabularyAuditLastRun"; a success
    // stores the moment taken before the run. Every outcome is logged and none is reported further.
    enum class Automatico { desligado, historicoCurto, recente, executado, falhou };
    QCoro::Task<Automatico> executarAutomatico();

private:
    std::optional<QString> removerDaFila(const QUuid& id);

    Configuracoes& m_config;
    QNetworkAccessManager& m_rede;
    QString m_pasta;
    const FonteTranscricoes& m_historico;
    Relogio m_relogio;
    std::chrono::milliseconds m_prazo;
};

} // namespace sonvo
