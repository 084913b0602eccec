// Insertion on a real X server (run through desktop.sh): another client owns the clipboard,
// another client's text widget receives the paste, a third process checks the clipboard after.
#include "ApoioDesktop.h"

#include "app/Log.h"
#include "capture/InsertBuffer.h"
#include "capture/InsertionService.h"
#include "platform/Plataforma.h"
#include "platform/x11/AreaTransferenciaX11.h"
#include "platform/x11/ConexaoX11.h"
#include "platform/x11/JanelasX11.h"

#include <QBuffer>
#include <QCoroTask>
#include <QElapsedTimer>
#include <QGuiApplication>
#include <QImage>
#include <QPainter>
#include <QPixmap>
#include <QPlainTextEdit>
#include <QRandomGenerator>
#include <QScreen>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste::desktop;
using namespace std::chrono_literals;

namespace {

const QByteArray kTextoUsuario = QByteArrayLiteral("Texto do usuário\nsegunda linha \xF0\x9F\x99\x82 fim");
const QByteArray kHtmlUsuario = QByteArrayLiteral("<meta charset=\"utf-8\"><b>negrito</b> e <i>ação</i>");

QByteArray pngDeTeste()
{
    QImage img(96, 64, QImage::Format_ARGB32);
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            img.setPixel(x, y, qRgba(x * 2, y * 3, (x * y) % 256, 200));
    QByteArray png;
    QBuffer b(&png);
    b.open(QIODevice::WriteOnly);
    img.save(&b, "PNG");
    return png;
}

template <typename T>
T esperarTarefa(QCoro::Task<T>&& tarefa)
{
    return QCoro::waitFor(std::move(tarefa));
}

class Colagem : public ::testing::Test {
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_dir.isValid());
        ASSERT_TRUE(Log::enviarParaArquivo(m_dir.filePath(QStringLiteral("sonvo.log"))));
        m_plataforma = criarPlataformaDesktop();
        ASSERT_TRUE(dynamic_cast<x11::AreaTransferenciaX11*>(m_plataforma.clipboard.get()))
            << "a plataforma do desktop não tem o clipboard do X11";
        ASSERT_TRUE(dynamic_cast<x11::JanelasX11*>(m_plataforma.janelas.get()));
        m_x = x11::ConexaoX11::abrir();
        ASSERT_TRUE(m_x);
        m_png = pngDeTeste();
        gravar(QStringLiteral("texto"), kTextoUsuario);
        gravar(QStringLiteral("html"), kHtmlUsuario);
        gravar(QStringLiteral("png"), m_png);
    }

    void TearDown() override
    {
        Log::enviarParaArquivo(QStringLiteral("/dev/null"));
        // A test that fails midway must not leave keys held for the next one.
        rodar(QStringLiteral("xdotool"), {QStringLiteral("keyup"), QStringLiteral("super"), QStringLiteral("shift"),
                                          QStringLiteral("ctrl")});
    }

    QString caminho(const QString& nome) const { return m_dir.filePath(nome); }
    void gravar(const QString& nome, const QByteArray& dados)
    {
        QFile f(caminho(nome));
        ASSERT_TRUE(f.open(QIODevice::WriteOnly));
        f.write(dados);
    }

    std::unique_ptr<Auxiliar> donoDoClipboard()
    {
        return std::make_unique<Auxiliar>(QStringLiteral(SONVO_DONO_CLIPBOARD),
                                          QStringList{QStringLiteral("text/plain=") + caminho(QStringLiteral("texto")),
                                                      QStringLiteral("text/html=") + caminho(QStringLiteral("html")),
                                                      QStringLiteral("image/png=") + caminho(QStringLiteral("png"))});
    }

    // A text widget of another client, in front once this returns.
    std::unique_ptr<Auxiliar> alvo(const QString& nome, QStringList extra = {})
    {
        extra << QStringLiteral("--saida") << caminho(nome);
        auto a = std::make_unique<Auxiliar>(QStringLiteral(SONVO_ALVO_TEXTO), extra);
        EXPECT_TRUE(a->pronto()) << a->erros().toStdString();
        const qint64 pid = a->pid();
        EXPECT_TRUE(esperarAte([&] {
            const auto f = m_plataforma.janelas->daFrente();
            return f && f->pid == pid;
        })) << "a janela do alvo não ficou na frente";
        return a;
    }

    std::optional<AppJanela> janelaDe(qint64 pid)
    {
        for (const AppJanela& j : m_plataforma.janelas->normaisEmOrdem())
            if (j.pid == pid)
                return j;
        return std::nullopt;
    }

    // A window of this process, which stands for Sonvo's own panels, brought to the front.
    std::unique_ptr<QPlainTextEdit> janelaPropriaNaFrente()
    {
        auto w = std::make_unique<QPlainTextEdit>();
        w->setWindowTitle(QStringLiteral("Painel do Sonvo"));
        w->resize(300, 120);
        w->show();
        const qint64 pid = QCoreApplication::applicationPid();
        EXPECT_TRUE(esperarAte([&] { return janelaDe(pid).has_value(); }));
        if (const auto j = janelaDe(pid)) {
            EXPECT_TRUE(esperarTarefa(m_plataforma.janelas->ativar(*j, 3000ms)));
        }
        return w;
    }

    InsertionService servico()
    {
        return InsertionService(*m_plataforma.clipboard, *m_plataforma.janelas, *m_plataforma.teclas, m_buffer,
                                QCoreApplication::applicationPid());
    }

    // Runs the insertion with the event loop turning, bounded: a hang fails instead of blocking.
    bool inserir(InsertionService& s, const QString& texto, int prazoMs = 15000)
    {
        bool acabou = false;
        // Arguments, not captures: the coroutine outlives the lambda object.
        auto tarefa = [](InsertionService& servico, QString t, bool& fim) -> QCoro::Task<> {
            co_await servico.inserir(std::move(t));
            fim = true;
        }(s, texto, acabou);
        return esperarAte([&] { return acabou; }, prazoMs);
    }

    QStringList log() const
    {
        QStringList l = QString::fromUtf8(lerArquivo(m_dir.filePath(QStringLiteral("sonvo.log")))).split(u'\n');
        l.removeAll(QString());
        return l;
    }

    void esperarClipboardOriginal()
    {
        EXPECT_EQ(lerClipboard(QStringLiteral("text/plain")), kTextoUsuario);
        EXPECT_EQ(lerClipboard(QStringLiteral("UTF8_STRING")), kTextoUsuario);
        EXPECT_EQ(lerClipboard(QStringLiteral("text/html")), kHtmlUsuario);
        EXPECT_EQ(lerClipboard(QStringLiteral("image/png")), m_png);
    }

    QTemporaryDir m_dir;
    Plataforma m_plataforma;
    std::shared_ptr<x11::ConexaoX11> m_x;
    InsertBuffer m_buffer;
    QByteArray m_png;
};

} // namespace

