#pragma once

#include "core/Resultado.h"

#include <QDateTime>
#include <QList>
#include <QString>

#include <functional>
#include <optional>

namespace sonvo {

// A dictation whose transcription failed, kept with its audio until it is retried or discarded.
struct DitadoPendente {
    QString id;    // the files' common name: "<UTC time>-<8 hex digits>"
    QString audio; // the recording's path
    QDateTime quando;
    std::optional<QString> app;
    QString erro;
    std::optional<QString> atalho;
    double duracao = 0.0; // seconds
};

// The folder "pendentes" in Sonvo's data folder (0700): each dictation is its audio (0600) and a
// JSON beside it with the time, the application, the error and the hotkey. At most kMaximo
// dictations or kBytesMaximos of audio: the oldest go first.
class DitadosPendentes {
public:
    static constexpr int kMaximo = 20;
    static constexpr qint64 kBytesMaximos = 500LL * 1000 * 1000;

    explicit DitadosPendentes(const QString& pastaDados, std::function<QDateTime()> relogio = nullptr);
    QString pasta() const { return m_pasta; }

    // Moves the recording in (never half-written: see Arquivos::moverAtomico) and describes it.
    // `dados.quando` is filled when empty; the cause when the audio could not be kept.
    Resultado<DitadoPendente, QString> guardar(const QString& audio, DitadoPendente dados);
    // Newest first. An audio whose JSON was lost is listed with what the file itself says.
    QList<DitadoPendente> listar() const;
    std::optional<DitadoPendente> porId(const QString& id) const;
    void atualizarErro(const QString& id, const QString& erro);
    bool remover(const QString& id);

private:
    void aplicarLimites(const QString& manter);

    QString m_pasta;
    std::function<QDateTime()> m_relogio;
};

} // namespace sonvo
