#include "app/Log.h"
#include "capture/InsertBuffer.h"
#include "capture/InsertionService.h"
#include "support/Ambiente.h"

#include <QCoroTask>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace std::chrono_literals;

namespace {

constexpr qint64 kPidSonvo = 4242;

// One journal for every fake, so the tests see the order of operations across services.
struct Diario {
    QStringList eventos;
    void operator()(const QString& e) { eventos << e; }
};

QString descrever(const ClipboardSnapshot& s)
{
    QStringList itens;
    for (const auto& item : s.items) {
        QStringList pares;
        for (const auto& p : item)
            pares << p.type + QLatin1Char('=') + QString::fromUtf8(p.data);
        itens << pares.join(QLatin1Char(','));
    }
    return itens.join(QLatin1Char('|'));
}

class ClipboardFalso : public AreaTransferencia {
public:
    explicit ClipboardFalso(Diario& d) : m_d(d) {}
    std::optional<ClipboardSnapshot> conteudo; // what instantaneo() answers
    bool lido = true;                          // what aguardarLeitura() answers
    QString texto;
    bool transitorio = false;
    std::optional<ClipboardSnapshot> restaurado;

    std::optional<ClipboardSnapshot> instantaneo() override
    {
        m_d(QStringLiteral("instantaneo"));
        return conteudo;
    }
    void escreverTexto(const QString& t, bool trans) override
    {
        m_d(QStringLiteral("escrever '%1' transitorio=%2").arg(t).arg(trans));
        texto = t;
        transitorio = trans;
    }
    void restaurar(const ClipboardSnapshot& s) override
    {
        m_d(QStringLiteral("restaurar %1").arg(descrever(s)));
        restaurado = s;
    }
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override
    {
        m_d(QStringLiteral("aguardarLeitura %1").arg(limite.count()));
        co_return lido;
    }
    std::optional<QString> textoSelecionado(const AppJanela&) override { return std::nullopt; }

private:
    Diario& m_d;
};

class JanelasFalsas : public Janelas {
public:
    explicit JanelasFalsas(Diario& d) : m_d(d) {}
    std::optional<AppJanela> frente;
    QList<AppJanela> normais;
    bool acesso = true;
    bool ativacaoMudaFrente = true;

    std::optional<AppJanela> daFrente() override
    {
        m_d(QStringLiteral("daFrente"));
        return frente;
    }
    QList<AppJanela> normaisEmOrdem() override
    {
        m_d(QStringLiteral("normaisEmOrdem"));
        return normais;
    }
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override
    {
        m_d(QStringLiteral("ativar %1 %2").arg(app.janela).arg(limite.count()));
        if (ativacaoMudaFrente)
            frente = app;
        co_return ativacaoMudaFrente;
    }
    bool acessoConcedido() override
    {
        m_d(QStringLiteral("acessoConcedido"));
        return acesso;
    }

private:
    Diario& m_d;
};

class TeclasFalsas : public TeclasSinteticas {
public:
    explicit TeclasFalsas(Diario& d) : m_d(d) {}
    bool enviou = true;
    void soltarModificadores() override { m_d(QStringLiteral("soltarModificadores")); }
    bool colar(bool terminal) override
    {
        m_d(QStringLiteral("colar terminal=%1").arg(terminal));
        return enviou;
    }

private:
    Diario& m_d;
};

AppJanela app(quint64 janela, std::optional<QString> id, qint64 pid)
{
    return AppJanela{janela, std::move(id), pid};
}

ClipboardSnapshot::Item par(const char* tipo, const QByteArray& dados)
{
    return {QString::fromLatin1(tipo), dados};
}

class ServicoInsercao : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog())); }
    void TearDown() override { Log::enviarParaArquivo(QStringLiteral("/dev/null")); }

    InsertionService servico() { return servico(padrao()); }
    InsertionService servico(InsertionService::Esperas esperas)
    {
        return InsertionService(clipboard, janelas, teclas, buffer, kPidSonvo, std::move(esperas));
    }
    InsertionService::Esperas padrao()
    {
        InsertionService::Esperas e;
        e.esperar = [this](std::chrono::milliseconds ms) -> QCoro::Task<> {
            diario(QStringLiteral("esperar %1").arg(ms.count()));
            co_return;
        };
        return e;
    }
    void inserir(InsertionService& s, const QString& texto) { QCoro::waitFor(s.inserir(texto)); }
    QStringList log() const
    {
        QStringList l = QString::fromUtf8(amb.lerLog()).split(QLatin1Char('\n'));
        if (!l.isEmpty() && l.last().isEmpty())
            l.removeLast();
        return l;
    }

    teste::AmbienteTemporario amb;
    Diario diario;
    ClipboardFalso clipboard{diario};
    JanelasFalsas janelas{diario};
    TeclasFalsas teclas{diario};
    InsertBuffer buffer;
};

} // namespace

