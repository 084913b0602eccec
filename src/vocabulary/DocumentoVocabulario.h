#pragma once

#include "core/Arquivos.h"
#include "core/Resultado.h"
#include "vocabulary/VocabularioSnapshot.h"

#include <QByteArray>
#include <QString>

#include <functional>
#include <optional>

namespace sonvo {

// "vocabulary.md", the document the user edits by hand: global corrections, priority terms and
// the words never corrected. Nothing is cached, so an edit counts at the next dictation.
class DocumentoVocabulario {
public:
    static constexpr const char* kArquivo = "vocabulary.md";

    explicit DocumentoVocabulario(QString pasta); // the data folder
    QString arquivo() const;

    // The explanatory document written when the file is missing (24 lines, 741 bytes).
    static QByteArray modelo();
    // Writes the template if nothing exists at the path; an existing file, even an unreadable
    // one, is never touched. Failures are silent.
    void bootstrapSeNecessario() const;
    static VocabularioSnapshot parseMarkdown(const QString& texto);
    // Bootstraps, then parses; an unreadable or non-UTF-8 file gives vazio().
    VocabularioSnapshot carregar() const;
    // The document's text, or why it cannot be read (EILSEQ for bytes that are not UTF-8), for
    // callers that must tell.
    Resultado<QString, ErroArquivo> lerTexto() const;
    // Bootstraps, then hands each priority term in file order until `termo` returns false.
    void percorrerPrioritarios(const std::function<bool(QStringView termo)>& termo) const;
    // Inserts "- ouvido -> escrever" right after the line "## Correções automáticas", or at the
    // end. Does not bootstrap. Returns the failure (Portuguese) when the file was not changed.
    std::optional<QString> importarCorrecaoAprovada(const QString& ouvido, const QString& escrever);

private:
    QString m_pasta;
};

} // namespace sonvo
