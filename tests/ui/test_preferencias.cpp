// The preferences window: its texts, and each page round-tripping through the real settings, key,
// vocabulary and audit files (the audit against a loopback server speaking OpenAI's chat format).
#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "dictation/TranscriptionHistory.h"
#include "support/Ambiente.h"
#include "support/Falsos.h"
#include "support/ServidorTeste.h"
#include "ui/SecaoTranscricao.h"
#include "support/Utilitarios.h"
#include "ui/ComoAssociarAtalhos.h"
#include "ui/Onboarding.h"
#include "ui/Preferencias.h"
#include "ui/TabelaTeclaDeColar.h"
#include "vocabulary/VocabularyAuditService.h"
#include "vocabulary/VocabularyService.h"

#include <QNetworkAccessManager>
#include <QTest>
#include <QtWidgets>
#include <gtest/gtest.h>

using namespace Qt::StringLiterals;
using namespace sonvo;
using namespace sonvo::teste;

namespace {

// What a user reads or a screen reader says on a page.
QStringList textosDe(QWidget* pagina)
{
    QStringList t;
    for (QWidget* w : pagina->findChildren<QWidget*>()) {
        for (const char* p : {"text", "title", "placeholderText", "accessibleName", "toolTip"})
            t << w->property(p).toString();
        if (auto* v = qobject_cast<QAbstractItemView*>(w)) // list items and column headings
            for (int j = 0; j < std::max(v->model()->rowCount(), v->model()->columnCount()); ++j)
                t << v->model()->index(j, 0).data().toString() << v->model()->headerData(j, Qt::Horizontal).toString();
        if (auto* abas = qobject_cast<QTabBar*>(w))
            for (int j = 0; j < abas->count(); ++j)
                t << abas->tabText(j);
    }
    return t;
}

struct Prefs : ::testing::Test {
    teste::MicrofoneMudo microfone;
    AmbienteTemporario amb;
    ServidorTeste servidor;
    Configuracoes config{amb.arquivoConfig()};
    QNetworkAccessManager rede;
    QString pasta = amb.pastaDados();
    VocabularyService vocab{pasta, config};
    TranscriptionHistory historico{pasta};
    VocabularyAuditService auditoria{config, rede, pasta, historico};
    QStringList abertos;
    int icones = 0;
    std::unique_ptr<ui::Preferencias> janela;

    Prefs()
    {
        microfone.lista = {{u"vmic"_s, u"VirtualMic"_s}, {u"usb"_s, u"Microfone USB"_s}};
        config.registrarPadroes(Configuracoes::padroesDoApp());
        amb.definir(u"SONVO_OPENAI_BASE_URL"_s, servidor.url().toString());
        criar();
    }
    void criar()
    {
        janela = std::make_unique<ui::Preferencias>(ui::Preferencias::Dependencias{
            config, vocab, auditoria, pasta, amb.arquivoLog(), [this](const QString& c) { abertos << c; },
            [this] { ++icones; }, {u"Super+Shift+R"_s, u"Super+Shift+T"_s}, []() -> QCoro::Task<QList<FormaServico>> {
                co_return QList<FormaServico>{{u"Colar"_s, u"teclado virtual do Wayland"_s, true},
                                              {u"Microfone"_s, u"nenhum dispositivo de entrada de áudio"_s, false}};
            }, &microfone});
    }
    // What a later process reads: the settings file on disk.
    QVariant doDisco(const QString& chave) const { return Configuracoes(amb.arquivoConfig()).valor(chave); }
};

} // namespace

