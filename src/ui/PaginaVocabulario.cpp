#include "ui/PaginaVocabulario.h"

#include "core/Configuracoes.h"
#include "ui/CamposPreferencias.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QCheckBox>
#include <QComboBox>
#include <QCoroTask>
#include <QDateTime>
#include <QHBoxLayout>
#include <QHeaderView>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>
#include <QTableWidget>
#include <QVBoxLayout>

namespace sonvo::ui {

using namespace CamposPreferencias;

namespace {
QList<QStringList> linhasDe(const QMap<QString, QString>& correcoes)
{
    QList<QStringList> linhas;
    for (auto it = correcoes.cbegin(); it != correcoes.cend(); ++it)
        linhas << QStringList{it.key(), it.value()};
    return linhas;
}

QString listaOuNenhum(const QStringList& termos)
{
    return termos.isEmpty() ? QStringLiteral("nenhum") : termos.join(QStringLiteral(", "));
}
} // namespace

PaginaVocabulario::PaginaVocabulario(VocabularyService& vocabulario, VocabularyAuditService& auditoria,
                                     Configuracoes& config, std::function<void(const QString&)> abrirArquivo,
                                     QWidget* parent)
    : QTabWidget(parent), m_vocabulario(vocabulario), m_auditoria(auditoria), m_config(config),
      m_abrirArquivo(std::move(abrirArquivo))
{
    addTab(abaGlobal(), QStringLiteral("Global"));
    addTab(abaPorApp(), QStringLiteral("Por aplicativo"));
    addTab(abaTermos(), QStringLiteral("Termos prioritários"));
    addTab(abaAuditoria(), QStringLiteral("Auditoria"));
}

void PaginaVocabulario::recarregar()
{
    m_carregando = true;
    carregarGlobal();
    carregarPorApp();
    carregarAuditoria();
    m_carregando = false;
}

// ---- Global: vocabulary.md ----

QWidget* PaginaVocabulario::abaGlobal()
{
    auto* g = new QWidget(this);
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
    m_abrir = new QPushButton(QStringLiteral("Abrir vocabulary.md no editor"), g);
    m_abrir->setObjectName(QStringLiteral("abrirVocabulario"));
    m_recarregar = new QPushButton(QStringLiteral("Recarregar"), g);
    m_msgVocab = new QLabel(g);
    auto* linha = linhaDeCampos({m_abrir, m_recarregar});
    linha->addWidget(m_msgVocab, 1);
    gv->addLayout(linha);

    connect(m_abrir, &QPushButton::clicked, this, [this] {
        m_vocabulario.documento().bootstrapSeNecessario();
        if (m_abrirArquivo)
            m_abrirArquivo(m_vocabulario.documento().arquivo());
    });
    connect(m_recarregar, &QPushButton::clicked, this, [this] {
        carregarGlobal();
        carregarPorApp();
    });
    connect(m_adicionarCorrecao, &QPushButton::clicked, this, [this] {
        const QString o = m_ouvido->text().trimmed(), e = m_escrever->text().trimmed();
        if (o.isEmpty() || e.isEmpty()) {
            m_msgVocab->setText(QStringLiteral("Preencha o que é ouvido e o que deve ser escrito."));
            return;
        }
        m_vocabulario.documento().bootstrapSeNecessario();
        if (const auto erro = m_vocabulario.documento().importarCorrecaoAprovada(o, e)) {
            m_msgVocab->setText(*erro);
            return;
        }
        m_msgVocab->setText(QStringLiteral("Correção adicionada: ") + o + QStringLiteral(" → ") + e);
        m_ouvido->clear();
        m_escrever->clear();
        carregarGlobal();
    });
    return g;
}

void PaginaVocabulario::carregarGlobal()
{
    // Read once per reload: the per-application tab shows the global terms from here.
    m_global = m_vocabulario.documento().carregar();
    preencher(m_tabelaGlobal, linhasDe(m_global.correcoes));
    QStringList nunca(m_global.whitelist.cbegin(), m_global.whitelist.cend());
    nunca.sort();
    m_whitelist->setText(QStringLiteral("Nunca corrigir (whitelist): ")
                         + (nunca.isEmpty() ? QStringLiteral("nenhuma palavra") : nunca.join(QStringLiteral(", "))));
}

// ---- Per application: vocabulary-by-app.json ----

QWidget* PaginaVocabulario::abaPorApp()
{
    auto* a = new QWidget(this);
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
    m_removerPorApp = new QPushButton(QStringLiteral("Remover selecionada"), a);
    m_msgPorApp = new QLabel(a);
    auto* linha = linhaDeCampos({m_removerPorApp});
    linha->addWidget(m_msgPorApp, 1);
    av->addLayout(linha);
    connect(m_apps, &QComboBox::currentIndexChanged, this, &PaginaVocabulario::mostrarApp);
    connect(m_adicionarPorApp, &QPushButton::clicked, this, &PaginaVocabulario::adicionarPorApp);
    connect(m_removerPorApp, &QPushButton::clicked, this, &PaginaVocabulario::removerPorApp);
    return a;
}

void PaginaVocabulario::carregarPorApp()
{
    const QString atual = m_apps->currentText();
    {
        QSignalBlocker b(m_apps);
        m_apps->clear();
        m_apps->addItems(m_vocabulario.porApp().listarApps());
        if (!atual.isEmpty())
            m_apps->setCurrentText(atual);
    }
    mostrarApp();
}

// The chosen application's corrections, and the priority terms (global, then the application's).
void PaginaVocabulario::mostrarApp()
{
    const QString app = m_apps->currentText();
    m_appNovo->setText(app);
    const VocabularioSnapshot s = m_vocabulario.porApp().lerSnapshot(app);
    preencher(m_porApp, linhasDe(s.correcoes));
    m_termos->setText(QStringLiteral("Globais: ") + listaOuNenhum(m_global.prioritarios)
                      + (app.isEmpty() ? QString()
                                       : QStringLiteral("\n") + app + QStringLiteral(": ") + listaOuNenhum(s.prioritarios)));
}

void PaginaVocabulario::adicionarPorApp()
{
    const QString app = m_appNovo->text().trimmed(), o = m_ouvidoApp->text().trimmed(), e = m_escreverApp->text().trimmed();
    if (app.isEmpty() || o.isEmpty() || e.isEmpty()) {
        m_msgPorApp->setText(QStringLiteral("Preencha o aplicativo, o que é ouvido e o que deve ser escrito."));
        return;
    }
    if (const auto erro = m_vocabulario.porApp().registrar(app, o, e)) {
        m_msgPorApp->setText(*erro);
        return;
    }
    m_msgPorApp->setText(QStringLiteral("Correção adicionada para ") + app);
    m_ouvidoApp->clear();
    m_escreverApp->clear();
    carregarPorApp();
    m_apps->setCurrentText(app);
}

void PaginaVocabulario::removerPorApp()
{
    const int linha = m_porApp->currentRow();
    const QString app = m_apps->currentText();
    if (linha < 0 || app.isEmpty()) {
        m_msgPorApp->setText(QStringLiteral("Escolha uma correção na tabela."));
        return;
    }
    const QString ouvido = m_porApp->item(linha, 0)->text();
    const auto r = m_vocabulario.porApp().remover(app, ouvido);
    m_msgPorApp->setText(!r ? r.erro() : QStringLiteral("Correção removida: ") + ouvido);
    carregarPorApp();
    m_apps->setCurrentText(app);
}

// ---- Priority terms ----

QWidget* PaginaVocabulario::abaTermos()
{
    auto* t = new QWidget(this);
    auto* tv = new QVBoxLayout(t);
    tv->addWidget(ajuda(QStringLiteral("Termos enviados à transcrição como dica (nomes próprios, jargões). Ficam na "
                                       "seção de termos prioritários do vocabulary.md."),
                        t));
    m_termos = new QLabel(t);
    m_termos->setWordWrap(true);
    m_termos->setTextInteractionFlags(Qt::TextSelectableByMouse);
    tv->addWidget(m_termos);
    tv->addStretch();
    return t;
}

// ---- Audit ----

QWidget* PaginaVocabulario::abaAuditoria()
{
    auto* au = new QWidget(this);
    auto* auv = new QVBoxLayout(au);
    auv->addWidget(ajuda(QStringLiteral("Um modelo de linguagem lê as transcrições recentes e propõe correções para "
                                        "erros que se repetem. Nada entra no vocabulário sem a sua aprovação."),
                         au));
    m_executar = new QPushButton(QStringLiteral("executar"), au);
    m_executar->setAccessibleName(QStringLiteral("Executar auditoria agora"));
    m_diaria = new QCheckBox(QStringLiteral("Auditar uma vez por dia ao abrir o Sonvo"), au);
    auto* linha = linhaDeCampos({m_executar});
    linha->addWidget(m_diaria, 1);
    auv->addLayout(linha);
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
    connect(m_executar, &QPushButton::clicked, this, &PaginaVocabulario::executarAuditoria);
    connect(m_diaria, &QCheckBox::toggled, this, [this](bool ligado) {
        if (m_carregando)
            return;
        m_config.definir(QStringLiteral("vocabularyAuditEnabled"), ligado);
        m_config.sincronizar();
    });
    return au;
}

void PaginaVocabulario::carregarAuditoria()
{
    const bool antes = m_carregando;
    m_carregando = true;
    m_diaria->setChecked(m_config.booleano(QStringLiteral("vocabularyAuditEnabled")));
    m_carregando = antes;
    const auto ultima = m_config.real(QStringLiteral("vocabularyAuditLastRun"));
    m_ultimaAuditoria->setText(
        ultima && *ultima > 0
            ? QStringLiteral("Última auditoria diária: ")
                  + QDateTime::fromSecsSinceEpoch(static_cast<qint64>(*ultima)).toString(QStringLiteral("dd/MM/yyyy HH:mm"))
            : QStringLiteral("A auditoria diária ainda não rodou."));
    const QList<AuditSugestao> fila = m_auditoria.pendentes();
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
void PaginaVocabulario::decidirSugestao(const AuditSugestao& s, bool aprovar)
{
    const auto erro = aprovar ? m_auditoria.aprovar(s) : m_auditoria.rejeitar(s);
    m_msgAuditoria->setText(erro ? *erro
                                 : (aprovar ? QStringLiteral("Aprovada: ") : QStringLiteral("Rejeitada: ")) + s.ouvido
                                       + QStringLiteral(" → ") + s.provavel);
    carregarAuditoria();
    carregarGlobal();
}

void PaginaVocabulario::executarAuditoria()
{
    m_executar->setEnabled(false);
    m_msgAuditoria->setText(QStringLiteral("Auditando as transcrições recentes…"));
    // The window may be closed while the model answers.
    [](QPointer<PaginaVocabulario> self) -> QCoro::Task<> {
        auto r = co_await self->m_auditoria.auditarAgora();
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
    }(QPointer<PaginaVocabulario>(this));
}

} // namespace sonvo::ui
