#include "ui/Estilo.h"

namespace sonvo::ui::Estilo {

QColor fundoPainel() { return QColor(24, 24, 28, 242); }
QColor fundoCampo() { return QColor(38, 38, 44); }
QColor borda() { return QColor(255, 255, 255, 36); }
QColor textoPrimario() { return QColor(242, 242, 247); }
QColor textoSecundario() { return QColor(160, 160, 170); }
QColor acento() { return QColor::fromRgbF(0.45f, 0.55f, 1.0f); }
QColor vermelhoGravando() { return QColor(255, 69, 58); }
QColor verdeConcluido() { return QColor::fromRgbF(0.2f, 0.96f, 0.38f); }
QColor vermelhoErro() { return QColor::fromRgbF(0.95f, 0.3f, 0.3f); }
QColor ambar() { return QColor(255, 179, 64); }

QString folhaPainel()
{
    return QStringLiteral(
        "QWidget { color: #F2F2F7; font-size: 13px; }"
        "QLabel#titulo { font-size: 15px; font-weight: 600; }"
        "QLabel#dica { color: #A0A0AA; font-size: 11px; }"
        "QPlainTextEdit { background: #26262C; border: 1px solid rgba(255,255,255,0.10); border-radius: 10px;"
        "  padding: 8px; selection-background-color: #7390FF; font-size: 14px; }"
        "QPushButton { background: #303038; border: 1px solid rgba(255,255,255,0.10); border-radius: 9px;"
        "  padding: 7px 12px; }"
        "QPushButton:hover { background: #3A3A44; }"
        "QPushButton:focus { border: 1px solid #7390FF; }"
        "QPushButton:disabled { color: #6A6A72; }"
        "QPushButton#principal { background: #5B73F0; border: none; font-weight: 600; }"
        "QPushButton#principal:hover { background: #6B82FF; }"
        "QPushButton#discreto { background: transparent; border: none; color: #A0A0AA; }"
        "QPushButton#discreto:hover { color: #F2F2F7; }"
        // The preview's context menu and the tooltips inherit the light text: give them a dark ground.
        "QMenu { background: #26262C; border: 1px solid rgba(255,255,255,0.12); }"
        "QMenu::item:selected { background: #5B73F0; }"
        "QToolTip { background: #26262C; color: #F2F2F7; border: 1px solid rgba(255,255,255,0.12); }");
}

} // namespace sonvo::ui::Estilo
