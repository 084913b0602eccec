#pragma once

#include "core/Configuracoes.h"

#include <QString>
#include <QStringList>

#include <array>

namespace sonvo {

class Configuracoes;


// A named combination of the four behaviour switches; the mode shown is always derived from them.
enum class OperationMode { full, minimal, stealth, custom };

namespace OperationModes {
inline constexpr std::array<OperationMode, 4> todos{OperationMode::full, OperationMode::minimal, OperationMode::stealth,
                                                    OperationMode::custom};
QString rawValue(OperationMode m);
// The stealth mode names the two hotkeys as this session registered them.
QString descricao(OperationMode m, const QStringList& rotulosAtalhos);

OperationMode currentOperationMode(const Configuracoes& config);
// Writes the preset's switches (none for custom), then "operationMode", and logs it.
void applyOperationPreset(Configuracoes& config, OperationMode m);
} // namespace OperationModes

} // namespace sonvo
