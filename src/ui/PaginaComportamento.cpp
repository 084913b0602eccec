#include "ui/PaginaComportamento.h"

#include "ui/ComoAssociarAtalhos.h"

#include "core/Configuracoes.h"
#include "dictation/NivelAudio.h"
#include "platform/EntradaAudio.h"
#include "shell/OperationMode.h"
#include "ui/CamposPreferencias.h"
#include "ui/TabelaTeclaDeColar.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QLabel>
#include <QProgressBar>
#include <QRadioButton>
#include <QTimer>
#include <QVBoxLayout>

namespace sonvo::ui {

namespace {
struct Interruptor {
    const QString& chave;
    const char* rotulo;
    const char* ajuda;
};
const Interruptor kInterruptores[] = {
    {Interruptores::actionMenu, "Mostrar action menu", "Exibe o menu de transformações após gravar"},
    {Interruptores::intentModal, "Mostrar intent modal",
     "Confirma quando intenção é detectada na fala (\"transforma em email\")"},
    {Interruptores::streaming, "Streaming inline", "Tokens da IA aparecem progressivamente no preview"},
    {Interruptores::selecao, "Capturar seleção", "Envia texto selecionado no app frontmost como contexto à IA"},
};

QString nomeDoModo(OperationMode m)
{
    switch (m) {
    case OperationMode::full:
        return QStringLiteral("Completo");
    case OperationMode::minimal:
        return QStringLiteral("Mínimo");
    case OperationMode::stealth:
        return QStringLiteral("Discreto");
    case OperationMode::custom:
        return QStringLiteral("Personalizado");
    }
    return {};
}

// "Completo (full)"
QString nomeComValor(OperationMode m)
{
    return nomeDoModo(m) + QStringLiteral(" (") + OperationModes::rawValue(m) + u')';
}
} // namespace

PaginaComportamento::PaginaComportamento(Configuracoes& config, QStringList rotulosAtalhos, EntradaAudio* microfone,
                                         QWidget* parent)
    : QWidget(parent), m_config(config), m_rotulosAtalhos(std::move(rotulosAtalhos)), m_microfone(microfone)
{
    using CamposPreferencias::ajuda;
    auto* v = new QVBoxLayout(this);
    auto* g = new QGroupBox(QStringLiteral("Modo de operação"), this);
    auto* gv = new QVBoxLayout(g);
    m_modos = new QButtonGroup(this);
    for (OperationMode m : OperationModes::todos) {
        auto* b = new QRadioButton(nomeComValor(m), g);
        b->setProperty("modo", OperationModes::rawValue(m));
        m_modos->addButton(b, static_cast<int>(m));
        gv->addWidget(b);
        gv->addWidget(ajuda(OperationModes::descricao(m, m_rotulosAtalhos), g));
    }
    connect(m_modos, &QButtonGroup::idClicked, this, [this](int id) {
        if (m_carregando)
            return;
        OperationModes::applyOperationPreset(m_config, static_cast<OperationMode>(id));
        m_config.sincronizar();
        recarregar();
    });
    v->addWidget(g);

    auto* s = new QGroupBox(QStringLiteral("Interruptores"), this);
    auto* sv = new QVBoxLayout(s);
    for (const Interruptor& i : kInterruptores) {
        auto* c = new QCheckBox(QString::fromUtf8(i.rotulo), s);
        c->setProperty("chave", i.chave);
        c->setToolTip(QString::fromUtf8(i.ajuda));
        sv->addWidget(c);
        sv->addWidget(ajuda(QString::fromUtf8(i.ajuda), s));
        m_interruptores << c;
        connect(c, &QCheckBox::toggled, this, [this, c](bool ligado) {
            if (m_carregando)
                return;
            m_config.definir(c->property("chave").toString(), ligado);
            m_config.sincronizar();
            recarregar();
        });
    }
    v->addWidget(s);
    m_modoAtual = new QLabel(this);
    m_modoAtual->setStyleSheet(QStringLiteral("font-weight: 600;"));
    m_descricaoModo = ajuda(QString(), this);
    v->addWidget(m_modoAtual);
    v->addWidget(m_descricaoModo);

    // Read at every press: a change takes effect at once.
    auto* atalho = new QFormLayout;
    m_modoAtalho = new QComboBox(this);
    m_modoAtalho->setObjectName(QStringLiteral("modoAtalho"));
    m_modoAtalho->addItem(QStringLiteral("Alternar"), QStringLiteral("alternar"));
    m_modoAtalho->addItem(QStringLiteral("Segurar para falar"), QStringLiteral("segurar"));
    connect(m_modoAtalho, &QComboBox::currentIndexChanged, this, [this](int i) {
        if (m_carregando)
            return;
        m_config.definir(QStringLiteral("modoAtalho"), m_modoAtalho->itemData(i).toString());
        m_config.sincronizar();
    });
    atalho->addRow(QStringLiteral("Modo do atalho:"), m_modoAtalho);
    // The microphones by name; a live meter shows the chosen one while the page is open.
    m_microfones = new QComboBox(this);
    m_microfones->setObjectName(QStringLiteral("microfone"));
    m_microfones->addItem(QStringLiteral("Padrão do sistema"), QString());
    for (const DispositivoEntrada& d : m_microfone ? m_microfone->dispositivos() : QList<DispositivoEntrada>{})
        m_microfones->addItem(d.descricao, d.nome);
    connect(m_microfones, &QComboBox::currentIndexChanged, this, [this](int i) {
        if (m_carregando)
            return;
        m_config.definir(QStringLiteral("microfone"), m_microfones->itemData(i).toString());
        m_config.sincronizar();
        if (isVisible())
            medir();
    });
    m_nivel = new QProgressBar(this);
    m_nivel->setObjectName(QStringLiteral("nivelMicrofone"));
    m_nivel->setRange(0, 100);
    m_nivel->setTextVisible(false);
    atalho->addRow(QStringLiteral("Microfone:"), m_microfones);
    atalho->addRow(QString(), m_nivel);
    m_leitura = new QTimer(this);
    m_leitura->setInterval(50);
    connect(m_leitura, &QTimer::timeout, this, [this] { m_nivel->setValue(int(m_ultimoNivel->load() * 100)); });
    m_teclaDeColar = new TabelaTeclaDeColar(m_config, this);
    atalho->addRow(QStringLiteral("Tecla de colar:"), m_teclaDeColar);
    v->addLayout(atalho);
    v->addWidget(ajuda(QStringLiteral("Onde o ambiente não deixa o Sonvo ter atalhos globais, associe estes comandos:"), this));
    v->addWidget(new ComoAssociarAtalhos(this));
    v->addStretch();
    recarregar();
}

void PaginaComportamento::recarregar()
{
    const bool antes = m_carregando;
    m_carregando = true;
    for (QCheckBox* c : std::as_const(m_interruptores))
        c->setChecked(m_config.booleano(c->property("chave").toString()));
    // The mode shown is the one the switches make, whatever preset was last applied.
    const OperationMode atual = OperationModes::currentOperationMode(m_config);
    if (QAbstractButton* b = m_modos->button(static_cast<int>(atual)))
        b->setChecked(true);
    m_modoAtual->setText(QStringLiteral("Modo atual: ") + nomeComValor(atual));
    m_descricaoModo->setText(OperationModes::descricao(atual, m_rotulosAtalhos));
    if (m_modoAtalho)
        m_modoAtalho->setCurrentIndex(m_config.texto(QStringLiteral("modoAtalho")) == u"segurar" ? 1 : 0);
    if (m_microfones)
        m_microfones->setCurrentIndex(std::max(0, m_microfones->findData(m_config.texto(QStringLiteral("microfone")).value_or(QString()))));
    m_carregando = antes;
}

PaginaComportamento::~PaginaComportamento()
{
    if (m_microfone)
        m_microfone->parar();
}

void PaginaComportamento::medir()
{
    if (!m_microfone)
        return;
    m_microfone->parar();
    m_microfone->escolher(m_microfones->currentData().toString());
    const auto formato = m_microfone->formato();
    if (!formato)
        return;
    // On the audio thread: only the latest level crosses to the page.
    const int canais = formato.valor().canais;
    m_microfone->iniciar([nivel = m_ultimoNivel, canais](const float* b, unsigned long quadros) {
        nivel->store(nivelDoBuffer(b, quadros, canais));
    });
    m_leitura->start();
}

void PaginaComportamento::showEvent(QShowEvent* e)
{
    QWidget::showEvent(e);
    medir();
}

void PaginaComportamento::hideEvent(QHideEvent* e)
{
    QWidget::hideEvent(e);
    if (m_microfone)
        m_microfone->parar();
    m_leitura->stop();
    m_nivel->setValue(0);
}

QList<QAbstractButton*> PaginaComportamento::botoesModo() const
{
    return m_modos->buttons();
}

QCheckBox* PaginaComportamento::interruptor(const QString& chave) const
{
    for (QCheckBox* c : m_interruptores)
        if (c->property("chave").toString() == chave)
            return c;
    return nullptr;
}

} // namespace sonvo::ui