TEST_F(Colagem, InstantaneoGuardaCadaFormatoDeOutroCliente)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    const auto s = m_plataforma.clipboard->instantaneo();
    ASSERT_TRUE(s);
    ASSERT_EQ(s->items.size(), 1);
    QStringList tipos;
    for (const auto& par : s->items.first())
        tipos << par.type;
    // Qt's owner also lists TARGETS, MULTIPLE, TIMESTAMP, SAVE_TARGETS and the legacy text names.
    EXPECT_EQ(tipos, (QStringList{"text/plain", "text/html", "image/png"}));
    for (const auto& par : s->items.first()) {
        const QByteArray esperado = par.type == QLatin1String("text/plain")  ? kTextoUsuario
                                    : par.type == QLatin1String("text/html") ? kHtmlUsuario
                                                                             : m_png;
        EXPECT_EQ(par.data, esperado) << par.type.toStdString();
    }
}

TEST_F(Colagem, ColaNoWidgetDeOutroClienteERestauraOClipboardByteAByte)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto a = alvo(QStringLiteral("alvo"));
    auto s = servico();
    const QString ditado = QStringLiteral("Olá, mundo! Ação e coração às 10h.");
    ASSERT_TRUE(inserir(s, ditado));

    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("alvo"))) == ditado.toUtf8(); }));
    EXPECT_EQ(QString::fromUtf8(lerArquivo(caminho(QStringLiteral("alvo")))), ditado);
    // At the keystroke the target saw the dictated text marked for clipboard managers.
    const QStringList tecla = QString::fromUtf8(lerArquivo(caminho(QStringLiteral("alvo.teclas")))).trimmed().split(u' ');
    ASSERT_GE(tecla.size(), 5) << tecla.join(u' ').toStdString();
    EXPECT_EQ(tecla.first(), QStringLiteral("Ctrl+V"));
    EXPECT_EQ(tecla.last(), QStringLiteral("dica=secret"));
    for (const char* tipo : {"org.nspasteboard.TransientType", "x-kde-passwordManagerHint", "text/plain"})
        EXPECT_TRUE(tecla.contains(QLatin1String(tipo))) << tipo;

    QPixmap tela = QGuiApplication::primaryScreen()->grabWindow(0);
    EXPECT_TRUE(tela.save(QStringLiteral(SONVO_ARTEFATOS "/area-de-trabalho.png")));

    // The owner that set the clipboard is gone: only the restore can answer now.
    dono.reset();
    esperarClipboardOriginal();
    const QStringList alvos = alvosDoClipboard();
    EXPECT_TRUE(alvos.contains(QStringLiteral("org.nspasteboard.RestoredType"))) << alvos.join(' ').toStdString();
    EXPECT_FALSE(alvos.contains(QStringLiteral("org.nspasteboard.TransientType")));
    EXPECT_FALSE(alvos.contains(QStringLiteral("x-kde-passwordManagerHint")));

    EXPECT_EQ(log(), (QStringList{"Vozel [Insert] AXTrusted=1 frontmost=Sonvo-alvo texto.count=34",
                                  "Vozel [Insert] texto no clipboard", "Vozel [Insert] alvo=Sonvo-alvo",
                                  "Vozel [Insert] ⌘V postado", "Vozel [Insert] clipboard restaurado",
                                  "Vozel [Insert] texto registrado em InsertBuffer (Tier 2)"}));
    ASSERT_EQ(m_buffer.entradas().size(), 1);
    EXPECT_EQ(m_buffer.entradas().first().texto, ditado);
}

