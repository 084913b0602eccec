#include "ui/Preferencias.h"

#include "ai/AIProvider.h"
#include "ai/KeychainService.h"
#include "ai/QuickAction.h"
#include "app/Configuracoes.h"
#include "app/Endpoints.h"
#include "app/OperationMode.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QButtonGroup>
#include <QCheckBox>
#include <QComboBox>
#include <QCoroTask>
#include <QDateTime>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QPointer>
#include <QPushButton>
#include <QRadioButton>
#include <QScrollArea>
#include <QStackedWidget>
#include <QTabWidget>
#include <QTableWidget>
#include <QVBoxLayout>

namespace sonvo::ui {

namespace {
const AIProviderID kProvedores[2] = {AIProviderID::openai, AIProviderID::anthropic};
const char* const kChavesEndpoint[2] = {"openaiBaseURL", "anthropicBaseURL"};
const char* const kVariaveisEndpoint[2] = {"SONVO_OPENAI_BASE_URL", "SONVO_ANTHROPIC_BASE_URL"};

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

QLabel* ajuda(const QString& texto, QWidget* pai)
{
    auto* l = new QLabel(texto, pai);
    l->setWordWrap(true);
    // Secondary text: the theme's own text colour, softened, so it reads on light and dark themes.
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

// A row of fields and a button at its end.
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
} // namespace

const QStringList& Preferencias::secoes()
{
    static const QStringList s{QStringLiteral("chaves"), QStringLiteral("acoes"), QStringLiteral("vocabulario"),
                               QStringLiteral("comportamento"), QStringLiteral("sobre")};
    return s;
}

Preferencias::Preferencias(Dependencias deps, QWidget* parent) : QWidget(parent, Qt::Window), m_d(std::move(deps))
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
    m_paginas->addWidget(paginaChaves());
    m_paginas->addWidget(paginaAcoes());
    m_paginas->addWidget(paginaVocabulario());
    m_paginas->addWidget(paginaComportamento());
    m_paginas->addWidget(paginaSobre());
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

// The files may have changed in an editor or through the command line since the last look.
void Preferencias::recarregar()
{
    m_carregando = true;
    const KeychainService chaves(m_d.pastaDados);
    for (int i = 0; i < 2; ++i) {
        const bool tem = chaves.chave(Provedores::contaChave(kProvedores[i])).has_value();
        m_chave[i]->clear();
        m_chave[i]->setPlaceholderText(tem ? QStringLiteral("Chave configurada — digite outra para trocar")
                                           : QStringLiteral("Cole a chave aqui"));
        const QString salvo = m_d.config.texto(QString::fromLatin1(kChavesEndpoint[i])).value_or(QString());
        m_endpoint[i]->setText(salvo);
    }
    m_provedor->setCurrentIndex(AIService::currentProviderID(m_d.config) == AIProviderID::anthropic ? 1 : 0);
    carregarAcoes();
    carregarGlobal();
    carregarPorApp();
    carregarAuditoria();
    carregarComportamento();
    m_carregando = false;
}

// ---- chaves ----

QWidget* Preferencias::paginaChaves()
{
    auto* p = new QWidget(this);
    auto* v = new QVBoxLayout(p);
    for (int i = 0; i < 2; ++i) {
        const QString nome = i == 0 ? QStringLiteral("OpenAI") : QStringLiteral("Anthropic");
        auto* g = new QGroupBox(QStringLiteral("Chave da ") + nome, p);
        auto* gl = new QVBoxLayout(g);
        auto* linha = new QHBoxLayout;
        m_chave[i] = new QLineEdit(g);
        m_chave[i]->setEchoMode(QLineEdit::Password);
        m_chave[i]->setAccessibleName(QStringLiteral("Chave da ") + nome);
        m_salvarChave[i] = new QPushButton(QStringLiteral("Salvar"), g);
        linha->addWidget(m_chave[i], 1);
        linha->addWidget(m_salvarChave[i]);
        gl->addLayout(linha);
        m_msgChave[i] = new QLabel(g);
        gl->addWidget(m_msgChave[i]);
        gl->addWidget(ajuda(i == 0 ? QStringLiteral("Usada na transcrição e, se escolhida abaixo, nas ações de IA. "
                                                    "Salvar com o campo vazio remove a chave.")
                                   : QStringLiteral("Usada nas ações de IA quando a Anthropic é o provedor. "
                                                    "Salvar com o campo vazio remove a chave."),
                            g));
        connect(m_salvarChave[i], &QPushButton::clicked, this, [this, i] { salvarChave(i); });
        connect(m_chave[i], &QLineEdit::returnPressed, this, [this, i] { salvarChave(i); });
        v->addWidget(g);
    }

    auto* g = new QGroupBox(QStringLiteral("Provedor das ações de IA"), p);
    auto* gl = new QVBoxLayout(g);
    m_provedor = new QComboBox(g);
    for (AIProviderID id : Provedores::todos)
        m_provedor->addItem(Provedores::displayName(id), Provedores::rawValue(id));
    connect(m_provedor, &QComboBox::currentIndexChanged, this, [this](int i) {
        if (m_carregando || i < 0)
            return;
        m_d.config.definir(QStringLiteral("aiProvider"), m_provedor->itemData(i).toString());
        m_d.config.sincronizar();
    });
    gl->addWidget(m_provedor);
    v->addWidget(g);

    auto* e = new QGroupBox(QStringLiteral("Endereços dos serviços"), p);
    auto* form = new QFormLayout(e);
    for (int i = 0; i < 2; ++i) {
        m_endpoint[i] = new QLineEdit(e);
        m_endpoint[i]->setPlaceholderText(i == 0 ? QStringLiteral("https://api.openai.com")
                                                 : QStringLiteral("https://api.anthropic.com"));
        form->addRow(i == 0 ? QStringLiteral("OpenAI:") : QStringLiteral("Anthropic:"), m_endpoint[i]);
    }
    auto* salvar = new QPushButton(QStringLiteral("Salvar endereços"), e);
    salvar->setObjectName(QStringLiteral("salvarEndpoints"));
    connect(salvar, &QPushButton::clicked, this, &Preferencias::salvarEndpoints);
    m_msgEndpoints = new QLabel(e);
    m_msgEndpoints->setWordWrap(true);
    form->addRow(salvar, m_msgEndpoints);
    form->addRow(ajuda(QStringLiteral("Vazio usa o endereço oficial. Um servidor compatível ou um gateway podem "
                                      "ter um caminho próprio (http://127.0.0.1:8080/proxy)."),
                       e));
    v->addWidget(e);
    v->addStretch();
    return p;
}

void Preferencias::salvarChave(int i)
{
    const KeychainService chaves(m_d.pastaDados);
    const QString texto = m_chave[i]->text();
    if (chaves.salvarChave(kProvedores[i], texto)) {
        m_msgChave[i]->setText(KeychainService::mensagemErroSalvar(kProvedores[i]));
        return;
    }
    const QString nome = i == 0 ? QStringLiteral("OpenAI") : QStringLiteral("Anthropic");
    m_msgChave[i]->setText(texto.isEmpty() ? QStringLiteral("Chave ") + nome + QStringLiteral(" removida")
                                           : QStringLiteral("Chave ") + nome + QStringLiteral(" salva"));
    m_chave[i]->clear();
    m_chave[i]->setPlaceholderText(texto.isEmpty() ? QStringLiteral("Cole a chave aqui")
                                                   : QStringLiteral("Chave configurada — digite outra para trocar"));
}

void Preferencias::salvarEndpoints()
{
    QStringList avisos;
    for (int i = 0; i < 2; ++i) {
        const QString t = m_endpoint[i]->text().trimmed();
        if (t.isEmpty())
            continue;
        const QUrl url(t, QUrl::StrictMode);
        if (!url.isValid() || (url.scheme() != u"http" && url.scheme() != u"https") || url.host().isEmpty()) {
            m_msgEndpoints->setText(QStringLiteral("Endereço inválido: ") + t
                                    + QStringLiteral(" (use http:// ou https:// seguido do servidor)"));
            return;
        }
    }
    for (int i = 0; i < 2; ++i) {
        const QString chave = QString::fromLatin1(kChavesEndpoint[i]);
        const QString t = m_endpoint[i]->text().trimmed();
        if (t.isEmpty())
            m_d.config.remover(chave);
        else
            m_d.config.definir(chave, t);
        if (!qEnvironmentVariableIsEmpty(kVariaveisEndpoint[i]))
            avisos << QStringLiteral("A variável %1 está definida e vale mais que este campo.")
                          .arg(QString::fromLatin1(kVariaveisEndpoint[i]));
    }
    m_msgEndpoints->setText(m_d.config.sincronizar() ? (QStringList{QStringLiteral("Endereços salvos.")} + avisos).join(u' ')
                                                     : QStringLiteral("Não foi possível gravar as configurações."));
}

// ---- acoes ----

QWidget* Preferencias::paginaAcoes()
{
    auto* p = new QWidget(this);
    auto* v = new QVBoxLayout(p);
    v->addWidget(new QLabel(QStringLiteral("Ações rápidas do menu, na ordem em que aparecem"), p));
    v->addWidget(ajuda(QStringLiteral("Arraste para reordenar. Ctrl+1, Ctrl+2… no menu seguem esta ordem."), p));
    m_acoes = new QListWidget(p);
    m_acoes->setAccessibleName(QStringLiteral("Ações habilitadas"));
    m_acoes->setDragDropMode(QAbstractItemView::InternalMove);
    m_acoes->setDefaultDropAction(Qt::MoveAction);
    v->addWidget(m_acoes, 1);
    // The order is written as soon as a row lands in its new place.
    connect(m_acoes->model(), &QAbstractItemModel::rowsMoved, this, [this] {
        if (!m_carregando)
            salvarOrdemDasAcoes();
    });
    m_removerAcao = new QPushButton(p);
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
        salvarOrdemDasAcoes();
        carregarAcoes();
    });

