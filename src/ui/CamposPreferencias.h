#pragma once

#include <QList>
#include <QString>
#include <QStringList>

#include <initializer_list>

class QHBoxLayout;
class QLabel;
class QLineEdit;
class QTableWidget;
class QWidget;

// The pieces every preferences page is built from, so that the pages look and read alike.
namespace sonvo::ui::CamposPreferencias {

// Secondary text under a control, softened from the theme's own colour.
QLabel* ajuda(const QString& texto, QWidget* pai);
// The placeholder of a key field: whether a key is already stored.
QString dicaDaChave(bool configurada);
// A field whose hint is also its name for screen readers.
QLineEdit* campo(const QString& dica, QWidget* pai);
// A row of fields and a button at its end.
QHBoxLayout* linhaDeCampos(std::initializer_list<QWidget*> itens);
// A read-only table of whole rows.
QTableWidget* tabela(const QStringList& colunas, QWidget* pai);
void preencher(QTableWidget* t, const QList<QStringList>& linhas);

} // namespace sonvo::ui::CamposPreferencias