TEST_F(ServicoInsercao, AlvoNaFrenteSemAtivacaoComOrdemELogCompletos)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo"), par("image/png", "\x89PNG")}}};
    auto s = servico();
    inserir(s, QStringLiteral("Olá, café"));

    EXPECT_EQ(diario.eventos,
              (QStringList{"acessoConcedido", "daFrente", "instantaneo", "escrever 'Olá, café' transitorio=1",
                           "daFrente", "daFrente", "soltarModificadores", "colar terminal=0", "esperar 200",
                           "aguardarLeitura 800", "restaurar text/plain=antigo,image/png=\x89PNG"}));
    EXPECT_EQ(log(), (QStringList{"Vozel [Insert] AXTrusted=1 frontmost=kate texto.count=9",
                                  "Vozel [Insert] texto no clipboard", "Vozel [Insert] alvo=kate",
                                  "Vozel [Insert] ⌘V postado", "Vozel [Insert] clipboard restaurado",
                                  "Vozel [Insert] texto registrado em InsertBuffer (Tier 2)"}));
    ASSERT_EQ(buffer.entradas().size(), 1);
    EXPECT_EQ(buffer.entradas().first().texto, QStringLiteral("Olá, café"));
}

TEST_F(ServicoInsercao, ContagemEmCaracteresPercebidos)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    auto s = servico();
    // "e" + combining acute and a flag: two user-perceived characters, six UTF-16 units.
    inserir(s, QStringLiteral("e\u0301\U0001F1E7\U0001F1F7"));
    EXPECT_EQ(log().first(), QStringLiteral("Vozel [Insert] AXTrusted=1 frontmost=kate texto.count=2"));
}

TEST_F(ServicoInsercao, SonvoNaFrenteColaNaPrimeiraJanelaNormalDeOutroApp)
{
    janelas.frente = app(0x500, QStringLiteral("sonvo"), kPidSonvo);
    janelas.normais = {app(0x500, QStringLiteral("sonvo"), kPidSonvo), app(0x600, std::nullopt, 90),
                       app(0x610, QStringLiteral(""), 91), app(0x700, QStringLiteral("firefox"), 80),
                       app(0x800, QStringLiteral("kate"), 81)};
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "x")}}};
    auto s = servico();
    inserir(s, QStringLiteral("oi"));

    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("ativar 1792 500"))) << diario.eventos.join('\n').toStdString();
    EXPECT_LT(diario.eventos.indexOf(QStringLiteral("ativar 1792 500")),
              diario.eventos.indexOf(QStringLiteral("colar terminal=0")));
    EXPECT_EQ(log().at(0), QStringLiteral("Vozel [Insert] AXTrusted=1 frontmost=sonvo texto.count=2"));
    EXPECT_EQ(log().at(2), QStringLiteral("Vozel [Insert] alvo=firefox"));
}

TEST_F(ServicoInsercao, OutraJanelaDoProprioSonvoNaoEhAlvoMesmoComOutraClasse)
{
    // Recognised by process, not by class: a panel with another WM_CLASS is still Sonvo's.
    janelas.frente = app(0x510, QStringLiteral("painel"), kPidSonvo);
    janelas.normais = {app(0x520, QStringLiteral("outro-painel"), kPidSonvo), app(0x900, QStringLiteral("XTerm"), 5)};
    auto s = servico();
    inserir(s, QStringLiteral("ls"));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("ativar 2304 500")));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("colar terminal=1")));
    EXPECT_EQ(log().at(2), QStringLiteral("Vozel [Insert] alvo=XTerm"));
}

