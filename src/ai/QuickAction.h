#pragma once

#include <QList>
#include <QSet>
#include <QString>
#include <QStringList>

#include <array>
#include <optional>

namespace sonvo {

class Configuracoes;

enum class QuickAction { resumir, bulletPoints, email, legenda, post };

namespace QuickActions {
inline constexpr std::array<QuickAction, 5> todas{QuickAction::resumir, QuickAction::bulletPoints, QuickAction::email,
                                                   QuickAction::legenda, QuickAction::post};
QString rawValue(QuickAction a);
QString titulo(QuickAction a);
QString icone(QuickAction a); // symbol name, mapped to a bundled icon by the views
std::optional<QuickAction> deRawValue(const QString& raw); // exact, case-sensitive
QList<QuickAction> padrao(); // resumir, bulletPoints, email

// Keeps the strings that are raw values, in order, duplicates included.
QList<QuickAction> decode(const QStringList& brutos);
// The user's enabled actions ("vozelQuickActions"); nothing usable stored gives the default three.
QList<QuickAction> loadOrdered(const Configuracoes& config);
void saveOrdered(Configuracoes& config, const QList<QuickAction>& acoes);
QList<QuickAction> disponiveis(const QSet<QuickAction>& excluindo);
} // namespace QuickActions

namespace AIPrompts {
QString system();
QString instrucao(QuickAction a);
QString user(QuickAction a, const QString& texto, const std::optional<QString>& selectionContext);
} // namespace AIPrompts

} // namespace sonvo