TEST_F(Colagem, AlvoLentoAindaColaOTextoDitadoENaoOClipboardAntigo)
{
    // The target fetches the clipboard well after the fixed 200 ms wait: the restore must wait for
    // it, or it would paste the user's old contents.
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto a = alvo(QStringLiteral("lento"), {QStringLiteral("--atraso"), QStringLiteral("600")});
    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("texto ditado")));
    EXPECT_TRUE(esperarAte([&] { return !lerArquivo(caminho(QStringLiteral("lento"))).isEmpty(); }));
    EXPECT_EQ(QString::fromUtf8(lerArquivo(caminho(QStringLiteral("lento")))), QStringLiteral("texto ditado"));
    dono.reset();
    esperarClipboardOriginal();
}

TEST_F(Colagem, SonvoNaFrenteColaNaPrimeiraJanelaNormalDeOutroApp)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto primeira = alvo(QStringLiteral("primeira"), {QStringLiteral("--classe"), QStringLiteral("Primeira")});
    auto segunda = alvo(QStringLiteral("segunda"), {QStringLiteral("--classe"), QStringLiteral("Segunda")});
    auto propria = janelaPropriaNaFrente();
    ASSERT_EQ(m_plataforma.janelas->daFrente()->pid, QCoreApplication::applicationPid());

    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("para a primeira")));
    // The first normal window in the window manager's order, not the most recently active one.
    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("primeira"))) == "para a primeira"; }));
    EXPECT_EQ(lerArquivo(caminho(QStringLiteral("segunda"))), QByteArray());
    EXPECT_EQ(propria->toPlainText(), QString());
    EXPECT_EQ(m_plataforma.janelas->daFrente()->pid, primeira->pid());
    const QStringList l = log();
    ASSERT_GE(l.size(), 3);
    EXPECT_EQ(l[0], QStringLiteral("Vozel [Insert] AXTrusted=1 frontmost=Sonvo texto.count=15"));
    EXPECT_EQ(l[2], QStringLiteral("Vozel [Insert] alvo=Primeira"));
    dono.reset();
    esperarClipboardOriginal();
}

TEST_F(Colagem, TerminalRecebeCtrlShiftV)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto a = alvo(QStringLiteral("terminal"),
                  {QStringLiteral("--classe"), QStringLiteral("kitty"), QStringLiteral("--terminal")});
    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("git status")));
    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("terminal"))) == "git status"; }));
    EXPECT_EQ(lerArquivo(caminho(QStringLiteral("terminal"))), QByteArray("git status"));
    EXPECT_TRUE(lerArquivo(caminho(QStringLiteral("terminal.teclas"))).startsWith("Ctrl+Shift+V "));
    dono.reset();
    esperarClipboardOriginal();
}

TEST_F(Colagem, SuperShiftAindaPresosSaoSoltosAntesDaColagem)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto a = alvo(QStringLiteral("alvo"));
    // The user still holds the hotkey's modifiers when the dictation ends.
    ASSERT_EQ(rodar(QStringLiteral("xdotool"), {QStringLiteral("keydown"), QStringLiteral("super+shift")}).codigo, 0);
    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("com modificadores")));
    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("alvo"))) == "com modificadores"; }));
    EXPECT_EQ(lerArquivo(caminho(QStringLiteral("alvo"))), QByteArray("com modificadores"));
    dono.reset();
    esperarClipboardOriginal();
}

