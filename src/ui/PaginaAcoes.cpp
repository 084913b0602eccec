#include "ui/PaginaAcoes.h"

#include "ai/QuickAction.h"
#include "core/Configuracoes.h"
#include "ui/CamposPreferencias.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QListWidget>
#include <QPushButton>
#include <QSet>
#include <QVBoxLayout>

namespace sonvo::ui {

PaginaAcoes::PaginaAcoes(Configuracoes& config, QWidget* parent) : QWidget(parent), m_config(config)
{
    auto* v = new QVBoxLayout(this);
    v->addWidget(new QLabel(QStringLiteral("Ações rápidas do menu, na ordem em que aparecem"), this));
    v->addWidget(CamposPreferencias::ajuda(
        QStringLiteral("Arraste para reordenar. Ctrl+1, Ctrl+2… no menu seguem esta ordem."), this));
    m_acoes = new QListWidget(this);
    m_acoes->setAccessibleName(QStringLiteral("Ações habilitadas"));
    m_acoes->setDragDropMode(QAbstractItemView::InternalMove);
    m_acoes->setDefaultDropAction(Qt::MoveAction);
    v->addWidget(m_acoes, 1);
    // The order is written as soon as a row lands in its new place.
    connect(m_acoes->model(), &QAbstractItemModel::rowsMoved, this, [this] {
        if (!m_carregando)
            salvarOrdem();
    });
    m_removerAcao = new QPushButton(this);
    m_removerAcao->setEnabled(false);
    v->addWidget(m_removerAcao, 0, Qt::AlignLeft);
    connect(m_acoes, &QListWidget::currentRowChanged, this, [this](int linha) {
        QListWidgetItem* item = m_acoes->item(linha);
        // The last one stays: an empty list would bring the three defaults back.
        m_removerAcao->setEnabled(item != nullptr && m_acoes->count() > 1);
        m_removerAcao->setText(item ? QStringLiteral("Remover ") + item->text() : QStringLiteral("Remover"));
    });
    connect(m_removerAcao, &QPushButton::clicked, this, [this] {
        delete m_acoes->takeItem(m_acoes->currentRow());
        salvarOrdem();
        recarregar();
    });

    auto* linha = new QHBoxLayout;
    m_disponiveis = new QComboBox(this);
    m_disponiveis->setAccessibleName(QStringLiteral("Ações disponíveis"));
    m_adicionarAcao = new QPushButton(QStringLiteral("Adicionar"), this);
    linha->addWidget(new QLabel(QStringLiteral("Adicionar ação:"), this));
    linha->addWidget(m_disponiveis, 1);
    linha->addWidget(m_adicionarAcao);
    v->addLayout(linha);
    connect(m_adicionarAcao, &QPushButton::clicked, this, [this] {
        const auto a = QuickActions::deRawValue(m_disponiveis->currentData().toString());
        if (!a)
            return;
        auto* item = new QListWidgetItem(QuickActions::titulo(*a), m_acoes);
        item->setData(Qt::UserRole, QuickActions::rawValue(*a));
        salvarOrdem();
        recarregar();
    });
}

void PaginaAcoes::recarregar()
{
    const bool antes = m_carregando;
    m_carregando = true;
    m_acoes->clear();
    QSet<QuickAction> habilitadas;
    for (QuickAction a : QuickActions::loadOrdered(m_config)) {
        if (habilitadas.contains(a))
            continue; // a repeated entry in the settings is shown (and saved) once
        habilitadas.insert(a);
        auto* item = new QListWidgetItem(QuickActions::titulo(a), m_acoes);
        item->setData(Qt::UserRole, QuickActions::rawValue(a));
        item->setFlags(item->flags() & ~Qt::ItemIsDropEnabled);
    }
    m_disponiveis->clear();
    for (QuickAction a : QuickActions::disponiveis(habilitadas))
        m_disponiveis->addItem(QuickActions::titulo(a), QuickActions::rawValue(a));
    m_adicionarAcao->setEnabled(m_disponiveis->count() > 0);
    m_removerAcao->setEnabled(false);
    m_removerAcao->setText(QStringLiteral("Remover"));
    m_carregando = antes;
}

void PaginaAcoes::salvarOrdem()
{
    QList<QuickAction> ordem;
    for (int i = 0; i < m_acoes->count(); ++i)
        if (const auto a = QuickActions::deRawValue(m_acoes->item(i)->data(Qt::UserRole).toString()))
            ordem << *a;
    QuickActions::saveOrdered(m_config, ordem);
    m_config.sincronizar();
}

} // namespace sonvo::ui
