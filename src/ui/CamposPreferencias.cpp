#include "ui/CamposPreferencias.h"

#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QTableWidget>

namespace sonvo::ui::CamposPreferencias {

QString dicaDaChave(bool configurada)
{
    return configurada ? QStringLiteral("Chave configurada — digite outra para trocar") : QStringLiteral("Cole a chave aqui");
}

QLabel* ajuda(const QString& texto, QWidget* pai)
{
    auto* l = new QLabel(texto, pai);
    l->setWordWrap(true);
    // The theme's own text colour, softened, so it reads on light and dark themes.
    QPalette p = l->palette();
    QColor c = p.color(QPalette::WindowText);
    c.setAlphaF(0.68f);
    p.setColor(QPalette::WindowText, c);
    l->setPalette(p);
    return l;
}

QLineEdit* campo(const QString& dica, QWidget* pai)
{
    auto* c = new QLineEdit(pai);
    c->setPlaceholderText(dica);
    c->setAccessibleName(dica);
    return c;
}

QHBoxLayout* linhaDeCampos(std::initializer_list<QWidget*> itens)
{
    auto* h = new QHBoxLayout;
    for (QWidget* w : itens)
        h->addWidget(w);
    return h;
}

QTableWidget* tabela(const QStringList& colunas, QWidget* pai)
{
    auto* t = new QTableWidget(0, static_cast<int>(colunas.size()), pai);
    t->setHorizontalHeaderLabels(colunas);
    t->horizontalHeader()->setStretchLastSection(true);
    t->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    t->verticalHeader()->hide();
    t->setEditTriggers(QAbstractItemView::NoEditTriggers);
    t->setSelectionBehavior(QAbstractItemView::SelectRows);
    t->setSelectionMode(QAbstractItemView::SingleSelection);
    return t;
}

void preencher(QTableWidget* t, const QList<QStringList>& linhas)
{
    t->setRowCount(static_cast<int>(linhas.size()));
    for (int i = 0; i < linhas.size(); ++i)
        for (int j = 0; j < linhas[i].size(); ++j)
            t->setItem(i, j, new QTableWidgetItem(linhas[i][j]));
}

} // namespace sonvo::ui::CamposPreferencias
