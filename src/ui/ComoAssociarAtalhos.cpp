#include "ui/ComoAssociarAtalhos.h"

#include "shell/ComoAssociar.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QHBoxLayout>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace sonvo::ui {

ComoAssociarAtalhos::ComoAssociarAtalhos(QWidget* parent) : QWidget(parent)
{
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(0, 0, 0, 0);
    auto* texto = new QPlainTextEdit(comandosParaAssociar(), this);
    texto->setObjectName(QStringLiteral("comandosParaAssociar"));
    texto->setReadOnly(true);
    texto->setMinimumHeight(150);
    v->addWidget(texto);
    auto* h = new QHBoxLayout;
    h->addStretch();
    m_copiar = new QPushButton(QStringLiteral("Copiar comandos"), this);
    h->addWidget(m_copiar);
    v->addLayout(h);
    connect(m_copiar, &QPushButton::clicked, this, [this] {
        QGuiApplication::clipboard()->setText(comandosParaAssociar());
        m_copiar->setText(QStringLiteral("Copiados"));
    });
}

} // namespace sonvo::ui
