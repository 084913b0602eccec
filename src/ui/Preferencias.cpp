#include "ui/Preferencias.h"

#include <QHBoxLayout>
#include <QListWidget>
#include <QStackedWidget>

namespace sonvo::ui {

const QStringList& Preferencias::secoes()
{
    static const QStringList s{QStringLiteral("chaves"), QStringLiteral("acoes"), QStringLiteral("vocabulario"),
                               QStringLiteral("comportamento"), QStringLiteral("sobre")};
    return s;
}

Preferencias::Preferencias(Dependencias d, QWidget* parent) : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("preferencias"));
    setWindowTitle(QStringLiteral("Preferências do Sonvo"));
    resize(780, 560);
    auto* raiz = new QHBoxLayout(this);
    m_nav = new QListWidget(this);
    m_nav->setFixedWidth(170);
    m_nav->setAccessibleName(QStringLiteral("Seções"));
    m_nav->setStyleSheet(QStringLiteral("QListWidget::item { padding: 7px 10px; }"));
    const QStringList nomes{QStringLiteral("Chaves"), QStringLiteral("Ações"), QStringLiteral("Vocabulário"),
                            QStringLiteral("Comportamento"), QStringLiteral("Sobre")};
    for (int i = 0; i < nomes.size(); ++i) {
        auto* item = new QListWidgetItem(nomes[i], m_nav);
        item->setData(Qt::UserRole, secoes()[i]);
    }
    m_paginas = new QStackedWidget(this);
    m_chaves = new PaginaChaves(d.config, d.pastaDados, m_paginas);
    m_acoes = new PaginaAcoes(d.config, m_paginas);
    m_vocabulario = new PaginaVocabulario(d.vocabulario, d.auditoria, d.config, d.abrirArquivo, m_paginas);
    m_comportamento = new PaginaComportamento(d.config, d.rotulosAtalhos, d.microfone, m_paginas);
    m_sobre = new PaginaSobre(d.config, d.pastaDados, d.arquivoLog, d.abrirArquivo, d.aplicarIcone, d.diagnosticar, m_paginas);
    // In the order of secoes().
    for (QWidget* p : std::initializer_list<QWidget*>{m_chaves, m_acoes, m_vocabulario, m_comportamento, m_sobre})
        m_paginas->addWidget(p);
    raiz->addWidget(m_nav);
    raiz->addWidget(m_paginas, 1);
    connect(m_nav, &QListWidget::currentRowChanged, m_paginas, &QStackedWidget::setCurrentIndex);
    m_nav->setCurrentRow(0);
    recarregar();
}

void Preferencias::mostrarSecao(const QString& id)
{
    const auto i = secoes().indexOf(id);
    if (i >= 0)
        m_nav->setCurrentRow(static_cast<int>(i));
}

QString Preferencias::secaoAtual() const
{
    return secoes().value(m_nav->currentRow());
}

void Preferencias::recarregar()
{
    m_chaves->recarregar();
    m_acoes->recarregar();
    m_vocabulario->recarregar();
    m_comportamento->recarregar();
}

} // namespace sonvo::ui
