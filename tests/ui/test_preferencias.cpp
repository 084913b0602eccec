// The preferences window round-trips through the real settings file, the key file, the
// vocabulary files and the audit queue; the audit runs against a loopback server speaking
// OpenAI's chat format.
#include "Capturas.h"

#include "ai/KeychainService.h"
#include "ai/QuickAction.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/OperationMode.h"
#include "capture/TranscriptionHistory.h"
#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "ui/Preferencias.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QNetworkAccessManager>
#include <QPushButton>
#include <QRadioButton>
#include <QTabWidget>
#include <QTableWidget>
#include <QTest>
#include <gtest/gtest.h>

QT_BEGIN_NAMESPACE
inline void PrintTo(const QString& s, std::ostream* os) { *os << '"' << s.toStdString() << '"'; }
QT_END_NAMESPACE

using namespace sonvo;
using namespace sonvo::teste;

namespace {

struct Prefs : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    Configuracoes config{amb.arquivoConfig()};
    QNetworkAccessManager rede;
    QString pasta = Caminhos::pastaDados();
    VocabularyService vocab{pasta, config};
    VocabularyAuditService auditoria{config, rede, pasta};
    QStringList abertos;
    int icones = 0;
    std::unique_ptr<ui::Preferencias> janela;

    void SetUp() override
    {
        config.registrarPadroes(Configuracoes::padroesDoApp());
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        criar();
    }
    void criar()
    {
        janela = std::make_unique<ui::Preferencias>(ui::Preferencias::Dependencias{
            config, vocab, auditoria, pasta, amb.arquivoLog(), [this](const QString& c) { abertos << c; },
            [this] { ++icones; }});
        janela->resize(820, 580);
    }
    // What a later process would read: the settings file from disk.
    QVariant doDisco(const QString& chave) const
    {
        Configuracoes outra(amb.arquivoConfig());
        return outra.valor(chave);
    }
    QStringList acoesNaLista() const
    {
        QStringList t;
        for (int i = 0; i < janela->listaAcoes()->count(); ++i)
            t << janela->listaAcoes()->item(i)->text();
        return t;
    }
};

} // namespace

TEST_F(Prefs, CincoSecoesNaOrdem)
{
    EXPECT_EQ(ui::Preferencias::secoes(),
              (QStringList{QStringLiteral("chaves"), QStringLiteral("acoes"), QStringLiteral("vocabulario"),
                           QStringLiteral("comportamento"), QStringLiteral("sobre")}));
    for (const QString& s : ui::Preferencias::secoes()) {
        janela->mostrarSecao(s);
        EXPECT_EQ(janela->secaoAtual(), s);
        capturar(*janela, QStringLiteral("preferencias-") + s);
    }
}

TEST_F(Prefs, ChavesSalvamRemovemEAvisamDoErro)
{
    janela->campoChave(0)->setText(QStringLiteral(" sk-proj-abc "));
    janela->botaoSalvarChave(0)->click();
    EXPECT_EQ(janela->mensagemChave(0)->text(), QStringLiteral("Chave OpenAI salva"));
    EXPECT_EQ(KeychainService(pasta).chave(QStringLiteral("openai_api_key")), QStringLiteral(" sk-proj-abc "))
        << "stored as typed";
    EXPECT_TRUE(janela->campoChave(0)->text().isEmpty()) << "the key is not left on screen";
    EXPECT_EQ(modoDe(KeychainService(pasta).arquivo()), 0600);

    janela->botaoSalvarChave(0)->click();
    EXPECT_EQ(janela->mensagemChave(0)->text(), QStringLiteral("Chave OpenAI removida"));
    EXPECT_FALSE(KeychainService(pasta).chave(QStringLiteral("openai_api_key")).has_value());

    // The key file cannot be written: a folder stands where it should be.
    ASSERT_TRUE(QFile::remove(KeychainService(pasta).arquivo()));
    ASSERT_TRUE(QDir().mkpath(KeychainService(pasta).arquivo()));
    janela->campoChave(1)->setText(QStringLiteral("sk-ant-x"));
    QTest::keyClick(janela->campoChave(1), Qt::Key_Return);
    EXPECT_EQ(janela->mensagemChave(1)->text(), QStringLiteral("Erro ao salvar chave Anthropic"));
}

