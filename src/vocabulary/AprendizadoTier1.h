#pragma once

#include <QList>
#include <QMap>
#include <QObject>
#include <QString>

#include <optional>

namespace sonvo {

class Configuracoes;

// Learns from the user's edits in the action menu: word pairs that differ by one or two
// characters are counted (in the setting "vocabPendingCorrections"); the third time a pair is
// seen it becomes a candidate and its counter starts over.
class AprendizadoTier1 : public QObject {
    Q_OBJECT
public:
    static constexpr const char* kChavePendentes = "vocabPendingCorrections";
    struct Candidato {
        QString ouvido;   // original word, lower-cased
        QString escrever; // edited word as typed
        bool operator==(const Candidato&) const = default;
    };

    explicit AprendizadoTier1(Configuracoes& config, QObject* parent = nullptr);

    // Each new candidate is also announced through candidato().
    QList<Candidato> aprenderCorrecao(const QString& original, const QString& editado, const std::optional<QString>& contextoApp);
    QMap<QString, int> pendingCorrections() const { return m_pending; }

Q_SIGNALS:
    void candidato(const QString& ouvido, const QString& escrever);

private:
    void carregarPendentes();
    void salvarPendentes();

    Configuracoes& m_config;
    QMap<QString, int> m_pending;
};

} // namespace sonvo
