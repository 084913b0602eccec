#pragma once

#include "shell/Inicializacao.h"

#include <QIcon>
#include <QString>

#include <optional>

namespace sonvo::ui {

// A bundled symbol ("mic.fill", "waveform", ...) drawn at the tray's sizes in the tint, or in a
// neutral grey that reads on light and dark panels. A null icon when the symbol is not bundled.
QIcon iconeDoSimbolo(const QString& simbolo, const std::optional<Tinta>& tinta);
// The application icon asset ("AppIcon", "AppIconDark"); null when missing.
QIcon iconeDoAplicativo(const QString& asset);

} // namespace sonvo::ui