TEST_F(Prefs, ProvedorPeloNomeEEnderecos)
{
    QComboBox* p = janela->escolhaProvedor();
    ASSERT_EQ(p->count(), 2);
    EXPECT_EQ(p->itemText(0), QStringLiteral("OpenAI (gpt-4o-mini)"));
    EXPECT_EQ(p->itemText(1), QStringLiteral("Anthropic (claude-haiku-4-5)"));
    p->setCurrentIndex(1);
    EXPECT_EQ(doDisco(QStringLiteral("aiProvider")).toString(), QStringLiteral("anthropic"));

    janela->campoEndpoint(0)->setText(QStringLiteral("ftp://127.0.0.1/x"));
    janela->findChild<QPushButton*>(QStringLiteral("salvarEndpoints"))->click();
    EXPECT_TRUE(janela->mensagemEndpoints()->text().startsWith(QStringLiteral("Endereço inválido: ftp://127.0.0.1/x")));
    EXPECT_FALSE(doDisco(QStringLiteral("openaiBaseURL")).isValid()) << "nothing written on a bad address";

    janela->campoEndpoint(0)->setText(QStringLiteral("http://127.0.0.1:8080/proxy"));
    janela->findChild<QPushButton*>(QStringLiteral("salvarEndpoints"))->click();
    EXPECT_EQ(doDisco(QStringLiteral("openaiBaseURL")).toString(), QStringLiteral("http://127.0.0.1:8080/proxy"));
    EXPECT_TRUE(janela->mensagemEndpoints()->text().contains(QStringLiteral("SONVO_OPENAI_BASE_URL")))
        << "the environment wins, and the pane says so";

    // A new window shows what was saved.
    criar();
    EXPECT_EQ(janela->escolhaProvedor()->currentIndex(), 1);
    EXPECT_EQ(janela->campoEndpoint(0)->text(), QStringLiteral("http://127.0.0.1:8080/proxy"));
}

TEST_F(Prefs, AcoesRemoverAdicionarReordenar)
{
    EXPECT_EQ(acoesNaLista(), (QStringList{QStringLiteral("Resumir"), QStringLiteral("Bullet Points"), QStringLiteral("Email")}));
    EXPECT_EQ(janela->acoesDisponiveis()->count(), 2);
    janela->listaAcoes()->setCurrentRow(1);
    EXPECT_EQ(janela->botaoRemoverAcao()->text(), QStringLiteral("Remover Bullet Points"));
    janela->botaoRemoverAcao()->click();
    EXPECT_EQ(doDisco(QStringLiteral("vozelQuickActions")).toStringList(),
              (QStringList{QStringLiteral("resumir"), QStringLiteral("email")}));

    janela->acoesDisponiveis()->setCurrentIndex(janela->acoesDisponiveis()->findText(QStringLiteral("Post")));
    janela->botaoAdicionarAcao()->click();
    EXPECT_EQ(acoesNaLista(), (QStringList{QStringLiteral("Resumir"), QStringLiteral("Email"), QStringLiteral("Post")}));

    // A drag that drops Post first: the model moves the row, the order is written.
    ASSERT_TRUE(janela->listaAcoes()->model()->moveRow(QModelIndex(), 2, QModelIndex(), 0));
    EXPECT_EQ(doDisco(QStringLiteral("vozelQuickActions")).toStringList(),
              (QStringList{QStringLiteral("post"), QStringLiteral("resumir"), QStringLiteral("email")}));
    EXPECT_EQ(QuickActions::loadOrdered(config),
              (QList<QuickAction>{QuickAction::post, QuickAction::resumir, QuickAction::email}));

    // Down to one: that one cannot go (an empty list would bring the defaults back).
    for (int i = 0; i < 2; ++i) {
        janela->listaAcoes()->setCurrentRow(0);
        janela->botaoRemoverAcao()->click();
    }
    EXPECT_EQ(acoesNaLista(), QStringList{QStringLiteral("Email")});
    janela->listaAcoes()->setCurrentRow(0);
    EXPECT_FALSE(janela->botaoRemoverAcao()->isEnabled());
    EXPECT_EQ(doDisco(QStringLiteral("vozelQuickActions")).toString(), QStringLiteral("email"));
}

