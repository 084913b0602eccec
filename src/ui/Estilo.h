#pragma once

#include <QColor>
#include <QString>

namespace sonvo::ui {

// One palette for every panel: dark, quiet surfaces that read well over any application, and the
// waveform's green and violet as accents.
namespace Estilo {
QColor fundoPainel();
QColor fundoCampo();
QColor borda();
QColor textoPrimario();
QColor textoSecundario();
QColor acento();
QColor vermelhoGravando();
QColor verdeConcluido();
QColor vermelhoErro();
QColor ambar();
// The style sheet of the action menu and of the intent modal.
QString folhaPainel();
} // namespace Estilo

} // namespace sonvo::ui
