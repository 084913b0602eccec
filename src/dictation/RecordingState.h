#pragma once

#include <QMetaType>
#include <QString>

namespace sonvo {

// Where a dictation stands. Only `error` carries a value (the user's message); the text of a
// finished dictation travels separately, in `ultimaTranscricao`.
struct RecordingState {
    enum class Caso { idle, recording, transcribing, completed, error };
    Caso caso = Caso::idle;
    QString mensagem; // error only

    static RecordingState idle() { return {Caso::idle, {}}; }
    static RecordingState recording() { return {Caso::recording, {}}; }
    static RecordingState transcribing() { return {Caso::transcribing, {}}; }
    static RecordingState completed() { return {Caso::completed, {}}; }
    static RecordingState error(QString m) { return {Caso::error, std::move(m)}; }

    bool ehErro() const { return caso == Caso::error; }
    bool operator==(const RecordingState&) const = default;

    // As logs print it: idle, recording, ..., error("message").
    QString descricao() const
    {
        switch (caso) {
        case Caso::idle: return QStringLiteral("idle");
        case Caso::recording: return QStringLiteral("recording");
        case Caso::transcribing: return QStringLiteral("transcribing");
        case Caso::completed: return QStringLiteral("completed");
        case Caso::error: return QStringLiteral("error(\"") + mensagem + QStringLiteral("\")");
        }
        return {};
    }
};

} // namespace sonvo

Q_DECLARE_METATYPE(sonvo::RecordingState)