TEST_F(Prefs, CincoSecoesEOsSeusTextos)
{
    const QWidget* paginas[] = {janela->chaves(), janela->acoes(), janela->vocabulario(), janela->comportamento(), janela->sobre()};
    for (int i = 4; i >= 0; --i) { // from the last: the first is shown at the start
        janela->mostrarSecao(ui::Preferencias::secoes()[i]);
        EXPECT_TRUE(paginas[i]->isVisibleTo(janela.get())) << i;
    }
    const QStringList tem = textosDe(janela.get());
    for (const QString& t : QStringList{
             "Chaves", "Ações", "Vocabulário", "Comportamento", "Sobre", "Seções", "Chave da OpenAI", "Salvar",
             "Chave da Anthropic", "Cole a chave aqui", "Provedor das ações de IA", "Endereços dos serviços", "OpenAI:",
             "Usada na transcrição e, se escolhida abaixo, nas ações de IA. Salvar com o campo vazio remove a chave.",
             "Anthropic:", "https://api.openai.com", "Salvar endereços", "Ações rápidas do menu, na ordem em que aparecem",
             "Ações habilitadas", "Remover", "Ações disponíveis", "Adicionar ação:", "Adicionar",
             "Arraste para reordenar. Ctrl+1, Ctrl+2… no menu seguem esta ordem.", "Global", "Por aplicativo",
             "Termos prioritários", "Auditoria", "Ouvido", "Escrever", "Adicionar correção", "o que o ditado escreve",
             "o que deve ser escrito", "Abrir vocabulary.md no editor", "Recarregar", "Aplicativo",
             "Nunca corrigir (whitelist): nenhuma palavra", "aplicativo (classe da janela)", "Remover selecionada",
             "Globais: nenhum", "executar", "Executar auditoria agora", "Auditar uma vez por dia ao abrir o Sonvo",
             "A auditoria diária ainda não rodou.", "Provável", "Confiança", "Ocorrências", "Modo de operação",
             "Completo (full)", "Mínimo (minimal)", "Discreto (stealth)", "Interruptores", "Mostrar action menu",
             "Exibe o menu de transformações após gravar", "Mostrar intent modal", "Streaming inline",
             "Confirma quando intenção é detectada na fala (\"transforma em email\")", "Capturar seleção",
             "Tokens da IA aparecem progressivamente no preview", "Modo atual: Completo (full)",
             "Envia texto selecionado no app frontmost como contexto à IA", "Sonvo " SONVO_VERSAO, "Pasta de dados:",
             pasta, "Arquivo de log:", amb.arquivoLog(), "Configurações:", config.arquivo(), "Abrir",
             "Ícone do aplicativo:", "Super+Shift+T dita e cola. Super+Shift+R dita e abre o menu de ações. No Wayland, "
             "associe um atalho do seu ambiente ao comando: sonvo alternar (ou sonvo alternar --menu)."})
        EXPECT_TRUE(tem.contains(t)) << t.toStdString();
}