    auto* linha = new QHBoxLayout;
    m_disponiveis = new QComboBox(p);
    m_disponiveis->setAccessibleName(QStringLiteral("Ações disponíveis"));
    m_adicionarAcao = new QPushButton(QStringLiteral("Adicionar"), p);
    linha->addWidget(new QLabel(QStringLiteral("Adicionar ação:"), p));
    linha->addWidget(m_disponiveis, 1);
    linha->addWidget(m_adicionarAcao);
    v->addLayout(linha);
    connect(m_adicionarAcao, &QPushButton::clicked, this, [this] {
        const auto a = QuickActions::deRawValue(m_disponiveis->currentData().toString());
        if (!a)
            return;
        auto* item = new QListWidgetItem(QuickActions::titulo(*a), m_acoes);
        item->setData(Qt::UserRole, QuickActions::rawValue(*a));
        salvarOrdemDasAcoes();
        carregarAcoes();
    });
    return p;
}

void Preferencias::carregarAcoes()
{
    const bool antes = m_carregando;
    m_carregando = true;
    m_acoes->clear();
    QSet<QuickAction> habilitadas;
    for (QuickAction a : QuickActions::loadOrdered(m_d.config)) {
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

void Preferencias::salvarOrdemDasAcoes()
{
    QList<QuickAction> ordem;
    for (int i = 0; i < m_acoes->count(); ++i)
        if (const auto a = QuickActions::deRawValue(m_acoes->item(i)->data(Qt::UserRole).toString()))
            ordem << *a;
    QuickActions::saveOrdered(m_d.config, ordem);
    m_d.config.sincronizar();
}

// ---- vocabulario ----

QWidget* Preferencias::paginaVocabulario()
{
    auto* abas = new QTabWidget(this);

    // Global: vocabulary.md
    auto* g = new QWidget(abas);
    auto* gv = new QVBoxLayout(g);
    gv->addWidget(ajuda(QStringLiteral("Correções automáticas do arquivo vocabulary.md. Edite-o no seu editor; "
                                       "as mudanças valem no próximo ditado."),
                        g));
    m_tabelaGlobal = tabela({QStringLiteral("Ouvido"), QStringLiteral("Escrever")}, g);
    gv->addWidget(m_tabelaGlobal, 1);
    m_whitelist = new QLabel(g);
    m_whitelist->setWordWrap(true);
    m_whitelist->setTextInteractionFlags(Qt::TextSelectableByMouse);
    gv->addWidget(m_whitelist);
    m_ouvido = campo(QStringLiteral("o que o ditado escreve"), g);
    m_escrever = campo(QStringLiteral("o que deve ser escrito"), g);
    m_adicionarCorrecao = new QPushButton(QStringLiteral("Adicionar correção"), g);
    gv->addLayout(linhaDeCampos({m_ouvido, m_escrever, m_adicionarCorrecao}));
    auto* linha2 = new QHBoxLayout;
    auto* abrir = new QPushButton(QStringLiteral("Abrir vocabulary.md no editor"), g);
    abrir->setObjectName(QStringLiteral("abrirVocabulario"));
    auto* recarregar = new QPushButton(QStringLiteral("Recarregar"), g);
    m_msgVocab = new QLabel(g);
    linha2->addWidget(abrir);
    linha2->addWidget(recarregar);
    linha2->addWidget(m_msgVocab, 1);
    gv->addLayout(linha2);
    connect(abrir, &QPushButton::clicked, this, [this] {
        m_d.vocabulario.bootstrapSeNecessario();
        if (m_d.abrirArquivo)
            m_d.abrirArquivo(m_d.vocabulario.arquivoGlobal());
    });
    connect(recarregar, &QPushButton::clicked, this, [this] {
        carregarGlobal();
        carregarPorApp();
    });
    connect(m_adicionarCorrecao, &QPushButton::clicked, this, [this] {
        const QString o = m_ouvido->text().trimmed(), e = m_escrever->text().trimmed();
        if (o.isEmpty() || e.isEmpty()) {
            m_msgVocab->setText(QStringLiteral("Preencha o que é ouvido e o que deve ser escrito."));
            return;
        }
        m_d.vocabulario.bootstrapSeNecessario();
        if (const auto erro = m_d.vocabulario.importarCorrecaoAprovada(o, e)) {
            m_msgVocab->setText(*erro);
            return;
        }
        m_msgVocab->setText(QStringLiteral("Correção adicionada: ") + o + QStringLiteral(" → ") + e);
        m_ouvido->clear();
        m_escrever->clear();
        carregarGlobal();
    });
    abas->addTab(g, QStringLiteral("Global"));

    // Per application: vocabulary-by-app.json
    auto* a = new QWidget(abas);
    auto* av = new QVBoxLayout(a);
    av->addWidget(ajuda(QStringLiteral("Correções que valem só quando o ditado é para um aplicativo (pela classe "
                                       "da janela, como firefox ou kate)."),
                        a));
    m_apps = new QComboBox(a);
    m_apps->setAccessibleName(QStringLiteral("Aplicativo"));
    av->addWidget(m_apps);
    m_porApp = tabela({QStringLiteral("Ouvido"), QStringLiteral("Escrever")}, a);
    av->addWidget(m_porApp, 1);
    m_appNovo = campo(QStringLiteral("aplicativo (classe da janela)"), a);
    m_ouvidoApp = campo(QStringLiteral("o que o ditado escreve"), a);
    m_escreverApp = campo(QStringLiteral("o que deve ser escrito"), a);
    m_adicionarPorApp = new QPushButton(QStringLiteral("Adicionar"), a);
    av->addLayout(linhaDeCampos({m_appNovo, m_ouvidoApp, m_escreverApp, m_adicionarPorApp}));
    auto* linha4 = new QHBoxLayout;
    m_removerPorApp = new QPushButton(QStringLiteral("Remover selecionada"), a);
    m_msgPorApp = new QLabel(a);
    linha4->addWidget(m_removerPorApp);
    linha4->addWidget(m_msgPorApp, 1);
    av->addLayout(linha4);
    connect(m_apps, &QComboBox::currentIndexChanged, this, [this] {
        const QString app = m_apps->currentText();
        m_appNovo->setText(app);
        const VocabularioSnapshot s = m_d.vocabulario.lerSnapshotPerApp(app);
        QList<QStringList> linhas;
        for (auto it = s.correcoes.cbegin(); it != s.correcoes.cend(); ++it)
            linhas << QStringList{it.key(), it.value()};
        preencher(m_porApp, linhas);
        m_termos->setText(QStringLiteral("Globais: ")
                          + (m_global.prioritarios.isEmpty() ? QStringLiteral("nenhum")
                                                             : m_global.prioritarios.join(QStringLiteral(", ")))
                          + (app.isEmpty() ? QString()
                                           : QStringLiteral("\n") + app + QStringLiteral(": ")
                                                 + (s.prioritarios.isEmpty() ? QStringLiteral("nenhum")
                                                                             : s.prioritarios.join(QStringLiteral(", ")))));
    });
    connect(m_adicionarPorApp, &QPushButton::clicked, this, [this] {
        const QString app = m_appNovo->text().trimmed(), o = m_ouvidoApp->text().trimmed(),
                      e = m_escreverApp->text().trimmed();
        if (app.isEmpty() || o.isEmpty() || e.isEmpty()) {
            m_msgPorApp->setText(QStringLiteral("Preencha o aplicativo, o que é ouvido e o que deve ser escrito."));
            return;
        }
        if (const auto erro = m_d.vocabulario.registrarPerAppCorrection(app, o, e)) {
            m_msgPorApp->setText(*erro);
            return;
        }
        m_msgPorApp->setText(QStringLiteral("Correção adicionada para ") + app);
        m_ouvidoApp->clear();
        m_escreverApp->clear();
        carregarPorApp();
        m_apps->setCurrentText(app);
    });
    connect(m_removerPorApp, &QPushButton::clicked, this, [this] {
        const int linha = m_porApp->currentRow();
        const QString app = m_apps->currentText();
        if (linha < 0 || app.isEmpty()) {
            m_msgPorApp->setText(QStringLiteral("Escolha uma correção na tabela."));
            return;
        }
        const QString ouvido = m_porApp->item(linha, 0)->text();
        const auto r = m_d.vocabulario.removerPerAppCorrection(app, ouvido);
        m_msgPorApp->setText(!r ? r.erro() : QStringLiteral("Correção removida: ") + ouvido);
        carregarPorApp();
        m_apps->setCurrentText(app);
    });
    abas->addTab(a, QStringLiteral("Por aplicativo"));

    // Priority terms
    auto* t = new QWidget(abas);
    auto* tv = new QVBoxLayout(t);
    tv->addWidget(ajuda(QStringLiteral("Termos enviados à transcrição como dica (nomes próprios, jargões). Ficam na "
                                       "seção de termos prioritários do vocabulary.md."),
                        t));
    m_termos = new QLabel(t);
    m_termos->setWordWrap(true);
    m_termos->setTextInteractionFlags(Qt::TextSelectableByMouse);
    tv->addWidget(m_termos);
    tv->addStretch();
    abas->addTab(t, QStringLiteral("Termos prioritários"));

    // Audit
    auto* au = new QWidget(abas);
    auto* auv = new QVBoxLayout(au);
    auv->addWidget(ajuda(QStringLiteral("Um modelo de linguagem lê as transcrições recentes e propõe correções para "
                                        "erros que se repetem. Nada entra no vocabulário sem a sua aprovação."),
                         au));
    auto* linha5 = new QHBoxLayout;
    m_executar = new QPushButton(QStringLiteral("executar"), au);
    m_executar->setAccessibleName(QStringLiteral("Executar auditoria agora"));
    m_diaria = new QCheckBox(QStringLiteral("Auditar uma vez por dia ao abrir o Sonvo"), au);
    linha5->addWidget(m_executar);
    linha5->addWidget(m_diaria, 1);
    auv->addLayout(linha5);
    m_ultimaAuditoria = new QLabel(au);
    auv->addWidget(m_ultimaAuditoria);
    m_msgAuditoria = new QLabel(au);
    m_msgAuditoria->setWordWrap(true);
    auv->addWidget(m_msgAuditoria);
    m_sugestoes = tabela({QStringLiteral("Ouvido"), QStringLiteral("Provável"), QStringLiteral("Confiança"),
                          QStringLiteral("Ocorrências"), QString()},
                         au);
    m_sugestoes->horizontalHeader()->setStretchLastSection(false);
    m_sugestoes->horizontalHeader()->setSectionResizeMode(4, QHeaderView::Fixed);
    auv->addWidget(m_sugestoes, 1);
    connect(m_executar, &QPushButton::clicked, this, &Preferencias::executarAuditoria);
    connect(m_diaria, &QCheckBox::toggled, this, [this](bool ligado) {
        if (m_carregando)
            return;
        m_d.config.definir(QStringLiteral("vocabularyAuditEnabled"), ligado);
        m_d.config.sincronizar();
    });
    abas->addTab(au, QStringLiteral("Auditoria"));
    return abas;
}

void Preferencias::carregarGlobal()
{
    // Read once per reload: the per-application pane shows the global terms from here.
    m_global = m_d.vocabulario.carregaGlobal();
    const VocabularioSnapshot& s = m_global;
    QList<QStringList> linhas;
    for (auto it = s.correcoes.cbegin(); it != s.correcoes.cend(); ++it)
        linhas << QStringList{it.key(), it.value()};
    preencher(m_tabelaGlobal, linhas);
    QStringList nunca(s.whitelist.cbegin(), s.whitelist.cend());
    nunca.sort();
    m_whitelist->setText(QStringLiteral("Nunca corrigir (whitelist): ")
                         + (nunca.isEmpty() ? QStringLiteral("nenhuma palavra") : nunca.join(QStringLiteral(", "))));
}

void Preferencias::carregarPorApp()
{
    const QString atual = m_apps->currentText();
    {
        QSignalBlocker b(m_apps);
        m_apps->clear();
        m_apps->addItems(m_d.vocabulario.listarAppsComVocabulario());
        if (!atual.isEmpty())
            m_apps->setCurrentText(atual);
    }
    Q_EMIT m_apps->currentIndexChanged(m_apps->currentIndex());
}

void Preferencias::carregarAuditoria()
{
    const bool antes = m_carregando;
    m_carregando = true;
    m_diaria->setChecked(m_d.config.booleano(QStringLiteral("vocabularyAuditEnabled")));
    m_carregando = antes;
    const auto ultima = m_d.config.real(QStringLiteral("vocabularyAuditLastRun"));
    m_ultimaAuditoria->setText(
        ultima && *ultima > 0
            ? QStringLiteral("Última auditoria diária: ")
                  + QDateTime::fromSecsSinceEpoch(static_cast<qint64>(*ultima)).toString(QStringLiteral("dd/MM/yyyy HH:mm"))
            : QStringLiteral("A auditoria diária ainda não rodou."));
    const QList<AuditSugestao> fila = m_d.auditoria.pendentes();
    m_sugestoes->setRowCount(static_cast<int>(fila.size()));
    for (int i = 0; i < fila.size(); ++i) {
        const AuditSugestao& s = fila[i];
        m_sugestoes->setItem(i, 0, new QTableWidgetItem(s.ouvido));
        m_sugestoes->setItem(i, 1, new QTableWidgetItem(s.provavel));
        m_sugestoes->setItem(i, 2, new QTableWidgetItem(QStringLiteral("%1%").arg(qRound(s.confianca * 100))));
        m_sugestoes->setItem(i, 3, new QTableWidgetItem(QString::number(s.ocorrencias)));
        auto* botoes = new QWidget(m_sugestoes);
        auto* h = new QHBoxLayout(botoes);
        h->setContentsMargins(2, 0, 2, 0);
        auto* aprovar = new QPushButton(QStringLiteral("Aprovar"), botoes);
        auto* rejeitar = new QPushButton(QStringLiteral("Rejeitar"), botoes);
        aprovar->setAccessibleName(QStringLiteral("Aprovar ") + s.ouvido + QStringLiteral(" → ") + s.provavel);
        rejeitar->setAccessibleName(QStringLiteral("Rejeitar ") + s.ouvido + QStringLiteral(" → ") + s.provavel);
        h->addWidget(aprovar);
        h->addWidget(rejeitar);
        connect(aprovar, &QPushButton::clicked, this, [this, s] { decidirSugestao(s, true); });
        connect(rejeitar, &QPushButton::clicked, this, [this, s] { decidirSugestao(s, false); });
        m_sugestoes->setCellWidget(i, 4, botoes);
        // The buttons' column is as wide as they need; the header ignores cell widgets.
        botoes->ensurePolished();
        m_sugestoes->setColumnWidth(4, botoes->sizeHint().width() + 16);
    }
}

// By the suggestion itself, not its row: an audit may have changed the queue since it was shown.
void Preferencias::decidirSugestao(const AuditSugestao& s, bool aprovar)
{
    const auto erro = aprovar ? m_d.auditoria.aprovar(s) : m_d.auditoria.rejeitar(s);
    m_msgAuditoria->setText(erro ? *erro
                                 : (aprovar ? QStringLiteral("Aprovada: ") : QStringLiteral("Rejeitada: ")) + s.ouvido
                                       + QStringLiteral(" → ") + s.provavel);
    carregarAuditoria();
    carregarGlobal();
}

void Preferencias::executarAuditoria()
{
    m_executar->setEnabled(false);
    m_msgAuditoria->setText(QStringLiteral("Auditando as transcrições recentes…"));
    QPointer<Preferencias> self(this);
    [](QPointer<Preferencias> self) -> QCoro::Task<> {
        auto r = co_await self->m_d.auditoria.auditarAgora();
        if (!self)
            co_return;
        self->m_executar->setEnabled(true);
        if (!r) {
            self->m_msgAuditoria->setText(r.erro().errorDescription());
            co_return;
        }
        const qsizetype n = r.valor().size();
        self->m_msgAuditoria->setText(n == 0 ? QStringLiteral("Nenhuma sugestão nova.")
                                             : n == 1 ? QStringLiteral("1 sugestão nova.")
                                                      : QStringLiteral("%1 sugestões novas.").arg(n));
        self->carregarAuditoria();
    }(self);
}

// ---- comportamento ----

QWidget* Preferencias::paginaComportamento()
{
    auto* p = new QWidget(this);
    auto* v = new QVBoxLayout(p);
    auto* g = new QGroupBox(QStringLiteral("Modo de operação"), p);
    auto* gv = new QVBoxLayout(g);
    m_modos = new QButtonGroup(this);
    for (OperationMode m : OperationModes::todos) {
        auto* b = new QRadioButton(nomeDoModo(m) + QStringLiteral(" (") + OperationModes::rawValue(m) + u')', g);
        b->setProperty("modo", OperationModes::rawValue(m));
        m_modos->addButton(b, static_cast<int>(m));
        gv->addWidget(b);
        gv->addWidget(ajuda(OperationModes::descricao(m), g));
    }
    connect(m_modos, &QButtonGroup::idClicked, this, [this](int id) {
        if (m_carregando)
            return;
        OperationModes::applyOperationPreset(m_d.config, static_cast<OperationMode>(id));
        m_d.config.sincronizar();
        carregarComportamento();
    });
    v->addWidget(g);

    auto* s = new QGroupBox(QStringLiteral("Interruptores"), p);
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
            m_d.config.definir(c->property("chave").toString(), ligado);
            m_d.config.sincronizar();
            carregarComportamento();
        });
    }
    v->addWidget(s);
    m_modoAtual = new QLabel(p);
    m_modoAtual->setStyleSheet(QStringLiteral("font-weight: 600;"));
    m_descricaoModo = ajuda(QString(), p);
    v->addWidget(m_modoAtual);
    v->addWidget(m_descricaoModo);
    v->addStretch();
    return p;
}

