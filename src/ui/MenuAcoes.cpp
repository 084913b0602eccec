#include "ui/MenuAcoes.h"

#include "shell/RecordingViewModel.h"
#include "ui/Estilo.h"

#include <QApplication>
#include <QEnterEvent>
#include <QHBoxLayout>
#include <QLabel>
#include <QPainter>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScrollBar>
#include <QShortcut>
#include <QTextCursor>
#include <QVBoxLayout>

namespace sonvo::ui {

PainelFocavel::PainelFocavel(QWidget* parent)
    : QWidget(parent, Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint)
{
    setAttribute(Qt::WA_TranslucentBackground);
    setStyleSheet(Estilo::folhaPainel());
}

void PainelFocavel::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Estilo::borda(), 1.0));
    p.setBrush(Estilo::fundoPainel());
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 16, 16);
}

QString MenuAcoesPainel::simboloDaAcao(QuickAction a)
{
    switch (a) {
    case QuickAction::resumir:
        return QStringLiteral("≡");
    case QuickAction::bulletPoints:
        return QStringLiteral("•");
    case QuickAction::email:
        return QStringLiteral("✉");
    case QuickAction::legenda:
        return QStringLiteral("❝");
    case QuickAction::post:
        return QStringLiteral("✎");
    }
    return {};
}

MenuAcoesPainel::MenuAcoesPainel(RecordingViewModel& vm, QList<QuickAction> acoes,
                                 PaineisFlutuantes::EventosMenu eventos, QWidget* parent)
    : PainelFocavel(parent), m_vm(vm), m_acoes(std::move(acoes)), m_eventos(std::move(eventos))
{
    setObjectName(QStringLiteral("menuAcoes"));
    setWindowTitle(QStringLiteral("Sonvo — menu de ações"));
    setFixedSize(520, 330);

    auto* raiz = new QVBoxLayout(this);
    raiz->setContentsMargins(18, 14, 18, 14);
    raiz->setSpacing(10);

    auto* topo = new QHBoxLayout;
    auto* titulo = new QLabel(QStringLiteral("O que fazer com o ditado?"), this);
    titulo->setObjectName(QStringLiteral("titulo"));
    topo->addWidget(titulo);
    topo->addStretch();
    m_estado = new QLabel(this);
    m_estado->setObjectName(QStringLiteral("dica"));
    topo->addWidget(m_estado);
    m_descartar = new QPushButton(QStringLiteral("Descartar"), this);
    m_descartar->setObjectName(QStringLiteral("discreto"));
    m_descartar->setToolTip(QStringLiteral("Fecha o menu sem inserir nada"));
    m_descartar->setCursor(Qt::PointingHandCursor);
    connect(m_descartar, &QPushButton::clicked, this, [this] {
        if (m_eventos.descartar)
            m_eventos.descartar();
    });
    topo->addWidget(m_descartar);
    raiz->addLayout(topo);

    m_preview = new QPlainTextEdit(this);
    m_preview->setAccessibleName(QStringLiteral("Texto do ditado"));
    m_preview->setTabChangesFocus(true);
    m_preview->setPlainText(m_vm.textoEditadoAtual());
    raiz->addWidget(m_preview, 1);
    connect(m_preview, &QPlainTextEdit::textChanged, this, [this] {
        const QString t = m_preview->toPlainText();
        if (t != m_vm.textoEditadoAtual())
            m_vm.setTextoEditadoAtual(t);
    });
    connect(&m_vm, &RecordingViewModel::textoEditadoAtualChanged, this, &MenuAcoesPainel::mostrarTexto);

    auto* linha = new QHBoxLayout;
    linha->setSpacing(8);
    for (int i = 0; i < m_acoes.size(); ++i) {
        const QuickAction a = m_acoes[i];
        auto* b = new QPushButton(simboloDaAcao(a) + QStringLiteral("  ") + QuickActions::titulo(a), this);
        b->setAccessibleName(QuickActions::titulo(a));
        b->setCursor(Qt::PointingHandCursor);
        if (i < 9) {
            b->setToolTip(QStringLiteral("Ctrl+%1").arg(i + 1));
            auto* atalho = new QShortcut(QKeySequence(Qt::CTRL | static_cast<Qt::Key>(Qt::Key_1 + i)), this);
            connect(atalho, &QShortcut::activated, b, &QPushButton::click);
        }
        connect(b, &QPushButton::clicked, this, [this, a] {
            if (!m_ocupado && m_eventos.acaoEscolhida)
                m_eventos.acaoEscolhida(a);
        });
        linha->addWidget(b);
        m_botoes << b;
    }
    linha->addStretch();
    raiz->addLayout(linha);

    const qsizetype n = std::min<qsizetype>(m_acoes.size(), 9);
    const QString atalhos = n == 1 ? QStringLiteral(" · Ctrl+1 aplica a ação")
                            : n > 1 ? QStringLiteral(" · Ctrl+1…%1 aplica uma ação").arg(n)
                                    : QString();
    auto* dica = new QLabel(QStringLiteral("Esc ou Ctrl+Enter insere o texto como está") + atalhos, this);
    dica->setObjectName(QStringLiteral("dica"));
    raiz->addWidget(dica);

    // Escape inserts, it does not discard: the text the user dictated is never lost by a reflex.
    for (const QKeySequence& seq : {QKeySequence(Qt::Key_Escape), QKeySequence(Qt::CTRL | Qt::Key_Return),
                                    QKeySequence(Qt::CTRL | Qt::Key_Enter)}) {
        auto* s = new QShortcut(seq, this);
        connect(s, &QShortcut::activated, this, [this] {
            if (m_eventos.inserirComoEsta)
                m_eventos.inserirComoEsta();
        });
    }
}

