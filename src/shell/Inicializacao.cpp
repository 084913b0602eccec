#include "shell/Inicializacao.h"

#include "core/Log.h"

#include <QDir>
#include <QFile>

namespace sonvo {

bool migrarDadosVozelSeNecessario(const QString& pastaSonvo, const QString& pastaVozel)
{
    if (pastaSonvo.isEmpty() || pastaVozel.isEmpty())
        return false;
    const QString marca = QStringLiteral("credentials.json");
    if (QFile::exists(QDir(pastaSonvo).filePath(marca)) || !QFile::exists(QDir(pastaVozel).filePath(marca)))
        return false;
    for (const char* nome : {"credentials.json", "vocabulary.md", "transcription-history.json", "vocabulary-by-app.json"}) {
        const QString origem = QDir(pastaVozel).filePath(QLatin1String(nome));
        if (QFile::exists(origem))
            QFile::copy(origem, QDir(pastaSonvo).filePath(QLatin1String(nome))); // a failure is skipped
    }
    Log::linhaBruta(QStringLiteral("Sonvo [Boot] migração Vozel→Sonvo concluída"));
    return true;
}

QString iconeDoApp(const std::optional<QString>& iconVariant)
{
    return !iconVariant || *iconVariant == u"dark" ? QStringLiteral("AppIconDark") : QStringLiteral("AppIcon");
}

AparenciaBandeja aparenciaDoEstado(const RecordingState& estado)
{
    using C = RecordingState::Caso;
    const Tinta verde{0.2, 0.96, 0.38, 1.0};
    switch (estado.caso) {
    case C::idle: return {QStringLiteral("mic.fill"), QStringLiteral("Sonvo"), std::nullopt};
    case C::recording: return {QStringLiteral("mic.fill"), QStringLiteral("Gravando"), verde};
    case C::transcribing: return {QStringLiteral("waveform"), QStringLiteral("Transcrevendo"), Tinta{0.42, 0.58, 0.94, 1.0}};
    case C::completed: return {QStringLiteral("checkmark.circle.fill"), QStringLiteral("Concluído"), verde};
    case C::error: return {QStringLiteral("exclamationmark.circle"), QStringLiteral("Erro"), Tinta{0.95, 0.3, 0.3, 1.0}};
    }
    return {};
}

} // namespace sonvo
