#pragma once

#include "core/Resultado.h"
#include "vocabulary/VocabularioSnapshot.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

namespace sonvo {

// "vocabulary-by-app.json": corrections, priority terms and whitelist per application
// identifier. Readers stay silent on a bad file; writers keep an undecodable file beside it
// before replacing it, and never drop a value of a type they do not understand.
class VocabularioPorApp {
public:
    static constexpr const char* kArquivo = "vocabulary-by-app.json";

    explicit VocabularioPorApp(QString pasta); // the data folder
    QString arquivo() const;

    // Nothing when the file is missing, unreadable, not an object, or has no object for the app.
    std::optional<VocabularioSnapshot> carregar(const QString& bundleID) const;
    // The same, from the file's bytes.
    static std::optional<VocabularioSnapshot> snapshot(const QByteArray& json, const QString& bundleID);
    VocabularioSnapshot lerSnapshot(const QString& bundleID) const;
    QStringList listarApps() const; // ascending
    // Why the file cannot be used (Portuguese), or nothing when it is missing or fine; the
    // readers above stay silent, this is for the command line.
    std::optional<QString> diagnosticar() const;
    // Trimmed, case kept. Returns the failure (Portuguese) when nothing was stored.
    std::optional<QString> registrar(const QString& bundleID, const QString& ouvido, const QString& escrever);
    // Exact, case-sensitive key. The value tells whether a correction was removed; the file is
    // rewritten either way, as the settings pane expects.
    Resultado<bool, QString> remover(const QString& bundleID, const QString& ouvido);

private:
    QJsonObject lerRaiz() const;
    std::optional<QString> gravarRaiz(const QJsonObject& raiz) const;
    // The root about to be rewritten. A file that cannot be decoded is first kept beside it;
    // when that fails too, the failure is returned and nothing must be written.
    Resultado<QJsonObject, QString> raizParaReescrever() const;
    std::optional<QString> guardarIlegivel(const QString& motivo) const;

    QString m_pasta;
};

} // namespace sonvo
