#pragma once

#include <QObject>
#include <QString>
#include <QVariantMap>

namespace sonvo {

// The application-wide channel for in-process vocabulary events. Lives on the main thread;
// postar() may be called from any thread and the signal is always emitted on the main thread.
class VocabularyNotifications : public QObject {
    Q_OBJECT
public:
    // userInfo: "ouvido", "escrever"
    static constexpr const char* candidatoNotification = "SonvoVocabularyCandidatoTier1";
    // userInfo: "ouvido", "escrever", "ocorrencias"
    static constexpr const char* tier2Notification = "SonvoVocabTier2Candidate";

    static VocabularyNotifications& instance();
    static void postar(const QString& nome, const QVariantMap& userInfo);

signals:
    void notificacao(const QString& nome, const QVariantMap& userInfo);

private:
    VocabularyNotifications() = default;
};

} // namespace sonvo
