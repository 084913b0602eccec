#include "ui/TabelaTeclaDeColar.h"

#include "core/Configuracoes.h"
#include "ui/CamposPreferencias.h"

#include <QComboBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace sonvo::ui {

namespace {
struct Opcao {
    const char* rotulo;
    const QString& valor;
};
const Opcao kOpcoes[] = {
    {"automático", TeclaDeColar::automatico},
    {"Ctrl+V", TeclaDeColar::ctrlV},
    {"Ctrl+Shift+V", TeclaDeColar::ctrlShiftV},
    {"Shift+Insert", TeclaDeColar::shiftInsert},
};
} // namespace

TabelaTeclaDeColar::TabelaTeclaDeColar(Configuracoes& config, QWidget* parent) : QWidget(parent), m_config(config)
{
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    auto* linha = new QHBoxLayout;
    m_tabela = new QTableWidget(0, 2, this);
    m_tabela->setObjectName(QStringLiteral("teclaDeColar"));
    m_tabela->setHorizontalHeaderLabels({QStringLiteral("Aplicativo"), QStringLiteral("Tecla de colar")});
    m_tabela->setAccessibleName(QStringLiteral("Tecla de colar por aplicativo"));
    m_tabela->horizontalHeader()->setSectionResizeMode(0, QHeaderView::Stretch);
    m_tabela->verticalHeader()->hide();
    m_tabela->setSelectionBehavior(QAbstractItemView::SelectRows);
    m_tabela->setSelectionMode(QAbstractItemView::SingleSelection);
    // A few rows: most users never need one.
    m_tabela->setMaximumHeight(m_tabela->horizontalHeader()->sizeHint().height() * 4);
    connect(m_tabela, &QTableWidget::itemChanged, this, [this] { gravar(); });
    linha->addWidget(m_tabela);

    m_adicionar = new QPushButton(QStringLiteral("Adicionar aplicativo"), this);
    m_remover = new QPushButton(QStringLiteral("Remover aplicativo"), this);
    connect(m_adicionar, &QPushButton::clicked, this, [this] {
        adicionarLinha(QString(), TeclaDeColar::automatico);
        const int nova = m_tabela->rowCount() - 1;
        m_tabela->setCurrentCell(nova, 0);
        m_tabela->editItem(m_tabela->item(nova, 0));
    });
    connect(m_remover, &QPushButton::clicked, this, [this] {
        const int atual = m_tabela->currentRow();
        if (atual < 0)
            return;
        m_tabela->removeRow(atual);
        gravar();
    });
    auto* botoes = new QVBoxLayout;
    botoes->addWidget(m_adicionar);
    botoes->addWidget(m_remover);
    botoes->addStretch();
    linha->addLayout(botoes);
    v->addLayout(linha);
    v->addWidget(CamposPreferencias::ajuda(
        QStringLiteral("Pela classe da janela (WM_CLASS) no X11 ou pelo app id no Wayland. Automático: Ctrl+V; "
                       "Ctrl+Shift+V nos terminais; Shift+Insert no xterm e parentes."),
        this));
    recarregar();
}

QComboBox* TabelaTeclaDeColar::escolha(int linha) const
{
    return qobject_cast<QComboBox*>(m_tabela->cellWidget(linha, 1));
}

void TabelaTeclaDeColar::recarregar()
{
    m_carregando = true;
    m_tabela->setRowCount(0);
    const QMap<QString, QString> escolhas = TeclaDeColar::ler(m_config);
    for (auto it = escolhas.begin(); it != escolhas.end(); ++it)
        adicionarLinha(it.key(), it.value());
    m_carregando = false;
}

void TabelaTeclaDeColar::adicionarLinha(const QString& app, const QString& valor)
{
    const bool antes = m_carregando;
    m_carregando = true;
    const int linha = m_tabela->rowCount();
    m_tabela->insertRow(linha);
    m_tabela->setItem(linha, 0, new QTableWidgetItem(app));
    auto* combo = new QComboBox(m_tabela);
    for (const Opcao& o : kOpcoes)
        combo->addItem(QString::fromUtf8(o.rotulo), o.valor);
    // An unknown value reads as automatic, as the insertion treats it.
    combo->setCurrentIndex(std::max(0, combo->findData(valor)));
    connect(combo, &QComboBox::currentIndexChanged, this, [this] { gravar(); });
    m_tabela->setCellWidget(linha, 1, combo);
    m_carregando = antes;
}

void TabelaTeclaDeColar::gravar()
{
    if (m_carregando)
        return;
    QMap<QString, QString> escolhas;
    for (int i = 0; i < m_tabela->rowCount(); ++i) {
        const QTableWidgetItem* item = m_tabela->item(i, 0);
        const QComboBox* combo = escolha(i);
        if (item && combo)
            escolhas.insert(item->text(), combo->currentData().toString());
    }
    TeclaDeColar::gravar(m_config, escolhas);
    m_config.sincronizar();
}

} // namespace sonvo::ui