TEST_F(Prefs, ChavesProvedorEnderecosAcoesModoESobre)
{
    ui::PaginaChaves& p = *janela->chaves();
    const KeychainService chaves(pasta);
    p.campoChave(0)->setText(u" sk-proj-abc "_s);
    p.botaoSalvarChave(0)->click();
    EXPECT_EQ(chaves.chave(u"openai_api_key"_s), u" sk-proj-abc "_s) << "stored as typed";
    EXPECT_EQ((QStringList{p.mensagemChave(0)->text(), p.campoChave(0)->text(), p.campoChave(0)->placeholderText()}),
              (QStringList{"Chave OpenAI salva", "", "Chave configurada — digite outra para trocar"}));
    QTest::keyClick(p.campoChave(0), Qt::Key_Return); // saved empty: removed
    EXPECT_EQ(p.mensagemChave(0)->text(), u"Chave OpenAI removida"_s);
    EXPECT_FALSE(chaves.chave(u"openai_api_key"_s).has_value());

    p.escolhaProvedor()->setCurrentIndex(1);
    p.campoEndpoint(0)->setText(u"http://127.0.0.1:8080/proxy"_s);
    p.campoEndpoint(1)->setText(u"ftp://127.0.0.1/x"_s);
    p.botaoSalvarEndpoints()->click();
    EXPECT_EQ(p.mensagemEndpoints()->text(), u"Endereço inválido: ftp://127.0.0.1/x (use http:// ou https:// seguido do servidor)"_s);
    EXPECT_FALSE(doDisco(u"openaiBaseURL"_s).isValid()) << "nothing written unless both are good";
    p.campoEndpoint(1)->clear();
    p.botaoSalvarEndpoints()->click();
    EXPECT_EQ(p.mensagemEndpoints()->text(), u"Endereços salvos. A variável SONVO_OPENAI_BASE_URL está "
                                             "definida e vale mais que este campo."_s);
    criar(); // a new window shows what was saved
    EXPECT_EQ(janela->chaves()->escolhaProvedor()->currentText(), u"Anthropic (claude-haiku-4-5)"_s);
    EXPECT_EQ(janela->chaves()->campoEndpoint(0)->text(), u"http://127.0.0.1:8080/proxy"_s);

    ui::PaginaAcoes& a = *janela->acoes();
    const auto acoes = [&] { return doDisco(u"vozelQuickActions"_s).toStringList(); };
    a.listaAcoes()->setCurrentRow(1); // Bullet Points
    a.botaoRemoverAcao()->click();
    a.acoesDisponiveis()->setCurrentIndex(a.acoesDisponiveis()->findText(u"Post"_s));
    a.botaoAdicionarAcao()->click();
    ASSERT_TRUE(a.listaAcoes()->model()->moveRow(QModelIndex(), 2, QModelIndex(), 0)); // Post dragged to the top
    EXPECT_EQ(acoes(), (QStringList{"post", "resumir", "email"}));
    for (int i = 0; i < 3; ++i) { // the last one stays: an empty list would bring the defaults back
        a.listaAcoes()->setCurrentRow(0);
        a.botaoRemoverAcao()->click();
    }
    EXPECT_EQ(acoes(), QStringList{"email"});

    ui::PaginaComportamento& c = *janela->comportamento();
    c.botoesModo().at(2)->click(); // Discreto (stealth), the third preset
    EXPECT_FALSE(doDisco(Interruptores::actionMenu).toBool() || c.interruptor(Interruptores::selecao)->isChecked());
    EXPECT_EQ(c.modoAtual()->text() + u'\n' + c.descricaoModo()->text(),
              u"Modo atual: Discreto (stealth)\nPaste direto, zero modais — pegada visual mínima, "
              "Super+Shift+R e Super+Shift+T fazem a mesma coisa"_s);
    c.interruptor(Interruptores::streaming)->click(); // one switch by hand: the mode becomes custom
    EXPECT_TRUE(doDisco(Interruptores::streaming).toBool());
    EXPECT_EQ(c.modoAtual()->text(), u"Modo atual: Personalizado (custom)"_s);
    c.modoAtalho()->setCurrentIndex(1);
    EXPECT_EQ(doDisco(u"modoAtalho"_s).toString(), u"segurar"_s);
    // The microphones by name, the system's default first; the meter moves while the page shows.
    EXPECT_EQ(c.microfones()->count(), 3);
    c.microfones()->setCurrentIndex(2);
    EXPECT_EQ(doDisco(u"microfone"_s).toString(), u"usb"_s);
    microfone.presente = true;
    microfone.amplitude = 0.5f;
    janela->show();
    janela->mostrarSecao(u"comportamento"_s);
    EXPECT_TRUE(girarAte([&] { return c.nivel()->value() > 0; })) << "meter never moved";
    EXPECT_EQ(microfone.escolhido, u"usb"_s);
    c.findChild<ui::ComoAssociarAtalhos*>()->botaoCopiar()->click();
    EXPECT_TRUE(QGuiApplication::clipboard()->text().contains(u"bindsym Mod4+Shift+t exec sonvo alternar\n"_s));

    janela->sobre()->escolhaIcone()->setCurrentIndex(1);
    EXPECT_EQ(doDisco(u"iconVariant"_s).toString() + QString::number(icones), u"light1"_s);
    const auto* diagnostico = janela->sobre()->findChild<QLabel*>(u"diagnostico"_s);
    ASSERT_TRUE(diagnostico);
    EXPECT_EQ(diagnostico->text(), u"Colar: teclado virtual do Wayland\nMicrofone: nenhum dispositivo de entrada de áudio"_s);
}

