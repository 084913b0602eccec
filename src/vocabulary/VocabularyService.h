#pragma once

#include "vocabulary/AprendizadoTier1.h"
#include "vocabulary/DocumentoVocabulario.h"
#include "vocabulary/VocabularioPorApp.h"

#include <QString>

#include <optional>

namespace sonvo {

class Configuracoes;

// The user's vocabulary as a dictation uses it: the global document, then the application's own
// entries. Owns the three stores; confined to the main thread.
class VocabularyService {
public:
    VocabularyService(QString pasta, Configuracoes& config); // pasta: the data folder

    DocumentoVocabulario& documento() { return m_documento; }
    const DocumentoVocabulario& documento() const { return m_documento; }
    VocabularioPorApp& porApp() { return m_porApp; }
    const VocabularioPorApp& porApp() const { return m_porApp; }
    AprendizadoTier1& aprendizado() { return m_aprendizado; }

    // Global corrections, then the application's on their output.
    QString aplicarCorrecoes(const QString& texto, const std::optional<QString>& contextoApp) const;
    // Global then per-application terms joined by ", ", cut at 1000 grapheme clusters;
    // nothing when there are no terms.
    std::optional<QString> priorityTermsAsPrompt(const std::optional<QString>& contextoApp) const;

private:
    DocumentoVocabulario m_documento;
    VocabularioPorApp m_porApp;
    AprendizadoTier1 m_aprendizado;
};

} // namespace sonvo