TEST_F(Prefs, VocabularioGlobalEPorAplicativo)
{
    janela->mostrarSecao(QStringLiteral("vocabulario"));
    janela->campoOuvido()->setText(QStringLiteral("jira"));
    janela->botaoAdicionarCorrecao()->click();
    EXPECT_EQ(janela->mensagemVocabulario()->text(), QStringLiteral("Preencha o que é ouvido e o que deve ser escrito."));
    janela->campoEscrever()->setText(QStringLiteral("Jira"));
    janela->botaoAdicionarCorrecao()->click();
    EXPECT_EQ(vocab.carregaGlobal().correcoes.value(QStringLiteral("jira")), QStringLiteral("Jira"));
    EXPECT_EQ(vocab.aplicarCorrecoes(QStringLiteral("abri o jira"), std::nullopt), QStringLiteral("abri o Jira"));
    bool naTabela = false;
    for (int i = 0; i < janela->tabelaGlobal()->rowCount(); ++i)
        naTabela |= janela->tabelaGlobal()->item(i, 0)->text() == QStringLiteral("jira");
    EXPECT_TRUE(naTabela);

    janela->findChild<QPushButton*>(QStringLiteral("abrirVocabulario"))->click();
    EXPECT_EQ(abertos, QStringList{vocab.arquivoGlobal()});

    // An edit made in the editor shows on "Recarregar".
    QFile f(vocab.arquivoGlobal());
    ASSERT_TRUE(f.open(QIODevice::Append));
    f.write("\n- figma -> Figma\n\n## Whitelist\n- Sexta\n- abril\n");
    f.close();
    for (QPushButton* b : janela->findChildren<QPushButton*>())
        if (b->text() == QStringLiteral("Recarregar"))
            b->click();
    EXPECT_EQ(janela->tabelaGlobal()->rowCount(), vocab.carregaGlobal().correcoes.size());
    EXPECT_EQ(janela->whitelist()->text(), QStringLiteral("Nunca corrigir (whitelist): abril, sexta"));

    janela->campoApp()->setText(QStringLiteral("kate"));
    janela->campoOuvidoApp()->setText(QStringLiteral("cubo"));
    janela->campoEscreverApp()->setText(QStringLiteral("Kubernetes"));
    janela->botaoAdicionarPorApp()->click();
    EXPECT_EQ(vocab.aplicarCorrecoes(QStringLiteral("o cubo caiu"), QStringLiteral("kate")), QStringLiteral("o Kubernetes caiu"));
    EXPECT_EQ(janela->appsComVocabulario()->currentText(), QStringLiteral("kate"));
    ASSERT_EQ(janela->tabelaPorApp()->rowCount(), 1);
    janela->findChild<QTabWidget*>()->setCurrentIndex(1);
    capturar(*janela, QStringLiteral("preferencias-vocabulario-por-app"));
    janela->tabelaPorApp()->selectRow(0);
    janela->botaoRemoverPorApp()->click();
    EXPECT_EQ(vocab.aplicarCorrecoes(QStringLiteral("o cubo caiu"), QStringLiteral("kate")), QStringLiteral("o cubo caiu"));
    EXPECT_EQ(janela->tabelaPorApp()->rowCount(), 0);
}

TEST_F(Prefs, AuditoriaExecutaAprovaERejeita)
{
    ASSERT_FALSE(KeychainService(pasta).salvarChave(AIProviderID::openai, QStringLiteral("sk-x")).has_value());
    // No history yet: the audit says so.
    janela->botaoExecutarAuditoria()->click();
    ASSERT_TRUE(girarAte([&] { return janela->botaoExecutarAuditoria()->isEnabled(); }));
    EXPECT_EQ(janela->mensagemAuditoria()->text(), QStringLiteral("Sem transcrições suficientes para auditar."));

    TranscriptionHistory historico(pasta);
    historico.append(QStringLiteral("abri o jira e o figma"), QStringLiteral("kate"));
    const QByteArray conteudo =
        R"({"sugestoes":[{"ouvido":"jira","provavel":"Jira","confianca":0.92,"ocorrencias":3},)"
        R"({"ouvido":"figma","provavel":"Figma","confianca":0.81,"ocorrencias":2}]})";
    QJsonObject msg{{QStringLiteral("role"), QStringLiteral("assistant")},
                    {QStringLiteral("content"), QString::fromUtf8(conteudo)}};
    QJsonObject escolha{{QStringLiteral("message"), msg}};
    servidor.enfileirar(Resposta::json(
        200, QJsonDocument(QJsonObject{{QStringLiteral("choices"), QJsonArray{escolha}}}).toJson(QJsonDocument::Compact)));
    janela->botaoExecutarAuditoria()->click();
    ASSERT_TRUE(girarAte([&] { return janela->sugestoes()->rowCount() == 2; }))
        << janela->mensagemAuditoria()->text().toStdString();
    EXPECT_EQ(janela->mensagemAuditoria()->text(), QStringLiteral("2 sugestões novas."));
    janela->mostrarSecao(QStringLiteral("vocabulario"));
    janela->findChild<QTabWidget*>()->setCurrentIndex(3);
    capturar(*janela, QStringLiteral("preferencias-auditoria"));

    // Approve the first (by its own button), reject the other.
    const QString primeiro = janela->sugestoes()->item(0, 0)->text();
    janela->sugestoes()->cellWidget(0, 4)->findChildren<QPushButton*>().at(0)->click();
    EXPECT_TRUE(vocab.carregaGlobal().correcoes.contains(primeiro.toLower()));
    ASSERT_EQ(janela->sugestoes()->rowCount(), 1);
    janela->sugestoes()->cellWidget(0, 4)->findChildren<QPushButton*>().at(1)->click();
    EXPECT_EQ(janela->sugestoes()->rowCount(), 0);
    EXPECT_TRUE(auditoria.pendentes().isEmpty());
    EXPECT_EQ(vocab.carregaGlobal().correcoes.size(), 1) << "the rejected one never reaches the vocabulary";

    janela->auditoriaDiaria()->setChecked(true);
    EXPECT_EQ(doDisco(QStringLiteral("vocabularyAuditEnabled")).toString(), QStringLiteral("true"));
}