TEST_F(ServicoInsercao, NadaNaFrenteEDepoisDaPrimeiraJanela)
{
    janelas.normais = {app(0x700, QStringLiteral("gedit"), 80)};
    auto s = servico();
    inserir(s, QStringLiteral("oi"));
    EXPECT_EQ(log().at(0), QStringLiteral("Vozel [Insert] AXTrusted=1 frontmost=nil texto.count=2"));
    EXPECT_EQ(log().at(2), QStringLiteral("Vozel [Insert] alvo=gedit"));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("ativar 1792 500")));
}

TEST_F(ServicoInsercao, SemAlvoNenhumNaoAtivaMasColaMesmoAssim)
{
    janelas.frente = app(0x500, QStringLiteral("sonvo"), kPidSonvo);
    janelas.normais = {app(0x500, QStringLiteral("sonvo"), kPidSonvo)};
    auto s = servico();
    inserir(s, QStringLiteral("oi"));
    EXPECT_EQ(log().at(2), QStringLiteral("Vozel [Insert] alvo=nil"));
    EXPECT_FALSE(diario.eventos.join('\n').contains(QStringLiteral("ativar")));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("colar terminal=0")));
}

TEST_F(ServicoInsercao, JanelaDaFrenteSemClasseAindaEhOAlvo)
{
    janelas.frente = app(0x300, std::nullopt, 33);
    janelas.normais = {app(0x700, QStringLiteral("gedit"), 80)};
    auto s = servico();
    inserir(s, QStringLiteral("oi"));
    EXPECT_EQ(log().at(2), QStringLiteral("Vozel [Insert] alvo=nil"));
    EXPECT_FALSE(diario.eventos.join('\n').contains(QStringLiteral("ativar")));
    EXPECT_FALSE(diario.eventos.contains(QStringLiteral("normaisEmOrdem")));
}

TEST_F(ServicoInsercao, TerminaisRecebemCtrlShiftV)
{
    for (const char* classe : {"XTerm", "kitty", "Gnome-terminal", "konsole", "Alacritty", "URxvt"}) {
        diario.eventos.clear();
        janelas.frente = app(0x100, QString::fromLatin1(classe), 77);
        auto s = servico();
        inserir(s, QStringLiteral("ls"));
        EXPECT_TRUE(diario.eventos.contains(QStringLiteral("colar terminal=1"))) << classe;
    }
    for (const char* classe : {"kate", "firefox", "terminal-notes", "xtermx"}) {
        diario.eventos.clear();
        janelas.frente = app(0x100, QString::fromLatin1(classe), 77);
        auto s = servico();
        inserir(s, QStringLiteral("ls"));
        EXPECT_TRUE(diario.eventos.contains(QStringLiteral("colar terminal=0"))) << classe;
    }
}

TEST_F(ServicoInsercao, SemAcessoNaoTiraInstantaneoEMantemOTexto)
{
    janelas.acesso = false;
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));

    EXPECT_EQ(diario.eventos, (QStringList{"acessoConcedido", "daFrente", "escrever 'ditado' transitorio=0", "daFrente",
                                           "daFrente", "soltarModificadores", "colar terminal=0", "esperar 200"}));
    EXPECT_FALSE(clipboard.restaurado);
    EXPECT_EQ(clipboard.texto, QStringLiteral("ditado"));
    EXPECT_EQ(log(), (QStringList{"Vozel [Insert] AXTrusted=0 frontmost=kate texto.count=6",
                                  "Vozel [Insert] texto no clipboard", "Vozel [Insert] alvo=kate",
                                  "Vozel [Insert] ⌘V postado",
                                  "Vozel [Insert] AX=0 — clipboard mantido com texto pra ⌘V manual",
                                  "Vozel [Insert] texto registrado em InsertBuffer (Tier 2)"}));
    ASSERT_EQ(buffer.entradas().size(), 1);
    EXPECT_EQ(buffer.entradas().first().texto, QStringLiteral("ditado"));
}

