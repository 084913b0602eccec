#include "ui/Onboarding.h"

#include "ui/ComoAssociarAtalhos.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

namespace sonvo::ui {

namespace {
QWidget* passo(const QString& numero, const QString& titulo, const QString& texto, QWidget* pai)
{
    auto* w = new QWidget(pai);
    auto* h = new QHBoxLayout(w);
    h->setContentsMargins(0, 4, 0, 4);
    auto* n = new QLabel(numero, w);
    n->setFixedSize(30, 30);
    n->setAlignment(Qt::AlignCenter);
    n->setStyleSheet(QStringLiteral("background: #5B73F0; color: white; border-radius: 15px; font-weight: 700;"));
    h->addWidget(n, 0, Qt::AlignTop);
    auto* v = new QVBoxLayout;
    auto* t = new QLabel(titulo, w);
    t->setStyleSheet(QStringLiteral("font-weight: 600; font-size: 14px;"));
    auto* d = new QLabel(texto, w);
    d->setWordWrap(true);
    d->setTextFormat(Qt::RichText);
    d->setTextInteractionFlags(Qt::TextSelectableByMouse);
    v->addWidget(t);
    v->addWidget(d);
    h->addLayout(v, 1);
    return w;
}
} // namespace

Onboarding::Onboarding(bool teclasDisponiveis, std::function<void()> abrirPreferencias, QWidget* parent)
    : QWidget(parent, Qt::Window)
{
    setObjectName(QStringLiteral("onboarding"));
    setWindowTitle(QStringLiteral("Bem-vindo ao Sonvo"));
    setFixedWidth(540);
    auto* v = new QVBoxLayout(this);
    v->setContentsMargins(24, 20, 24, 20);
    auto* titulo = new QLabel(QStringLiteral("Bem-vindo ao Sonvo"), this);
    titulo->setStyleSheet(QStringLiteral("font-size: 20px; font-weight: 700;"));
    v->addWidget(titulo);
    auto* sub = new QLabel(QStringLiteral("Fale e o texto aparece onde você estava digitando."), this);
    v->addWidget(sub);
    v->addSpacing(8);
    v->addWidget(passo(QStringLiteral("1"), QStringLiteral("Dite com um atalho"),
                       QStringLiteral("<b>Super+Shift+T</b>: aperte, fale, aperte de novo — o texto é colado no "
                                      "aplicativo da frente.<br><b>Super+Shift+R</b>: o mesmo, mas abre o menu de "
                                      "ações para transformar o ditado em resumo, tópicos, e-mail, legenda ou post."),
                       this));
    v->addWidget(passo(QStringLiteral("2"), QStringLiteral("Coloque a sua chave"),
                       QStringLiteral("A transcrição usa a OpenAI: cole a sua chave em <b>Preferências → Chaves</b>. "
                                      "Para as ações de IA você pode escolher a OpenAI ou a Anthropic."),
                       this));
    v->addWidget(passo(QStringLiteral("3"),
                       teclasDisponiveis ? QStringLiteral("No Wayland")
                                         : QStringLiteral("Esta sessão não permite atalhos globais"),
                       QStringLiteral("Nas configurações de teclado do seu ambiente, crie dois atalhos com os "
                                      "comandos:<br><code>sonvo alternar</code> — ditado direto<br>"
                                      "<code>sonvo alternar --menu</code> — menu de ações"),
                       this));
    if (!teclasDisponiveis)
        v->addWidget(new ComoAssociarAtalhos(this));
    v->addSpacing(10);
    auto* botoes = new QHBoxLayout;
    botoes->addStretch();
    auto* prefs = new QPushButton(QStringLiteral("Abrir Preferências"), this);
    auto* comecar = new QPushButton(QStringLiteral("Começar"), this);
    comecar->setDefault(true);
    botoes->addWidget(prefs);
    botoes->addWidget(comecar);
    v->addLayout(botoes);
    connect(prefs, &QPushButton::clicked, this, [this, abrirPreferencias] {
        if (abrirPreferencias)
            abrirPreferencias();
        close();
    });
    connect(comecar, &QPushButton::clicked, this, &QWidget::close);
}

} // namespace sonvo::ui
