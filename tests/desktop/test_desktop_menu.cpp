// Super+Shift+R as a user meets it: speech into the virtual microphone, the action menu (or the
// intent modal) on the real X server, the loopback server streaming the model's answer into the
// preview, and the result pasted into the text widget that was in front.
#include "SonvoNoDesktop.h"

#include "platform/x11/JanelasX11.h"

#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

class MenuNoDesktop : public SonvoNoDesktop {
protected:
    void SetUp() override
    {
        SonvoNoDesktop::SetUp();
        gravarFala(QStringLiteral("a reunião mudou para sexta"));
    }

    // Dictates with Super+Shift+R while the target has the focus, until the log shows `marca`.
    void ditarParaOMenu(Auxiliar& alvo, const QString& marca)
    {
        x11::JanelasX11 janelas(x11::ConexaoX11::abrir());
        ASSERT_TRUE(esperarAte([&] {
            const auto f = janelas.daFrente();
            return f && f->pid == alvo.pid();
        }));
        tecla("super+shift+r");
        ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("trigger Super+Shift+R (actionMenu=1) state=idle")) == 1; }))
            << logInteiro();
        // The recording pill has slid up by now (0.35 s).
        esperarAte([] { return false; }, 450);
        capturarTela(QStringLiteral("pilula-gravacao-xvfb"));
        tocarFala();
        esperarAte([] { return false; }, 300);
        tecla("super+shift+r");
        ASSERT_TRUE(esperarAte([&] { return contar(marca) == 1; }, 20000)) << logInteiro();
        // The panel animates in and takes the focus.
        esperarAte([] { return false; }, 500);
    }

    void capturarTela(const QString& nome)
    {
        if (QScreen* s = QGuiApplication::primaryScreen())
            s->grabWindow(0).save(QStringLiteral(SONVO_ARTEFATOS "/") + nome + QStringLiteral(".png"));
    }

    QString textoDoAlvo() { return QString::fromUtf8(lerArquivo(arquivo(QStringLiteral("alvo")))); }

    static Resposta email(int intervaloMs)
    {
        return Resposta::sse(Resposta::eventosOpenAI({QStringLiteral("Olá, equipe,\n\n"), QStringLiteral("a reunião "),
                                                      QStringLiteral("mudou para sexta.")}),
                             intervaloMs);
    }
};

} // namespace

TEST_F(MenuNoDesktop, EmailEscolhidoNoMenuChegaEmStreamEEColadoNoAlvo)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"a reunião mudou para sexta"})"));
    servidor.enfileirar(email(150));
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO), {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo"))});
    ASSERT_TRUE(alvo.pronto());
    iniciarSonvo();
    ditarParaOMenu(alvo, QStringLiteral("[ActionMenu] showActionMenu — texto.count=26 alvo=Sonvo-alvo"));
    EXPECT_EQ(contar(QStringLiteral("Vozel [Intent] resultado=nenhuma acao=nil")), 1);
    EXPECT_TRUE(textoDoAlvo().isEmpty()) << "nothing is pasted while the menu is open";
    capturarTela(QStringLiteral("menu-acoes-xvfb"));

    tecla("ctrl+3"); // Email, third of the default actions
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("[ActionMenu] ação selecionada: email")) == 1; }))
        << logInteiro();
    esperarAte([] { return false; }, 480);
    capturarTela(QStringLiteral("menu-acoes-stream-xvfb"));
    ASSERT_TRUE(esperarAte([&] { return !textoDoAlvo().isEmpty(); }, 15000)) << logInteiro();
    esperarAte([] { return false; }, 300);
    EXPECT_EQ(textoDoAlvo(), QStringLiteral("Olá, equipe,\n\na reunião mudou para sexta."));
    EXPECT_EQ(contar(QStringLiteral("[AI/Stream] OK action=email resultado.count=41")), 1) << logInteiro();
    EXPECT_EQ(contar(QStringLiteral("[ActionMenu] dismiss inserting=1 texto.count=41 alvo=Sonvo-alvo")), 1);
    ASSERT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_EQ(servidor.requisicoes()[1].caminho, QByteArray("/v1/chat/completions"));
}