TEST_F(ServicoInsercao, ClipboardVazioDeixaOTextoSemEsperarLeitura)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = std::nullopt;
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    EXPECT_FALSE(clipboard.restaurado);
    EXPECT_FALSE(diario.eventos.join('\n').contains(QStringLiteral("aguardarLeitura")));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Insert] clipboard restaurado")));
    ASSERT_EQ(buffer.entradas().size(), 1);
}

TEST_F(ServicoInsercao, InstantaneoSemItensNaoRestaura)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{};
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    EXPECT_FALSE(clipboard.restaurado);
}

TEST_F(ServicoInsercao, ItemVazioAindaRestauraOsMarcadores)
{
    // A clipboard that held only protocol or marker types: the restore writes an empty item.
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{{{}}};
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    ASSERT_TRUE(clipboard.restaurado);
    EXPECT_EQ(clipboard.restaurado->items.size(), 1);
    EXPECT_TRUE(clipboard.restaurado->items.first().isEmpty());
}

TEST_F(ServicoInsercao, RestauraMesmoSemOAlvoTerLidoNoPrazo)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    clipboard.lido = false;
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    ASSERT_TRUE(clipboard.restaurado);
    EXPECT_EQ(*clipboard.restaurado, *clipboard.conteudo);
}

TEST_F(ServicoInsercao, TeclasQueNaoSaemNaoEsperamLeitura)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    teclas.enviou = false;
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    EXPECT_FALSE(diario.eventos.join('\n').contains(QStringLiteral("aguardarLeitura")));
    EXPECT_TRUE(clipboard.restaurado);
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Insert] ⌘V postado")));
}

TEST_F(ServicoInsercao, EsperasConfiguradasLimitamALeitura)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    janelas.normais = {};
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    InsertionService::Esperas e = padrao();
    e.aposColar = 300ms;
    e.leituraMax = 250ms; // never a negative wait
    auto s = servico(e);
    inserir(s, QStringLiteral("ditado"));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("esperar 300")));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("aguardarLeitura 0")));
}

TEST_F(ServicoInsercao, AtivacaoQueFalhaAindaColaERestaura)
{
    janelas.frente = app(0x500, QStringLiteral("sonvo"), kPidSonvo);
    janelas.normais = {app(0x700, QStringLiteral("kate"), 80)};
    janelas.ativacaoMudaFrente = false; // the window closed or the manager refused
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    auto s = servico();
    inserir(s, QStringLiteral("ditado"));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("ativar 1792 500")));
    EXPECT_TRUE(diario.eventos.contains(QStringLiteral("colar terminal=0")));
    EXPECT_TRUE(clipboard.restaurado);
}

TEST_F(ServicoInsercao, TextoEmBrancoNaoEntraNoBuffer)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    auto s = servico();
    inserir(s, QStringLiteral("  \n"));
    EXPECT_TRUE(buffer.entradas().isEmpty());
    EXPECT_EQ(log().last(), QStringLiteral("Vozel [Insert] texto registrado em InsertBuffer (Tier 2)"));
}

TEST_F(ServicoInsercao, SugestaoFuzzyUsaOBufferDasInsercoes)
{
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    auto s = servico();
    EXPECT_TRUE(s.sugerirCorrecaoFuzzy(QStringLiteral("Kubernetis")).isEmpty());
    inserir(s, QStringLiteral("Kubernetes no cluster"));
    inserir(s, QStringLiteral("o kubernetes caiu"));
    const auto sugestoes = s.sugerirCorrecaoFuzzy(QStringLiteral("o Kubernetis voltou"));
    ASSERT_EQ(sugestoes.size(), 1);
    EXPECT_EQ(sugestoes.first(), (SugestaoFuzzy{QStringLiteral("Kubernetis"), QStringLiteral("kubernetes"), 1, 2}));
}

TEST_F(ServicoInsercao, EsperaPadraoEhAssincrona)
{
    // Without an injected sleep the service uses a timer: the event loop keeps running meanwhile.
    janelas.frente = app(0x100, QStringLiteral("kate"), 77);
    InsertionService::Esperas e;
    e.aposColar = 30ms;
    auto s = servico(e);
    bool tickou = false;
    QTimer::singleShot(5, [&] { tickou = true; });
    inserir(s, QStringLiteral("ditado"));
    EXPECT_TRUE(tickou);
    EXPECT_EQ(buffer.entradas().size(), 1);
}