TEST_F(Prefs, TranscricaoPresetsSalvarETestar)
{
    ui::SecaoTranscricao& t = *janela->chaves()->transcricao();
    EXPECT_EQ(t.escolhaModelo()->currentText(), u"whisper-1"_s) << "today's default";
    t.escolhaServico()->setCurrentIndex(1);
    EXPECT_EQ((QStringList{t.escolhaServico()->currentText(), t.campoEndereco()->placeholderText(), t.escolhaModelo()->currentText()}),
              (QStringList{"Groq", "https://api.groq.com/openai", "whisper-large-v3-turbo"}));
    EXPECT_TRUE(t.campoChave()->isVisibleTo(&t));

    t.escolhaServico()->setCurrentIndex(2); // a keyless server of one's own, compact upload
    t.campoEndereco()->setText(servidor.url().toString());
    t.escolhaEnvio()->setCurrentIndex(1);
    struct Caso {
        Resposta resposta;
        QString endereco, texto;
    };
    const Caso casos[] = {
        {Resposta::json(200, R"({"text":" "})"), servidor.url().toString(), u"Funcionando: Servidor próprio respondeu com whisper-1 (\"\")"_s},
        {Resposta::json(401, R"({"error":{"message":"no"}})"), servidor.url().toString(), u"API key inválida"_s},
        {{}, u"http://127.0.0.1:1"_s, u"Erro: sem conexão"_s},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.texto.toStdString());
        servidor.enfileirar(c.resposta);
        t.campoEndereco()->setText(c.endereco);
        t.botaoTestar()->click();
        EXPECT_TRUE(girarAte([&] { return t.botaoTestar()->isEnabled(); }, 15000));
        EXPECT_EQ(t.mensagem()->text(), c.texto);
    }
    EXPECT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_EQ(servidor.requisicoes().first().partes()->value(0).tipoConteudo, QByteArray("audio/ogg"));
    EXPECT_TRUE(servidor.requisicoes().first().cabecalho("Authorization").isEmpty());
    EXPECT_EQ((QStringList{doDisco(u"transcricaoServico"_s).toString(), doDisco(u"envioAudio"_s).toString()}), (QStringList{"proprio", "opus"}));
    criar(); // a new window shows what was saved
    ui::SecaoTranscricao& salva = *janela->chaves()->transcricao();
    EXPECT_EQ((QStringList{salva.escolhaServico()->currentText(), salva.campoEndereco()->text(), salva.escolhaEnvio()->currentText()}),
              (QStringList{"Servidor próprio", "http://127.0.0.1:1", "Compacto (Opus)"}));
    salva.campoEndereco()->setText(u"servidor"_s);
    salva.botaoSalvar()->click();
    EXPECT_EQ(salva.mensagem()->text(), u"Endereço inválido: servidor (use http:// ou https:// seguido do servidor)"_s);
}

TEST_F(Prefs, VocabularioGlobalPorAplicativoEAuditoria)
{
    ui::PaginaVocabulario& p = *janela->vocabulario();
    p.campoOuvido()->setText(u"jira"_s);
    p.botaoAdicionarCorrecao()->click();
    EXPECT_EQ(p.mensagemVocabulario()->text(), u"Preencha o que é ouvido e o que deve ser escrito."_s);
    p.campoEscrever()->setText(u"Jira"_s);
    p.botaoAdicionarCorrecao()->click();
    EXPECT_EQ(p.mensagemVocabulario()->text(), u"Correção adicionada: jira → Jira"_s);
    // Opened in the editor and changed there: "Recarregar" shows it.
    p.botaoAbrirVocabulario()->click();
    ASSERT_EQ(abertos, QStringList{vocab.documento().arquivo()});
    ASSERT_TRUE(gravarArquivo(abertos[0], lerArquivo(abertos[0]) + "\n- figma -> Figma\n\n## Whitelist\n- Sexta\n- abril\n"));
    p.botaoRecarregar()->click();
    EXPECT_EQ(vocab.aplicarCorrecoes(u"jira e figma"_s, std::nullopt), u"Jira e Figma"_s);
    EXPECT_EQ(p.whitelist()->text(), u"Nunca corrigir (whitelist): abril, sexta"_s);

    p.campoApp()->setText(u"kate"_s);
    p.campoOuvidoApp()->setText(u"cubo"_s);
    p.campoEscreverApp()->setText(u"Kubernetes"_s);
    p.botaoAdicionarPorApp()->click();
    EXPECT_EQ(p.mensagemPorApp()->text(), u"Correção adicionada para kate"_s);
    EXPECT_EQ(vocab.aplicarCorrecoes(u"o cubo"_s, u"kate"_s), u"o Kubernetes"_s);

    // The audit: the model proposes, the user approves one and rejects the other.
    ASSERT_FALSE(KeychainService(pasta).salvarChave(u"openai_api_key"_s, u"sk-x"_s));
    historico.append(u"o reakt e o posgres"_s, std::nullopt);
    servidor.enfileirar(Resposta::json(200, R"({"choices":[{"message":{"role":"assistant","content":"{\"sugestoes\":[)"
        R"({\"ouvido\":\"reakt\",\"provavel\":\"React\",\"confianca\":0.92,\"ocorrencias\":3},)"
        R"({\"ouvido\":\"posgres\",\"provavel\":\"Postgres\",\"confianca\":0.81,\"ocorrencias\":2}]}"}}]})"));
    p.botaoExecutarAuditoria()->click();
    ASSERT_TRUE(QTest::qWaitFor([&] { return p.sugestoes()->rowCount() == 2; })) << p.mensagemAuditoria()->text().toStdString();
    EXPECT_EQ(p.mensagemAuditoria()->text() + p.sugestoes()->item(0, 2)->text(), u"2 sugestões novas.92%"_s);
    QPushButton* aprovar = p.sugestoes()->cellWidget(0, 4)->findChildren<QPushButton*>().at(0);
    EXPECT_EQ(aprovar->accessibleName(), u"Aprovar reakt → React"_s);
    aprovar->click();
    p.sugestoes()->cellWidget(0, 4)->findChildren<QPushButton*>().at(1)->click();
    EXPECT_EQ(p.mensagemAuditoria()->text(), u"Rejeitada: posgres → Postgres"_s);
    EXPECT_EQ(vocab.aplicarCorrecoes(u"reakt posgres"_s, std::nullopt), u"React posgres"_s);
    EXPECT_EQ(p.sugestoes()->rowCount(), 0);
}