void Preferencias::carregarComportamento()
{
    const bool antes = m_carregando;
    m_carregando = true;
    for (QCheckBox* c : std::as_const(m_interruptores))
        c->setChecked(m_d.config.booleano(c->property("chave").toString()));
    // The mode shown is the one the switches make, whatever preset was last applied.
    const OperationMode atual = OperationModes::currentOperationMode(m_d.config);
    if (QAbstractButton* b = m_modos->button(static_cast<int>(atual)))
        b->setChecked(true);
    m_modoAtual->setText(QStringLiteral("Modo atual: ") + nomeDoModo(atual) + QStringLiteral(" (")
                         + OperationModes::rawValue(atual) + u')');
    m_descricaoModo->setText(OperationModes::descricao(atual));
    m_carregando = antes;
}

QList<QAbstractButton*> Preferencias::botoesModo() const
{
    return m_modos->buttons();
}

QCheckBox* Preferencias::interruptor(const QString& chave) const
{
    for (QCheckBox* c : m_interruptores)
        if (c->property("chave").toString() == chave)
            return c;
    return nullptr;
}

// ---- sobre ----

QWidget* Preferencias::paginaSobre()
{
    auto* p = new QWidget(this);
    auto* v = new QVBoxLayout(p);
    auto* nome = new QLabel(QStringLiteral("Sonvo ") + QStringLiteral(SONVO_VERSAO), p);
    nome->setStyleSheet(QStringLiteral("font-size: 20px; font-weight: 600;"));
    v->addWidget(nome);
    v->addWidget(ajuda(QStringLiteral("Ditado em português do Brasil, com o seu vocabulário."), p));
    auto* form = new QFormLayout;
    auto linhaComBotao = [this, p](const QString& caminho) {
        auto* w = new QWidget(p);
        auto* h = new QHBoxLayout(w);
        h->setContentsMargins(0, 0, 0, 0);
        auto* l = new QLabel(caminho, w);
        l->setTextInteractionFlags(Qt::TextSelectableByMouse);
        auto* b = new QPushButton(QStringLiteral("Abrir"), w);
        connect(b, &QPushButton::clicked, this, [this, caminho] {
            if (m_d.abrirArquivo)
                m_d.abrirArquivo(caminho);
        });
        h->addWidget(l, 1);
        h->addWidget(b);
        return w;
    };
    form->addRow(QStringLiteral("Pasta de dados:"), linhaComBotao(m_d.pastaDados));
    form->addRow(QStringLiteral("Arquivo de log:"), linhaComBotao(m_d.arquivoLog));
    form->addRow(QStringLiteral("Configurações:"), linhaComBotao(m_d.config.arquivo()));
    auto* icone = new QComboBox(p);
    icone->setObjectName(QStringLiteral("iconeDoApp"));
    icone->addItem(QStringLiteral("Escuro"), QStringLiteral("dark"));
    icone->addItem(QStringLiteral("Claro"), QStringLiteral("light"));
    icone->setCurrentIndex(m_d.config.texto(QStringLiteral("iconVariant")).value_or(QStringLiteral("dark"))
                                   == QLatin1String("dark")
                               ? 0
                               : 1);
    connect(icone, &QComboBox::currentIndexChanged, this, [this, icone](int i) {
        m_d.config.definir(QStringLiteral("iconVariant"), icone->itemData(i).toString());
        m_d.config.sincronizar();
        if (m_d.aplicarIcone)
            m_d.aplicarIcone();
    });
    form->addRow(QStringLiteral("Ícone do aplicativo:"), icone);
    v->addLayout(form);
    v->addWidget(ajuda(QStringLiteral("Super+Shift+T dita e cola. Super+Shift+R dita e abre o menu de ações. "
                                      "No Wayland, associe um atalho do seu ambiente ao comando: sonvo alternar "
                                      "(ou sonvo alternar --menu)."),
                       p));
    v->addStretch();
    return p;
}

} // namespace sonvo::ui