TEST_F(MenuNoDesktop, IntencaoNaFalaAbreOModalEConfirmarInsereOEmail)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"transforma em email a reunião mudou para sexta"})"));
    servidor.enfileirar(email(50));
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO), {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo"))});
    ASSERT_TRUE(alvo.pronto());
    iniciarSonvo();
    ditarParaOMenu(alvo, QStringLiteral("[Intent] showConfirmModal acao=email alvo=Sonvo-alvo"));
    capturarTela(QStringLiteral("modal-intencao-xvfb"));
    tecla("Return");
    ASSERT_TRUE(esperarAte([&] { return !textoDoAlvo().isEmpty(); }, 15000)) << logInteiro();
    esperarAte([] { return false; }, 300);
    EXPECT_EQ(textoDoAlvo(), QStringLiteral("Olá, equipe,\n\na reunião mudou para sexta."));
    EXPECT_EQ(contar(QStringLiteral("[Intent] CONFIRMAR acao=email")), 1);
    EXPECT_EQ(contar(QStringLiteral("[ActionMenu] showActionMenu")), 0) << "confirming opens no menu";
}

TEST_F(MenuNoDesktop, EscapeDuranteOStreamColaOTextoParcial)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"a reunião mudou para sexta"})"));
    const QList<QByteArray> eventos = Resposta::eventosOpenAI({QStringLiteral("Resumo: "), QStringLiteral("sexta."),
                                                                QStringLiteral(" Mais tarde.")});
    Resposta lento = Resposta::sse(eventos, 0);
    // The last fragment and the end come long after the first ones.
    for (int i = 0; i < lento.pedacos.size(); ++i)
        if (i >= lento.pedacos.size() - 2)
            lento.pedacos[i].first = 6000;
    servidor.enfileirar(lento);
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO), {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo"))});
    ASSERT_TRUE(alvo.pronto());
    iniciarSonvo();
    ditarParaOMenu(alvo, QStringLiteral("[ActionMenu] showActionMenu"));
    tecla("ctrl+1");
    ASSERT_TRUE(esperarAte([&] { return contar(QStringLiteral("[AI/Stream] provider=openai action=resumir")) == 1; }))
        << logInteiro();
    esperarAte([] { return false; }, 1500);
    tecla("Escape");
    ASSERT_TRUE(esperarAte([&] { return !textoDoAlvo().isEmpty(); }, 10000)) << logInteiro();
    esperarAte([] { return false; }, 300);
    EXPECT_EQ(textoDoAlvo(), QStringLiteral("Resumo: sexta."));
    EXPECT_EQ(contar(QStringLiteral("[AI/Stream] cancelado durante stream — preview parcial=14 chars")), 1) << logInteiro();
    EXPECT_EQ(contar(QStringLiteral("[AI/Stream] OK")), 0);
}

TEST_F(MenuNoDesktop, TextoSelecionadoNoAlvoVaiComoContextoParaAIA)
{
    const QString selecionado = QStringLiteral("Pauta: orçamento de 2027");
    servidor.enfileirar(Resposta::json(200, R"({"text":"a reunião mudou para sexta"})"));
    servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI({QStringLiteral("Reunião de orçamento na sexta.")})));
    Auxiliar alvo(QStringLiteral(SONVO_ALVO_TEXTO),
                  {QStringLiteral("--saida"), arquivo(QStringLiteral("alvo")), QStringLiteral("--selecao"), selecionado});
    ASSERT_TRUE(alvo.pronto());
    iniciarSonvo();
    ditarParaOMenu(alvo, QStringLiteral("[ActionMenu] showActionMenu"));
    // Read from PRIMARY, owned by the application in front, at each of the two presses.
    EXPECT_EQ(contar(QStringLiteral("Vozel [Phase7/SelectionCtx] capturado 24 chars")), 2) << logInteiro();
    tecla("ctrl+1");
    ASSERT_TRUE(esperarAte([&] { return textoDoAlvo() == QStringLiteral("Reunião de orçamento na sexta."); }, 15000))
        << logInteiro() << textoDoAlvo().toStdString();
    EXPECT_EQ(contar(QStringLiteral("[AI/Stream] provider=openai action=resumir texto.count=26 ctx=24")), 1);
    ASSERT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_TRUE(QString::fromUtf8(servidor.requisicoes()[1].corpo).contains(selecionado))
        << servidor.requisicoes()[1].corpo.constData();
}
