#pragma once

#include <QWidget>

class QPushButton;

namespace sonvo::ui {

// The commands to bind, selectable, with a button that copies them all.
class ComoAssociarAtalhos : public QWidget {
    Q_OBJECT
public:
    explicit ComoAssociarAtalhos(QWidget* parent = nullptr);
    QPushButton* botaoCopiar() const { return m_copiar; }

private:
    QPushButton* m_copiar = nullptr;
};

} // namespace sonvo::ui
