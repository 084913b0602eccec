#pragma once

#include <QString>

#include <array>

namespace sonvo {

class Configuracoes;

// The four behaviour switches, as settings keys: one spelling for every reader.
namespace Interruptores {
inline const QString actionMenu = QStringLiteral("toggleShowActionMenu");
inline const QString intentModal = QStringLiteral("toggleShowIntentModal");
inline const QString streaming = QStringLiteral("toggleStreamingInline");
inline const QString selecao = QStringLiteral("toggleSelectionContext");
} // namespace Interruptores

// A named combination of the four behaviour switches; the mode shown is always derived from them.
enum class OperationMode { full, minimal, stealth, custom };

namespace OperationModes {
inline constexpr std::array<OperationMode, 4> todos{OperationMode::full, OperationMode::minimal, OperationMode::stealth,
                                                    OperationMode::custom};
QString rawValue(OperationMode m);
QString descricao(OperationMode m);

OperationMode currentOperationMode(const Configuracoes& config);
// Writes the preset's switches (none for custom), then "operationMode", and logs it.
void applyOperationPreset(Configuracoes& config, OperationMode m);
} // namespace OperationModes

} // namespace sonvo
