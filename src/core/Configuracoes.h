#pragma once

#include <QMap>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

#include <memory>
#include <optional>

namespace sonvo {

// The four behaviour switches, as settings keys: one spelling for every reader.
namespace Interruptores {
inline const QString actionMenu = QStringLiteral("toggleShowActionMenu");
inline const QString intentModal = QStringLiteral("toggleShowIntentModal");
inline const QString streaming = QStringLiteral("toggleStreamingInline");
inline const QString selecao = QStringLiteral("toggleSelectionContext");
} // namespace Interruptores

// The user's settings (the INI file $XDG_CONFIG_HOME/Sonvo/Sonvo.conf) plus the registered
// defaults, which live only in memory and answer for keys the user never set.
// One object is injected wherever settings are read, so tests use a temporary file.
class Configuracoes {
public:
    explicit Configuracoes(const QString& arquivo);
    Configuracoes(const Configuracoes&) = delete;
    Configuracoes& operator=(const Configuracoes&) = delete;

    // The six defaults every entry point registers.
    static QVariantMap padroesDoApp();
    void registrarPadroes(const QVariantMap& padroes);

    QString arquivo() const;
    bool contem(const QString& chave) const; // set by the user (registered defaults do not count)

    QVariant valor(const QString& chave) const; // user's value, else registered default, else invalid
    std::optional<QString> texto(const QString& chave) const;
    bool booleano(const QString& chave, bool seAusente = false) const;
    std::optional<double> real(const QString& chave) const;
    std::optional<QStringList> lista(const QString& chave) const;
    QByteArray dados(const QString& chave) const;

    void definir(const QString& chave, const QVariant& valor);
    void remover(const QString& chave);
    QStringList chavesDefinidas() const;
    // Writes pending changes; false when the file could not be written.
    bool sincronizar();

private:
    mutable std::unique_ptr<QSettings> m_s;
    QVariantMap m_padroes;
};

// The paste key the user chose per application, by the application's id (WM_CLASS class on X11,
// app id on Wayland): one JSON object under one key, id → one of the values below. An id not in
// it, or with an unknown value, is automatic: the key is chosen by the kind of application.
namespace TeclaDeColar {
inline const QString chave = QStringLiteral("teclaDeColar");
inline const QString automatico = QStringLiteral("automatico");
inline const QString ctrlV = QStringLiteral("ctrl-v");
inline const QString ctrlShiftV = QStringLiteral("ctrl-shift-v");
inline const QString shiftInsert = QStringLiteral("shift-insert");

QMap<QString, QString> ler(const Configuracoes& config);
// Ids are trimmed; empty ones are left out.
void gravar(Configuracoes& config, const QMap<QString, QString>& escolhas);
// The value for `app`, the id compared without case; nothing when automatic.
std::optional<QString> escolhida(const Configuracoes& config, const QString& app);
} // namespace TeclaDeColar

} // namespace sonvo
