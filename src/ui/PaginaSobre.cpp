#include "ui/PaginaSobre.h"

#include "core/Configuracoes.h"
#include "shell/Diagnostico.h"
#include "ui/CamposPreferencias.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QPointer>
#include <QPushButton>
#include <QVBoxLayout>

namespace sonvo::ui {

PaginaSobre::PaginaSobre(Configuracoes& config, const QString& pastaDados, const QString& arquivoLog,
                         std::function<void(const QString&)> abrirArquivo, std::function<void()> aplicarIcone,
                         std::function<QCoro::Task<QList<FormaServico>>()> diagnosticar, QWidget* parent)
    : QWidget(parent), m_config(config), m_abrirArquivo(std::move(abrirArquivo)), m_aplicarIcone(std::move(aplicarIcone))
{
    using CamposPreferencias::ajuda;
    auto* v = new QVBoxLayout(this);
    auto* nome = new QLabel(QStringLiteral("Sonvo ") + QStringLiteral(SONVO_VERSAO), this);
    nome->setStyleSheet(QStringLiteral("font-size: 20px; font-weight: 600;"));
    v->addWidget(nome);
    v->addWidget(ajuda(QStringLiteral("Ditado em português do Brasil, com o seu vocabulário."), this));
    auto* form = new QFormLayout;
    form->addRow(QStringLiteral("Pasta de dados:"), linhaComBotao(pastaDados));
    form->addRow(QStringLiteral("Arquivo de log:"), linhaComBotao(arquivoLog));
    form->addRow(QStringLiteral("Configurações:"), linhaComBotao(m_config.arquivo()));
    m_icone = new QComboBox(this);
    m_icone->setObjectName(QStringLiteral("iconeDoApp"));
    m_icone->addItem(QStringLiteral("Escuro"), QStringLiteral("dark"));
    m_icone->addItem(QStringLiteral("Claro"), QStringLiteral("light"));
    m_icone->setCurrentIndex(
        m_config.texto(QStringLiteral("iconVariant")).value_or(QStringLiteral("dark")) == QLatin1String("dark") ? 0 : 1);
    connect(m_icone, &QComboBox::currentIndexChanged, this, [this](int i) {
        m_config.definir(QStringLiteral("iconVariant"), m_icone->itemData(i).toString());
        m_config.sincronizar();
        if (m_aplicarIcone)
            m_aplicarIcone();
    });
    form->addRow(QStringLiteral("Ícone do aplicativo:"), m_icone);
    v->addLayout(form);
    v->addWidget(ajuda(QStringLiteral("Super+Shift+T dita e cola. Super+Shift+R dita e abre o menu de ações. "
                                      "No Wayland, associe um atalho do seu ambiente ao comando: sonvo alternar "
                                      "(ou sonvo alternar --menu)."),
                       this));
    if (diagnosticar)
        preencherDiagnostico(std::move(diagnosticar));
    v->addStretch();
}

QCoro::Task<> PaginaSobre::preencherDiagnostico(std::function<QCoro::Task<QList<FormaServico>>()> diagnosticar)
{
    auto* titulo = new QLabel(QStringLiteral("Nesta sessão"), this);
    titulo->setStyleSheet(QStringLiteral("font-weight: 600;"));
    QPointer<QLabel> linhas = new QLabel(QStringLiteral("Verificando…"), this);
    linhas->setObjectName(QStringLiteral("diagnostico"));
    linhas->setTextInteractionFlags(Qt::TextSelectableByMouse);
    layout()->addWidget(titulo);
    layout()->addWidget(linhas);
    const QList<FormaServico> r = co_await diagnosticar();
    if (linhas) // the window may have closed meanwhile
        linhas->setText(Diagnostico::texto(r).trimmed());
}

// The path, selectable, and a button that opens it in the user's own application.
QWidget* PaginaSobre::linhaComBotao(const QString& caminho)
{
    auto* w = new QWidget(this);
    auto* h = new QHBoxLayout(w);
    h->setContentsMargins(0, 0, 0, 0);
    auto* l = new QLabel(caminho, w);
    l->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* b = new QPushButton(QStringLiteral("Abrir"), w);
    connect(b, &QPushButton::clicked, this, [this, caminho] {
        if (m_abrirArquivo)
            m_abrirArquivo(caminho);
    });
    h->addWidget(l, 1);
    h->addWidget(b);
    return w;
}

} // namespace sonvo::ui