TEST_F(Prefs, TeclaDeColarPorAplicativoGravadaACadaMudanca)
{
    ui::TabelaTeclaDeColar& t = *janela->comportamento()->teclaDeColar();
    for (const auto& [app, escolha] : {std::pair{u" XTerm "_s, 1}, {u"kate"_s, 3}, {QString(), 2}}) { // no id: not saved
        t.botaoAdicionar()->click();
        t.tabela()->item(t.tabela()->rowCount() - 1, 0)->setText(app);
        t.escolha(t.tabela()->rowCount() - 1)->setCurrentIndex(escolha);
    }
    QStringList rotulos{t.tabela()->model()->headerData(1, Qt::Horizontal).toString()};
    for (int i = 0; i < t.escolha(0)->count(); ++i)
        rotulos << t.escolha(0)->itemText(i);
    EXPECT_EQ(rotulos, (QStringList{u"Tecla de colar"_s, u"automático"_s, u"Ctrl+V"_s, u"Ctrl+Shift+V"_s, u"Shift+Insert"_s}));
    const auto noDisco = [&] { return TeclaDeColar::ler(Configuracoes(amb.arquivoConfig())); };
    EXPECT_EQ(noDisco(), (QMap<QString, QString>{{u"XTerm"_s, u"ctrl-v"_s}, {u"kate"_s, u"shift-insert"_s}}));

    criar(); // a new window shows what was saved, and removing saves too
    ui::TabelaTeclaDeColar& n = *janela->comportamento()->teclaDeColar();
    ASSERT_EQ(n.tabela()->rowCount(), 2);
    EXPECT_EQ(n.tabela()->item(1, 0)->text() + u' ' + n.escolha(1)->currentText(), u"kate Shift+Insert"_s);
    n.tabela()->setCurrentCell(0, 0);
    n.botaoRemover()->click();
    EXPECT_EQ(noDisco(), (QMap<QString, QString>{{u"kate"_s, u"shift-insert"_s}}));
}

TEST(BoasVindas, ExplicaOsAtalhosEDizQuandoASessaoNaoOsPermite)
{
    for (bool teclas : {true, false}) {
        int preferencias = 0;
        ui::Onboarding janela(teclas, [&] { ++preferencias; });
        const QStringList t = textosDe(&janela);
        EXPECT_TRUE(t.contains(u"Bem-vindo ao Sonvo"_s) && t.contains(u"Dite com um atalho"_s) && t.contains(u"Coloque a sua chave"_s));
        EXPECT_EQ(t.contains(u"Esta sessão não permite atalhos globais"_s), !teclas);
        EXPECT_FALSE(t.filter(u"sonvo alternar"_s).isEmpty()) << "the command to bind is always there";
        for (QPushButton* b : janela.findChildren<QPushButton*>())
            if (b->text() == u"Abrir Preferências"_s)
                b->click();
        EXPECT_EQ(preferencias, 1);
    }
}
