#pragma once

#include "platform/Notificacoes.h"

#include <QObject>
#include <QString>
#include <QVariantMap>
#include <QCoroTask>

namespace sonvo {

class SpeechManager;
class VocabularyService;

// The learning tiers' candidates turned into user notifications, and the user's answer written
// into vocabulary.md.
class NotificacoesSugestoes : public QObject {
    Q_OBJECT
public:
    NotificacoesSugestoes(NotificacoesUsuario& notificacoes, VocabularyService& vocabulario, SpeechManager& speech,
                          QObject* parent = nullptr);

    // Permission, the two categories, and the observation of both tiers (before the permission's
    // answer, so no suggestion is missed at start-up).
    QCoro::Task<> configurarNotificacoes();
    void dispararNotificacaoTier1(const QString& ouvido, const QString& escrever);
    QCoro::Task<> dispararNotificacaoTier2(QString ouvido, QString escrever, int ocorrencias);
    void responderNotificacao(const QString& acao, const QVariantMap& userInfo);

    static QList<CategoriaNotificacao> categoriasDeNotificacao();
    static QString identificadorNotificacao(const char* prefixo, const QString& ouvido, const QString& escrever);

private:
    NotificacoesUsuario& m_notificacoes;
    VocabularyService& m_vocabulario;
    SpeechManager& m_speech;
};

} // namespace sonvo
