#pragma once

#include "ai/QuickAction.h"

#include <QList>
#include <QSet>
#include <QString>
#include <QCoroTask>

#include <chrono>
#include <optional>

class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;

enum class IntentConfianca { alta, media, nenhuma };

struct IntentResult {
    std::optional<QuickAction> acao;
    IntentConfianca confianca = IntentConfianca::nenhuma;

    // What every path that detects nothing returns.
    static IntentResult nada() { return {}; }
    bool operator==(const IntentResult&) const = default;
};

namespace Intencao {
QString rawValue(IntentConfianca c); // "alta", "media", "nenhuma"
// "<confianca> <acao>", e.g. "alta resumir", "nenhuma nil".
QString descrever(const IntentResult& r);
} // namespace Intencao

// Decides whether a dictated text asks, imperatively, for one of the enabled quick actions. Regular
// expressions settle most texts; only an unsure one ("media") asks the model, under a deadline
// that bounds the whole detection. Confined to the main thread; it keeps no state of its own, so
// calls need no ordering among themselves.
class IntentDetectionService {
public:
    struct Prazos {
        std::chrono::milliseconds total = std::chrono::milliseconds(1500); // detectar, model included
        std::chrono::milliseconds requisicao = std::chrono::seconds(5);    // one classification request
    };

    IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados, Prazos prazos);
    IntentDetectionService(Configuracoes& config, QNetworkAccessManager& rede, QString pastaDados);

    // "intentDetectionEnabled", on when absent.
    bool featureLigada() const;

    // Off (the switch or "toggleShowIntentModal") gives nothing detected; a sure local answer is
    // final; an unsure one goes to the model, and past the overall deadline the request is
    // aborted and the result is nothing detected. Never fails.
    QCoro::Task<IntentResult> detectar(QString texto);

    // Pattern matching only: a negation vetoes everything; the first keyword (in table order) of
    // an enabled action gives the action; an imperative transformation verb makes it "alta",
    // its absence "media".
    static IntentResult classificarLocal(const QString& texto, const QList<QuickAction>& acoesHabilitadas);
    IntentResult classificarLocal(const QString& texto) const; // with the user's enabled actions

    // Asks the chosen provider; any failure is logged and gives nothing detected.
    QCoro::Task<IntentResult> classificarComLLM(QString texto);

    // Reads the object between the answer's first "{" and last "}"; anything unusable is nothing
    // detected, and so is an action that is not enabled.
    static IntentResult parseRespostaLLM(const QString& resposta, const QSet<QuickAction>& habilitadas);

    // The classification prompt for the enabled actions, in the user's order.
    static QString montarPrompt(const QString& texto, const QList<QuickAction>& acoesHabilitadas);

private:
    QCoro::Task<IntentResult> consultar(QString texto, std::chrono::milliseconds prazo);

    Configuracoes& m_config;
    QNetworkAccessManager& m_rede;
    QString m_pasta;
    Prazos m_prazos;
};

} // namespace sonvo