void MenuAcoesPainel::mostrarTexto(const QString& texto)
{
    const QString atual = m_preview->toPlainText();
    if (texto == atual)
        return;
    QSignalBlocker bloqueio(m_preview);
    if (!atual.isEmpty() && texto.startsWith(atual)) {
        // A streamed fragment: appended at the end, the view follows it.
        QTextCursor c(m_preview->document());
        c.movePosition(QTextCursor::End);
        c.insertText(texto.mid(atual.size()));
        m_preview->verticalScrollBar()->setValue(m_preview->verticalScrollBar()->maximum());
    } else {
        m_preview->setPlainText(texto);
        m_preview->moveCursor(QTextCursor::End);
    }
}

void MenuAcoesPainel::definirOcupado(bool ocupado)
{
    m_ocupado = ocupado;
    for (QPushButton* b : std::as_const(m_botoes))
        b->setEnabled(!ocupado);
    m_preview->setReadOnly(ocupado);
    m_estado->setText(ocupado ? QStringLiteral("Gerando…") : QString());
}

void MenuAcoesPainel::enterEvent(QEnterEvent*)
{
    if (m_eventos.ponteiroEntrou)
        m_eventos.ponteiroEntrou();
}

void MenuAcoesPainel::leaveEvent(QEvent*)
{
    // A child's popup (the preview's context menu) takes the pointer without leaving the menu, and
    // going to the error alert's "OK" must not close the menu behind it and paste.
    if (!isVisible() || QApplication::activeModalWidget() || QApplication::activePopupWidget())
        return;
    if (m_eventos.ponteiroSaiu && !rect().contains(mapFromGlobal(QCursor::pos())))
        m_eventos.ponteiroSaiu();
}

void MenuAcoesPainel::showEvent(QShowEvent*)
{
    activateWindow();
    m_preview->setFocus();
    m_preview->moveCursor(QTextCursor::End);
}

ModalIntencao::ModalIntencao(QuickAction acao, PaineisFlutuantes::EventosIntencao eventos, QWidget* parent)
    : PainelFocavel(parent), m_acao(acao), m_eventos(std::move(eventos))
{
    setObjectName(QStringLiteral("modalIntencao"));
    setWindowTitle(QStringLiteral("Sonvo"));
    setFixedSize(360, 132);
    auto* raiz = new QVBoxLayout(this);
    raiz->setContentsMargins(20, 16, 20, 16);
    raiz->setSpacing(6);
    m_pergunta = new QLabel(pergunta(), this);
    m_pergunta->setObjectName(QStringLiteral("titulo"));
    raiz->addWidget(m_pergunta);
    auto* sub = new QLabel(QStringLiteral("Seu ditado pediu essa formatação."), this);
    sub->setObjectName(QStringLiteral("dica"));
    raiz->addWidget(sub);
    raiz->addStretch();
    auto* linha = new QHBoxLayout;
    linha->addStretch();
    m_opcoes = new QPushButton(QStringLiteral("…"), this);
    m_opcoes->setAccessibleName(QStringLiteral("Ver opções"));
    m_opcoes->setToolTip(QStringLiteral("Ver opções"));
    m_opcoes->setFixedWidth(44);
    connect(m_opcoes, &QPushButton::clicked, this, [this] {
        if (m_eventos.verOpcoes)
            m_eventos.verOpcoes();
    });
    linha->addWidget(m_opcoes);
    m_confirmar = new QPushButton(QStringLiteral("Confirmar"), this);
    m_confirmar->setObjectName(QStringLiteral("principal"));
    m_confirmar->setDefault(true);
    connect(m_confirmar, &QPushButton::clicked, this, [this] {
        if (m_eventos.confirmar)
            m_eventos.confirmar(m_acao);
    });
    linha->addWidget(m_confirmar);
    raiz->addLayout(linha);

    // Enter presses the focused button: "Confirmar" unless the user tabbed to "…".
    for (const QKeySequence& seq : {QKeySequence(Qt::Key_Return), QKeySequence(Qt::Key_Enter)}) {
        auto* s = new QShortcut(seq, this);
        connect(s, &QShortcut::activated, this, [this] { (m_opcoes->hasFocus() ? m_opcoes : m_confirmar)->click(); });
    }
    auto* esc = new QShortcut(QKeySequence(Qt::Key_Escape), this);
    connect(esc, &QShortcut::activated, this, [this] {
        if (m_eventos.escape)
            m_eventos.escape();
    });
}

QString ModalIntencao::pergunta() const
{
    return QStringLiteral("Quer formatar como ") + QuickActions::titulo(m_acao) + QStringLiteral("?");
}

void ModalIntencao::showEvent(QShowEvent*)
{
    activateWindow();
    m_confirmar->setFocus();
}

} // namespace sonvo::ui
