#include "core/Configuracoes.h"
#include "core/Log.h"
#include "dictation/InsertBuffer.h"
#include "dictation/InsertionService.h"
#include "support/Ambiente.h"
#include "support/Falsos.h"
#include "support/Utilitarios.h"

#include <QCoroTask>
#include <QRegularExpression>
#include <QStringList>
#include <QTimer>

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

using namespace sonvo;
using namespace std::chrono_literals;

namespace {

constexpr qint64 kPidSonvo = 4242;

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
    void SetUp() override
    {
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
        clipboard.diario = janelas.diario = teclas.diario = &diario;
    }
    void TearDown() override { Log::enviarParaArquivo(u"/dev/null"_s); }

    InsertionService servico() { return servico(padrao()); }
    InsertionService servico(InsertionService::Esperas esperas)
    {
        return InsertionService(clipboard, janelas, teclas, buffer, kPidSonvo, std::move(esperas), &avisos, &config);
    }
    InsertionService::Esperas padrao()
    {
        InsertionService::Esperas e;
        e.esperar = [this](std::chrono::milliseconds ms) -> QCoro::Task<> {
            diario(u"esperar %1"_s.arg(ms.count()));
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
    Configuracoes config{amb.arquivoConfig()};
    teste::Diario diario;
    teste::ClipboardFalso clipboard;
    teste::JanelasFalsas janelas;
    teste::TeclasFalsas teclas;
    teste::NotificacoesFalsas avisos;
    InsertBuffer buffer;
};

} // namespace

TEST_F(ServicoInsercao, OrdemCompletaComOAlvoNaFrente)
{
    janelas.frente = app(0x100, u"kate"_s, 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo"), par("image/png", "\x89PNG")}}};
    auto s = servico();
    // "e" + combining acute and a flag: two user-perceived characters, six UTF-16 units.
    inserir(s, u"Olá, e\u0301\U0001F1E7\U0001F1F7"_s);

    EXPECT_EQ(diario.eventos, (QStringList{"acessoConcedido", "daFrente", "instantaneo",
                           u"escrever 'Olá, e\u0301\U0001F1E7\U0001F1F7' transitorio=1"_s, "daFrente",
                           "daFrente", "soltarModificadores", "colar Ctrl+V", "esperar 200", "aguardarLeitura 800",
                           "restaurar text/plain=antigo,image/png=\x89PNG"}));
    EXPECT_EQ(log(), (QStringList{"Vozel [Insert] AXTrusted=1 frontmost=kate texto.count=7",
                                  "Vozel [Insert] texto no clipboard", "Vozel [Insert] alvo=kate",
                                  "Vozel [Insert] ⌘V postado", "Vozel [Insert] colar via teclas falsas",
                                  "Vozel [Insert] clipboard restaurado",
                                  "Vozel [Insert] texto registrado em InsertBuffer (Tier 2)"}));
    ASSERT_EQ(buffer.entradas().size(), 1);
    EXPECT_EQ(buffer.entradas().first().texto, u"Olá, e\u0301\U0001F1E7\U0001F1F7"_s);
}

TEST_F(ServicoInsercao, EscolhaDoAlvo)
{
    const AppJanela sonvo = app(0x500, u"sonvo"_s, kPidSonvo);
    struct Caso {
        const char* nome;
        std::optional<AppJanela> frente;
        QList<AppJanela> normais;
        QString ativada; // "" when nothing is activated
        QString tecla = u"Ctrl+V"_s;
        bool recusada = false;
    } casos[] = {
        {"frente é o Sonvo: primeira janela normal de outro app com classe", sonvo,
         {sonvo, app(0x600, std::nullopt, 90), app(0x610, u""_s, 91), app(0x700, u"firefox"_s, 80)},
         u"ativar 1792 500"_s},
        // Recognised by process, not by class: a panel with another WM_CLASS is still Sonvo's. The
        // key is the target's, not the panel's.
        {"painel do Sonvo com outra classe", app(0x510, u"painel"_s, kPidSonvo),
         {app(0x520, u"outro-painel"_s, kPidSonvo), app(0x900, u"XTerm"_s, 5)}, u"ativar 2304 500"_s, u"Shift+Insert"_s},
        {"nada na frente", std::nullopt, {app(0x700, u"gedit"_s, 80)}, u"ativar 1792 500"_s},
        {"só o Sonvo: cola mesmo assim", sonvo, {sonvo}, QString()},
        // The window closed or the manager refused: the text is still pasted (and restored).
        {"ativação recusada", sonvo, {app(0x700, u"kate"_s, 80)}, u"ativar 1792 500"_s, u"Ctrl+V"_s, true},
        {"janela da frente sem classe ainda é o alvo", app(0x300, std::nullopt, 33), {app(0x700, u"gedit"_s, 80)}, QString()},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        diario.eventos.clear();
        janelas.frente = c.frente;
        janelas.normais = c.normais;
        janelas.ativacaoMudaFrente = !c.recusada;
        auto s = servico();
        inserir(s, u"oi"_s);
        const QStringList ativacoes = diario.eventos.filter(u"ativar"_s);
        EXPECT_EQ(ativacoes, c.ativada.isEmpty() ? QStringList{} : QStringList{c.ativada});
        EXPECT_EQ(diario.eventos.filter(u"colar"_s), QStringList{u"colar "_s + c.tecla});
    }
}

TEST_F(ServicoInsercao, TeclaPelaClasseOuEscolhaEPrimariaSoComShiftInsertVoltandoComoOClipboard)
{
    // As the preferences save it: ids trimmed, compared without case; an unknown value is automatic.
    TeclaDeColar::gravar(config, {{u" Kate "_s, u"shift-insert"_s}, {u"xterm"_s, u"ctrl-v"_s}, {u"kitty"_s, u"bobagem"_s},
                                  {u"gedit"_s, u"ctrl-shift-v"_s}});
    const auto antigo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    const auto sel = ClipboardSnapshot{{{par("UTF8_STRING", "selecionado"), par("text/html", "<b>s</b>")}}};
    struct Caso {
        QString classe, tecla;
        bool primaria = true, acesso = true; // the backend has PRIMARY; the keys may be sent
        int vazia = 0;                       // 1: the clipboard was empty before, 2: PRIMARY was
    } casos[] = {
        // Names that merely resemble a terminal's are not one.
        {u"firefox"_s, u"Ctrl+V"_s}, {u"terminal-notes"_s, u"Ctrl+V"_s}, {u"xtermx"_s, u"Ctrl+V"_s},
        {u"Gnome-terminal"_s, u"Ctrl+Shift+V"_s}, {u"kitty"_s, u"Ctrl+Shift+V"_s}, {u"gedit"_s, u"Ctrl+Shift+V"_s},
        {u"UXTerm"_s, u"Shift+Insert"_s}, {u"URxvt"_s, u"Shift+Insert"_s}, {u"kate"_s, u"Shift+Insert"_s},
        {u"XTerm"_s, u"Ctrl+V"_s},
        // Shift+Insert without PRIMARY to hold the text would paste the last selection, unless the
        // user chose it (GTK pastes CLIPBOARD with it).
        {u"UXTerm"_s, u"Ctrl+Shift+V"_s, false}, {u"kate"_s, u"Shift+Insert"_s, false},
        // Empty before: the dictated text stays. Without access nothing is saved nor put back.
        {u"UXTerm"_s, u"Shift+Insert"_s, true, true, 1}, {u"UXTerm"_s, u"Shift+Insert"_s, true, true, 2},
        {u"UXTerm"_s, u"Shift+Insert"_s, true, false},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(&c - casos);
        diario.eventos.clear();
        clipboard.restaurado = clipboard.restauradoPrimaria = std::nullopt;
        clipboard.primariaExiste = c.primaria;
        clipboard.conteudo = c.vazia == 1 ? std::nullopt : std::optional(antigo);
        clipboard.conteudoPrimaria = c.vazia == 2 ? std::nullopt : std::optional(sel);
        janelas.acesso = c.acesso;
        janelas.frente = app(0x100, c.classe, 77);
        auto s = servico();
        inserir(s, u"ls -la"_s);
        const bool usa = c.tecla == u"Shift+Insert"_s && c.primaria;
        const bool restauraPrimaria = usa && c.acesso && c.vazia != 2;
        EXPECT_EQ(clipboard.restauradoPrimaria, restauraPrimaria ? std::optional(sel) : std::nullopt);
        EXPECT_EQ(clipboard.restaurado, c.acesso && c.vazia != 1 ? std::optional(antigo) : std::nullopt);
        EXPECT_EQ(diario.eventos.contains(u"instantaneo PRIMARY"_s), usa && c.acesso);
        // Written before the keys, put back only after the target's read.
        const qsizetype colar = diario.eventos.indexOf(u"colar "_s + c.tecla);
        const qsizetype escrita = diario.eventos.indexOf(u"escrever PRIMARY 'ls -la' transitorio=%1"_s.arg(c.acesso));
        const qsizetype leitura = diario.eventos.indexOf(QRegularExpression(u"aguardarLeitura .*"_s));
        EXPECT_TRUE(colar >= 0 && (usa ? escrita >= 0 && escrita < colar : escrita < 0));
        EXPECT_EQ(leitura >= 0 && leitura < diario.eventos.indexOf(QRegularExpression(u"restaurar PRIMARY .*"_s)),
                  restauraPrimaria);
    }
}

TEST_F(ServicoInsercao, QuandoORestauroAconteceEQuandoOTextoFica)
{
    const auto antigo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    struct Caso {
        const char* nome;
        bool acesso;
        std::optional<ClipboardSnapshot> conteudo;
        bool lido, enviou;
        bool restaura, esperaLeitura;
    } casos[] = {
        // Without access the text stays for a manual paste: nothing is snapshotted or restored.
        {"sem acesso", false, antigo, true, true, false, false},
        {"clipboard vazio", true, std::nullopt, true, true, false, false},
        {"instantâneo sem itens", true, ClipboardSnapshot{}, true, true, false, false},
        // Only protocol or marker types: the restore writes an empty item.
        {"item vazio", true, ClipboardSnapshot{{{}}}, true, true, true, true},
        {"alvo não leu no prazo", true, antigo, false, true, true, true},
        // No way to send the keys, or the user refused it: the dictation is not lost.
        {"teclas não saíram", true, antigo, true, false, false, false},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        diario.eventos.clear();
        clipboard.restaurado.reset();
        avisos.pedidos.clear();
        janelas.acesso = c.acesso;
        janelas.frente = app(0x100, u"kate"_s, 77);
        clipboard.conteudo = c.conteudo;
        clipboard.lido = c.lido;
        teclas.enviou = c.enviou;
        auto s = servico();
        inserir(s, u"ditado"_s);
        EXPECT_EQ(clipboard.restaurado.has_value(), c.restaura);
        if (c.restaura) {
            EXPECT_EQ(*clipboard.restaurado, *c.conteudo);
        }
        EXPECT_EQ(!diario.eventos.filter(u"aguardarLeitura"_s).isEmpty(), c.esperaLeitura);
        EXPECT_EQ(clipboard.transitorio, c.acesso) << "only a text that will be replaced carries the manager hint";
        if (!c.restaura) {
            EXPECT_EQ(clipboard.texto, u"ditado"_s);
        }
        EXPECT_EQ(avisos.pedidos.size(), c.enviou ? 0 : 1);
        if (!c.enviou) {
            EXPECT_EQ(avisos.pedidos.value(0).titulo, u"Texto copiado — cole com Ctrl+V"_s);
        }
    }
    EXPECT_EQ(buffer.entradas().size(), std::size(casos));
}

TEST_F(ServicoInsercao, EsperasConfiguradasEAPadraoQueNaoBloqueia)
{
    janelas.frente = app(0x100, u"kate"_s, 77);
    clipboard.conteudo = ClipboardSnapshot{{{par("text/plain", "antigo")}}};
    InsertionService::Esperas e = padrao();
    e.aposColar = 300ms;
    e.leituraMax = 250ms; // never a negative wait
    auto s = servico(e);
    inserir(s, u"ditado"_s);
    EXPECT_TRUE(diario.eventos.contains(u"esperar 300"_s));
    EXPECT_TRUE(diario.eventos.contains(u"aguardarLeitura 0"_s));

    // Without an injected sleep the service uses a timer: the event loop keeps running meanwhile.
    InsertionService::Esperas real;
    real.aposColar = 30ms;
    auto s2 = servico(real);
    bool tickou = false;
    QTimer::singleShot(5, [&] { tickou = true; });
    inserir(s2, u"ditado"_s);
    EXPECT_TRUE(tickou);
}

TEST_F(ServicoInsercao, BufferGuardaOQueFoiInseridoParaOTier2)
{
    janelas.frente = app(0x100, u"kate"_s, 77);
    auto s = servico();
    inserir(s, u"  \n"_s);
    EXPECT_TRUE(buffer.entradas().isEmpty());
    EXPECT_TRUE(s.sugerirCorrecaoFuzzy(u"Kubernetis"_s).isEmpty());
    inserir(s, u"Kubernetes no cluster"_s);
    inserir(s, u"o kubernetes caiu"_s);
    EXPECT_EQ(s.sugerirCorrecaoFuzzy(u"o Kubernetis voltou"_s), (QList<SugestaoFuzzy>{{u"Kubernetis"_s, u"kubernetes"_s, 1, 2}}));
}
