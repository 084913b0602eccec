#pragma once

#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/Resultado.h"

#include <QByteArray>
#include <QJsonObject>
#include <QList>
#include <QMap>
#include <QPair>
#include <QSet>
#include <QString>
#include <QStringList>

#include <optional>

namespace sonvo {

// One parsed vocabulary source: the global Markdown document or one application's entry of the
// per-application JSON.
struct VocabularioSnapshot {
    QMap<QString, QString> correcoes; // heard phrase (lower-cased) -> replacement (as written)
    QStringList prioritarios;         // file order, duplicates kept
    QSet<QString> whitelist;          // lower-cased

    // What every reader returns for a missing or unreadable source.
    static const VocabularioSnapshot& vazio();
    bool operator==(const VocabularioSnapshot&) const = default;
};

// The user's vocabulary: "vocabulary.md" (human-editable), "vocabulary-by-app.json" and the
// Tier 1 counters kept in the settings. Confined to the main thread; nothing is cached, every
// call reads the files again so an edit made in a text editor counts at the next dictation.
class VocabularyService {
public:
    static constexpr const char* kArquivoGlobal = "vocabulary.md";
    static constexpr const char* kArquivoPorApp = "vocabulary-by-app.json";
    static constexpr const char* kChavePendentes = "vocabPendingCorrections";

    VocabularyService(QString pasta, Configuracoes& config); // pasta: the data folder

    // The production data folder ($XDG_DATA_HOME/Sonvo), created 0700.
    static QString baseDir();
    QString pasta() const { return m_pasta; }
    QString arquivoGlobal() const;
    QString arquivoPorApp() const;

    // --- The Markdown document ---
    // The explanatory document written when the file is missing (24 lines, 741 bytes).
    static QByteArray modelo();
    // Writes the template if nothing exists at the path; an existing file, even an unreadable
    // one, is never touched. Failures are silent.
    void bootstrapSeNecessario() const;
    static VocabularioSnapshot parseMarkdown(const QString& texto);
    // Bootstraps, then parses; an unreadable or non-UTF-8 file gives vazio().
    VocabularioSnapshot carregaGlobal() const;
    // The document's text, or why it cannot be read (EILSEQ for bytes that are not UTF-8), for
    // callers that must tell.
    Resultado<QString, ErroArquivo> lerTextoGlobal() const;
    // Inserts "- ouvido -> escrever" right after the line "## Correções automáticas", or at the
    // end. Does not bootstrap. Returns the failure (Portuguese) when the file was not changed.
    std::optional<QString> importarCorrecaoAprovada(const QString& ouvido, const QString& escrever);

    // --- The correction engine ---
    static QStringList tokenizar(const QString& texto);
    // Plain-substring replacement ignoring case and diacritics, no word boundaries; a pair
    // whose heard phrase folds to a whitelisted word is skipped.
    static QString aplicar(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, const QString& em);
    // Global corrections, then the application's on their output.
    QString aplicarCorrecoes(const QString& texto, const std::optional<QString>& contextoApp) const;
    // Global then per-application terms joined by ", ", cut at 1000 grapheme clusters;
    // nothing when there are no terms.
    std::optional<QString> priorityTermsAsPrompt(const std::optional<QString>& contextoApp) const;

    // --- Per-application vocabulary ---
    // Nothing when the file is missing, unreadable, not an object, or has no object for the app.
    std::optional<VocabularioSnapshot> carregaPerApp(const QString& bundleID) const;
    // The same, from the file's bytes.
    static std::optional<VocabularioSnapshot> snapshotPerApp(const QByteArray& json, const QString& bundleID);
    VocabularioSnapshot lerSnapshotPerApp(const QString& bundleID) const;
    QStringList listarAppsComVocabulario() const; // ascending
    // Why the per-application file cannot be used (Portuguese), or nothing when it is missing
    // or fine; the readers above stay silent, this is for the command line.
    std::optional<QString> diagnosticarPorApp() const;
    // Trimmed, case kept. Returns the failure (Portuguese) when nothing was stored.
    std::optional<QString> registrarPerAppCorrection(const QString& bundleID, const QString& ouvido, const QString& escrever);
    // Exact, case-sensitive key. The value tells whether a correction was removed; the file is
    // rewritten either way, as the settings pane expects.
    Resultado<bool, QString> removerPerAppCorrection(const QString& bundleID, const QString& ouvido);

    // --- Learning, Tier 1 ---
    struct Candidato {
        QString ouvido;   // original word, lower-cased
        QString escrever; // edited word as typed
        bool operator==(const Candidato&) const = default;
    };
    // Counts word pairs that differ by one or two characters; a pair seen three times becomes a
    // candidate, is announced as "SonvoVocabularyCandidatoTier1" and its counter starts over.
    QList<Candidato> aprenderCorrecao(const QString& original, const QString& editado, const std::optional<QString>& contextoApp);
    QMap<QString, int> pendingCorrections() const { return m_pending; }

private:
    QJsonObject lerJSONRaiz() const;
    std::optional<QString> gravarJSONRaiz(const QJsonObject& raiz) const;
    // The root about to be rewritten. A file that cannot be decoded is first kept beside it;
    // when that fails too, the failure is returned and nothing must be written.
    Resultado<QJsonObject, QString> raizParaReescrever() const;
    std::optional<QString> guardarIlegivel(const QString& motivo) const;
    void carregarPendentes();
    void salvarPendentes();

    QString m_pasta;
    Configuracoes& m_config;
    QMap<QString, int> m_pending;
};

} // namespace sonvo