TEST_F(Colagem, DonoDoClipboardQueNuncaRespondeNaoTravaADitado)
{
    Auxiliar mudo(QStringLiteral(SONVO_DONO_CLIPBOARD), {QStringLiteral("--mudo")});
    ASSERT_TRUE(mudo.pronto());
    auto a = alvo(QStringLiteral("alvo"));
    auto s = servico();
    QElapsedTimer t;
    t.start();
    ASSERT_TRUE(inserir(s, QStringLiteral("apesar do dono mudo"))) << "a inserção travou";
    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("alvo"))) == "apesar do dono mudo"; }));
    // Nothing could be read from the owner, so nothing is restored: the dictated text stays.
    EXPECT_EQ(lerClipboard(QStringLiteral("text/plain")), QByteArray("apesar do dono mudo"));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Insert] clipboard restaurado")));
    EXPECT_EQ(m_buffer.entradas().size(), 1);
}

TEST_F(Colagem, AlvoQueFechaAntesDaColagemNaoTravaEORestauraOClipboard)
{
    auto dono = donoDoClipboard();
    ASSERT_TRUE(dono->pronto());
    auto a = alvo(QStringLiteral("fecha"), {QStringLiteral("--classe"), QStringLiteral("Fecha"),
                                            QStringLiteral("--fechar-ao-reativar")});
    auto propria = janelaPropriaNaFrente();
    ASSERT_TRUE(esperarAte([&] { return QFile::exists(caminho(QStringLiteral("fecha.desativado"))); }));
    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("sem destino"))) << "a inserção travou";
    EXPECT_TRUE(esperarAte([&] { return !a->rodando(); })) << "o alvo deveria ter fechado ao ser ativado";
    EXPECT_EQ(lerArquivo(caminho(QStringLiteral("fecha"))), QByteArray());
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Insert] alvo=Fecha")));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Insert] clipboard restaurado")));
    dono.reset();
    esperarClipboardOriginal();
}

TEST_F(Colagem, ClipboardVazioFicaComOTextoDitado)
{
    // Nobody owns the clipboard.
    xcb_set_selection_owner(m_x->conexao(), XCB_NONE, m_x->atomo("CLIPBOARD"), XCB_CURRENT_TIME);
    xcb_flush(m_x->conexao());
    ASSERT_TRUE(esperarAte([&] { return !m_plataforma.clipboard->instantaneo(); }));
    auto a = alvo(QStringLiteral("alvo"));
    auto s = servico();
    ASSERT_TRUE(inserir(s, QStringLiteral("fica no clipboard")));
    EXPECT_TRUE(esperarAte([&] { return lerArquivo(caminho(QStringLiteral("alvo"))) == "fica no clipboard"; }));
    EXPECT_EQ(lerClipboard(QStringLiteral("text/plain")), QByteArray("fica no clipboard"));
}

TEST_F(Colagem, ConteudoGrandeEmTransferenciaIncremental)
{
    // xclip sends anything above about a megabyte in INCR chunks; Qt serves it back the same way.
    QByteArray grande(3 * 1024 * 1024 + 17, '\0');
    QRandomGenerator gerador(7);
    for (char& c : grande)
        c = static_cast<char>(gerador.bounded(256));
    gravar(QStringLiteral("grande"), grande);
    QProcess xclip;
    xclip.start(QStringLiteral("xclip"), {QStringLiteral("-selection"), QStringLiteral("clipboard"), QStringLiteral("-t"),
                                          QStringLiteral("image/png"), QStringLiteral("-i"), caminho(QStringLiteral("grande"))});
    ASSERT_TRUE(xclip.waitForStarted());
    ASSERT_TRUE(esperarAte([&] {
        const auto s = m_plataforma.clipboard->instantaneo();
        return s && s->items.first().size() == 1;
    }));
    const auto s = m_plataforma.clipboard->instantaneo();
    ASSERT_TRUE(s);
    QStringList tipos;
    for (const auto& par : s->items.first())
        tipos << par.type;
    ASSERT_EQ(tipos, QStringList{QStringLiteral("image/png")});
    EXPECT_TRUE(s->items.first().first().data == grande) << "tamanho lido: " << s->items.first().first().data.size();

    m_plataforma.clipboard->restaurar(*s);
    esperarAte([&] { return xclip.state() == QProcess::NotRunning; }); // xclip leaves once it loses the clipboard
    EXPECT_TRUE(lerClipboard(QStringLiteral("image/png")) == grande);
}