TEST_F(Prefs, ComportamentoPresetsInterruptoresEModoDerivado)
{
    janela->mostrarSecao(QStringLiteral("comportamento"));
    ASSERT_NE(janela->interruptor(QStringLiteral("toggleShowIntentModal")), nullptr);
    EXPECT_EQ(janela->interruptor(QStringLiteral("toggleShowActionMenu"))->text(), QStringLiteral("Mostrar action menu"));
    EXPECT_EQ(janela->interruptor(QStringLiteral("toggleShowIntentModal"))->toolTip(),
              QStringLiteral("Confirma quando intenção é detectada na fala (\"transforma em email\")"));
    EXPECT_EQ(janela->interruptor(QStringLiteral("toggleStreamingInline"))->toolTip(),
              QStringLiteral("Tokens da IA aparecem progressivamente no preview"));
    EXPECT_EQ(janela->interruptor(QStringLiteral("toggleSelectionContext"))->text(), QStringLiteral("Capturar seleção"));
    EXPECT_EQ(janela->modoAtual()->text(), QStringLiteral("Modo atual: Completo (full)"));

    QAbstractButton* discreto = nullptr;
    for (QAbstractButton* b : janela->botoesModo())
        if (b->property("modo").toString() == QStringLiteral("stealth"))
            discreto = b;
    ASSERT_NE(discreto, nullptr);
    discreto->click();
    for (const char* k : {"toggleShowActionMenu", "toggleShowIntentModal", "toggleStreamingInline", "toggleSelectionContext"}) {
        EXPECT_EQ(doDisco(QString::fromLatin1(k)).toString(), QStringLiteral("false")) << k;
        EXPECT_FALSE(janela->interruptor(QString::fromLatin1(k))->isChecked()) << k;
    }
    EXPECT_EQ(doDisco(QStringLiteral("operationMode")).toString(), QStringLiteral("stealth"));
    EXPECT_EQ(janela->modoAtual()->text(), QStringLiteral("Modo atual: Discreto (stealth)"));

    // One switch by hand: the mode shown becomes custom, the preset radio follows.
    janela->interruptor(QStringLiteral("toggleStreamingInline"))->click();
    EXPECT_EQ(doDisco(QStringLiteral("toggleStreamingInline")).toString(), QStringLiteral("true"));
    EXPECT_EQ(janela->modoAtual()->text(), QStringLiteral("Modo atual: Personalizado (custom)"));
    EXPECT_EQ(OperationModes::currentOperationMode(config), OperationMode::custom);
    capturar(*janela, QStringLiteral("preferencias-comportamento-custom"));
}

TEST_F(Prefs, SobreMostraOsCaminhosETrocaOIcone)
{
    janela->mostrarSecao(QStringLiteral("sobre"));
    QStringList textos;
    for (const QLabel* l : janela->findChildren<QLabel*>())
        textos << l->text();
    EXPECT_TRUE(textos.contains(QStringLiteral("Sonvo ") + QStringLiteral(SONVO_VERSAO)));
    EXPECT_TRUE(textos.contains(pasta));
    EXPECT_TRUE(textos.contains(amb.arquivoLog()));
    auto* icone = janela->findChild<QComboBox*>(QStringLiteral("iconeDoApp"));
    ASSERT_NE(icone, nullptr);
    icone->setCurrentIndex(1);
    EXPECT_EQ(doDisco(QStringLiteral("iconVariant")).toString(), QStringLiteral("light"));
    EXPECT_EQ(icones, 1);
}
