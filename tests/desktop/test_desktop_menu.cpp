// Super+Shift+R as a user meets it: speech into the virtual microphone, the action menu (or the
// intent modal) on the real X server, the loopback server streaming the model's answer, and the
// result pasted into the text widget that was in front.
#include "SonvoNoDesktop.h"

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

class MenuNoDesktop : public SonvoNoDesktop {
protected:
    // Dictates with Super+Shift+R, the service answering `transcricao` and then the model `ia`,
    // until the log shows `painel` open; the panel then slides in and takes the focus.
    void ditarAte(const QString& transcricao, const Resposta& ia, const QString& painel)
    {
        gravarFala("a reunião mudou para sexta"_t);
        servidor.enfileirar(Resposta::json(200, R"({"text":")" + transcricao.toUtf8() + R"("})"));
        servidor.enfileirar(ia);
        iniciarSonvo();
        ditar("super+shift+r");
        ASSERT_TRUE(girarAte([&] { return contar(painel) == 1; }, 20000)) << logInteiro();
        girarPor(500);
    }
    const Resposta email = Resposta::sse(Resposta::eventosOpenAI({"Olá, equipe,\n\n"_t, "a reunião "_t, "mudou para sexta."_t}), 150);
};

} // namespace

TEST_F(MenuNoDesktop, EmailEscolhidoNoMenuChegaEmStreamEEColadoNoAlvo)
{
    auto alvo = abrirAlvo();
    ditarAte("a reunião mudou para sexta"_t, email, "[ActionMenu] showActionMenu"_t);
    EXPECT_TRUE(textoDoAlvo().isEmpty()) << "nothing is pasted while the menu is open";
    tecla("ctrl+3"); // Email, third of the default actions
    conferirColado("Olá, equipe,\n\na reunião mudou para sexta."_t);
    ASSERT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_EQ(servidor.requisicoes()[1].caminho, QByteArray("/v1/chat/completions"));
    EXPECT_TRUE(servidor.requisicoes()[1].corpo.contains("\"stream\":true"));
}

TEST_F(MenuNoDesktop, IntencaoNaFalaAbreOModalEEnterInsereOEmail)
{
    auto alvo = abrirAlvo();
    ditarAte("transforma em email a reunião mudou para sexta"_t, email, "[Intent] showConfirmModal acao=email alvo=Sonvo-alvo"_t);
    tecla("Return"); // Enter confirms: the e-mail is pasted with no menu in between
    conferirColado("Olá, equipe,\n\na reunião mudou para sexta."_t);
}

TEST_F(MenuNoDesktop, TextoSelecionadoNoAlvoVaiComoContextoParaAIA)
{
    // The target starts with its text selected, offered as the PRIMARY selection.
    const QString selecionado = "Pauta: orçamento de 2027"_t;
    auto alvo = abrirAlvo({"--selecao"_t, selecionado});
    ditarAte("a reunião mudou para sexta"_t, Resposta::sse(Resposta::eventosOpenAI({"Reunião de orçamento na sexta."_t})),
             "[ActionMenu] showActionMenu"_t);
    tecla("ctrl+1");
    conferirColado("Reunião de orçamento na sexta."_t);
    ASSERT_EQ(servidor.requisicoes().size(), 2);
    EXPECT_TRUE(QString::fromUtf8(servidor.requisicoes()[1].corpo).contains(selecionado)) << servidor.requisicoes()[1].corpo.constData();
}