TEST_F(Colagem, AguardarLeituraSoContaOTextoLidoPorOutroCliente)
{
    auto& clip = *m_plataforma.clipboard;
    clip.escreverTexto(QStringLiteral("ninguém lê"), true);
    EXPECT_FALSE(esperarTarefa(clip.aguardarLeitura(150ms)));
    // Reading only the markers is not fetching the text.
    EXPECT_EQ(lerClipboard(QStringLiteral("x-kde-passwordManagerHint")), QByteArray("secret"));
    EXPECT_FALSE(esperarTarefa(clip.aguardarLeitura(50ms)));
    EXPECT_EQ(lerClipboard(QStringLiteral("UTF8_STRING")), QByteArray("ninguém lê"));
    EXPECT_TRUE(esperarTarefa(clip.aguardarLeitura(0ms)));

    clip.escreverTexto(QStringLiteral("outro"), true);
    clip.restaurar(ClipboardSnapshot{{{{QStringLiteral("text/plain"), QByteArray("restaurado")}}}});
    EXPECT_EQ(lerClipboard(QStringLiteral("text/plain")), QByteArray("restaurado"));
    EXPECT_FALSE(esperarTarefa(clip.aguardarLeitura(50ms))) << "ler o conteúdo restaurado não é ler o texto";
}

TEST_F(Colagem, InstantaneoDoProprioClipboardNaoFazIdaEVoltaAoX)
{
    auto& clip = *m_plataforma.clipboard;
    const ClipboardSnapshot s{{{{QStringLiteral("text/plain"), QByteArray("meu")},
                                {QStringLiteral("application/x-sonvo"), QByteArray("\x00\x01", 2)}}}};
    clip.restaurar(s);
    // Asking ourselves over X would time out (this thread answers), giving nothing.
    const auto lido = clip.instantaneo();
    ASSERT_TRUE(lido);
    EXPECT_EQ(*lido, s); // the restored marker is left out
}

TEST(Janelas, FatosDasJanelasEAtivacao)
{
    QTemporaryDir dir;
    Plataforma p = criarPlataformaDesktop();
    auto& janelas = *p.janelas;
    EXPECT_TRUE(janelas.acessoConcedido());
    Auxiliar a(QStringLiteral(SONVO_ALVO_TEXTO),
               {QStringLiteral("--saida"), dir.filePath(QStringLiteral("a")), QStringLiteral("--classe"), QStringLiteral("Um")});
    ASSERT_TRUE(esperarAte([&] { auto f = janelas.daFrente(); return f && f->pid == a.pid(); }));
    auto b = std::make_unique<Auxiliar>(
        QStringLiteral(SONVO_ALVO_TEXTO),
        QStringList{QStringLiteral("--saida"), dir.filePath(QStringLiteral("b")), QStringLiteral("--classe"), QStringLiteral("Dois")});
    const qint64 pidB = b->pid();
    ASSERT_TRUE(esperarAte([&] { auto f = janelas.daFrente(); return f && f->pid == pidB; }));

    const auto frente = janelas.daFrente();
    ASSERT_TRUE(frente);
    EXPECT_EQ(frente->id, QStringLiteral("Dois"));

    QList<AppJanela> nossas;
    for (const AppJanela& j : janelas.normaisEmOrdem())
        if (j.pid == a.pid() || j.pid == pidB)
            nossas << j;
    ASSERT_EQ(nossas.size(), 2);
    EXPECT_EQ(nossas[0].id, QStringLiteral("Um"));
    EXPECT_EQ(nossas[1], *frente);

    EXPECT_TRUE(esperarTarefa(janelas.ativar(nossas[0], 3000ms)));
    EXPECT_EQ(janelas.daFrente()->id, QStringLiteral("Um"));
    EXPECT_TRUE(esperarTarefa(janelas.ativar(nossas[0], 0ms))) << "já na frente";

    // A window that no longer exists: false at once, not after the whole limit.
    AppJanela sumida = nossas[1];
    b.reset();
    ASSERT_TRUE(esperarAte([&] { return !janelas.normaisEmOrdem().contains(sumida); }));
    QElapsedTimer t;
    t.start();
    EXPECT_FALSE(esperarTarefa(janelas.ativar(sumida, 10000ms)));
    EXPECT_LT(t.elapsed(), 5000);
}

TEST(Som, CampainhaQuandoOTemaDeSomNaoToca)
{
    Campainha campainha;
    ASSERT_TRUE(campainha.pronta());
    qputenv("CANBERRA_DRIVER", "nenhum-driver");
    {
        Plataforma p = criarPlataformaDesktop();
        p.som->tocarConclusao();
        EXPECT_TRUE(esperarAte([&] { return campainha.tocou(); }, 5000))
            << "sem driver de som, a campainha do X deveria tocar";
    }
    qunsetenv("CANBERRA_DRIVER");
}
