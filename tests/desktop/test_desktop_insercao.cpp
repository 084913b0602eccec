// Insertion on a real X server (run through desktop.sh): another client owns the clipboard,
// another client's text widget receives the paste, a third process (xclip) checks the clipboard.
#include "ApoioDesktop.h"

#include "dictation/InsertBuffer.h"
#include "dictation/InsertionService.h"
#include "platform/Plataforma.h"
#include "platform/x11/AreaTransferenciaX11.h"

#include <QCoroTask>
#include <QPlainTextEdit>
#include <QTemporaryDir>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;
using namespace std::chrono_literals;

namespace {

class Colagem : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_TRUE(dynamic_cast<x11::AreaTransferenciaX11*>(p.clipboard.get())); }
    void TearDown() override { soltarTeclas(); }

    QString caminho(const QString& nome) const { return dir.filePath(nome); }
    std::unique_ptr<Auxiliar> alvo(const QString& nome, const QStringList& extra = {}) { return abrirAlvo(caminho(nome), extra); }
    // Runs the insertion with the event loop turning, bounded: a hang fails instead of blocking.
    bool inserir(const QString& texto)
    {
        bool acabou = false;
        // Arguments, not captures: the coroutine outlives the lambda object.
        auto tarefa = [](InsertionService& s, QString t, bool& fim) -> QCoro::Task<> {
            co_await s.inserir(std::move(t));
            fim = true;
        }(servico, texto, acabou);
        return girarAte([&] { return acabou; }, 15000);
    }
    bool colado(const QString& nome, const QString& texto)
    {
        return girarAte([&] { return lerArquivo(caminho(nome)) == texto.toUtf8(); });
    }

    QTemporaryDir dir;
    Plataforma p = criarPlataformaDesktop();
    InsertBuffer buffer;
    InsertionService servico{*p.clipboard, *p.janelas, *p.teclas, buffer, QCoreApplication::applicationPid()};
    const ClipboardDoUsuario usuario;
};

} // namespace

TEST_F(Colagem, ColaEmCadaTipoDeAlvoEDevolveOClipboardDepoisDaLeituraMesmoComDonoMudo)
{
    struct Caso {
        QString nome;
        QStringList extra;
        QByteArray tecla;
        bool segurando = false; // the user still holds the hotkey's modifiers when the dictation ends
        bool donoMudo = false;  // the clipboard's owner never answers: nothing to restore, and no hang
    };
    const Caso casos[] = {
        // Fetches the clipboard well after the fixed 200 ms wait: the restore must wait for it, or
        // the user's old contents would be pasted.
        {"lento", {"--atraso"_t, "600"_t}, "Ctrl+V"},
        {"terminal", {"--classe"_t, "kitty"_t, "--terminal"_t}, "Ctrl+Shift+V"}, // Ctrl+V would type a control character there
        {"segurando", {}, "Ctrl+V", true},
        {"mudo", {}, "Ctrl+V", false, true},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome.toStdString());
        auto dono = c.donoMudo ? std::make_unique<Auxiliar>(QStringLiteral(SONVO_DONO_CLIPBOARD), QStringList{"--mudo"_t}) : usuario.servir(dir.path());
        ASSERT_TRUE(dono->pronto());
        auto a = alvo(c.nome, c.extra);
        if (c.segurando) {
            ASSERT_TRUE(xdotool({"keydown"_t, "super+shift"_t}));
        }
        const QString ditado = "Olá, mundo! Ação às 10h (%1)"_t.arg(c.nome);
    ASSERT_TRUE(inserir(ditado)) << "the insertion hung";
        EXPECT_TRUE(colado(c.nome, ditado)) << lerArquivo(caminho(c.nome)).constData();
        const QByteArray teclas = lerArquivo(caminho(c.nome + ".teclas"_t));
        EXPECT_TRUE(teclas.startsWith(c.tecla + ' ') && teclas.trimmed().endsWith("dica=secret")) << teclas.constData();
        soltarTeclas();
        dono.reset(); // only the restore can answer now
        if (c.donoMudo)
            EXPECT_EQ(lerClipboard("text/plain"_t), ditado.toUtf8()); // nothing could be read, so the dictated text stays
        else
            usuario.conferir();
    }
}

TEST_F(Colagem, ComOSonvoNaFrenteColaNaPrimeiraJanelaNormalDeOutroApp)
{
    auto primeira = alvo("primeira"_t, {"--classe"_t, "Primeira"_t});
    auto segunda = alvo("segunda"_t, {"--classe"_t, "Segunda"_t});
    // A window of this process stands for Sonvo's own panel, in front.
    QPlainTextEdit propria;
    propria.show();
    ASSERT_TRUE(girarAte([&] {
        for (const AppJanela& j : p.janelas->normaisEmOrdem())
            if (j.pid == QCoreApplication::applicationPid())
                return aguardar(p.janelas->ativar(j, 3000ms));
        return false;
    }));
    ASSERT_TRUE(inserir("para a primeira"_t));
    // The first normal window in the window manager's order, not the most recently active one.
    EXPECT_TRUE(colado("primeira"_t, "para a primeira"_t));
    EXPECT_EQ(lerArquivo(caminho("segunda"_t)), QByteArray());
    EXPECT_EQ(propria.toPlainText(), QString());
}

TEST_F(Colagem, ConteudoGrandeVaiEVoltaEmTransferenciaIncremental)
{
    // xclip sends anything above about a megabyte in INCR chunks; Qt serves it back the same way.
    QByteArray grande(3 * 1024 * 1024 + 17, '\0');
    for (qsizetype i = 0; i < grande.size(); ++i)
        grande[i] = static_cast<char>((i * 31 + i / 251) % 256);
    ASSERT_TRUE(gravarArquivo(caminho("grande"_t), grande));
    QProcess xclip;
    xclip.start("xclip"_t, {"-selection"_t, "clipboard"_t, "-t"_t, "image/png"_t, "-i"_t, caminho("grande"_t)});
    std::optional<ClipboardSnapshot> s;
    ASSERT_TRUE(girarAte([&] { return (s = p.clipboard->instantaneo(Selecao::clipboard)) && s->items.first().size() == 1; }));
    EXPECT_EQ(s->items.first().first().type, "image/png"_t);
    EXPECT_TRUE(s->items.first().first().data == grande) << "read " << s->items.first().first().data.size() << " bytes";
    p.clipboard->restaurar(*s, Selecao::clipboard);
    girarAte([&] { return xclip.state() == QProcess::NotRunning; }); // xclip leaves once it loses the clipboard
    EXPECT_TRUE(lerClipboard("image/png"_t) == grande);
}

TEST_F(Colagem, SoALeituraDoTextoDitadoContaEOProprioConteudoNaoVaiAoX)
{
    AreaTransferencia& clip = *p.clipboard;
    clip.escreverTexto("ninguém lê"_t, true, Selecao::clipboard);
    EXPECT_FALSE(aguardar(clip.aguardarLeitura(150ms)));
    // A clipboard manager that reads only the markers has not fetched the text.
    EXPECT_EQ(lerClipboard("x-kde-passwordManagerHint"_t), QByteArray("secret"));
    EXPECT_FALSE(aguardar(clip.aguardarLeitura(50ms)));
    EXPECT_EQ(lerClipboard("UTF8_STRING"_t), QByteArray("ninguém lê"));
    EXPECT_TRUE(aguardar(clip.aguardarLeitura(0ms)));
    // Nor does reading what was restored over it.
    clip.escreverTexto("outro"_t, true, Selecao::clipboard);
    const ClipboardSnapshot s{{{{"text/plain"_t, QByteArray("restaurado")}, {"application/x-sonvo"_t, QByteArray("\x00\x01", 2)}}}};
    clip.restaurar(s, Selecao::clipboard);
    EXPECT_EQ(lerClipboard("text/plain"_t), QByteArray("restaurado"));
    EXPECT_FALSE(aguardar(clip.aguardarLeitura(50ms)));
    // Asking ourselves over X would time out (this thread answers): our own contents are kept.
    EXPECT_EQ(clip.instantaneo(Selecao::clipboard), std::optional<ClipboardSnapshot>(s)) << "the restored marker is left out";
}

TEST_F(Colagem, NoXtermChegaPelaSelecaoPrimariaEAsDuasSelecoesVoltamByteAByte)
{
    // What the user last selected, other bytes than the clipboard's.
    const ClipboardDoUsuario selecionado{"ls -la | grep ação\n\xF0\x9F\x99\x82", "<b>sele\xC3\xA7\xC3\xA3o</b>\x01",
                                         ClipboardDoUsuario::pngDeTeste().left(300), "primary"_t};
    auto donoPrimaria = selecionado.servir(dir.path());
    auto dono = usuario.servir(dir.path());
    // A real xterm running cat without line buffering: what it pastes lands in the file at once
    // (Ctrl+Shift+V would put a control byte there instead).
    QProcess xterm;
    const QString saida = caminho("xterm"_t);
    xterm.start("env"_t, {"LC_ALL=C.UTF-8"_t, "xterm"_t, "-u8"_t, "-e"_t, "sh"_t, "-c"_t, "stty -icanon -echo; : >\"$1.pronto\"; exec cat >\"$1\""_t, "sh"_t, saida});
    ASSERT_TRUE(girarAte([&] {
        const auto f = p.janelas->daFrente();
        return QFile::exists(saida + ".pronto"_t) && f && f->id == "XTerm"_t;
    })) << "xterm did not come to the front";

    const QString ditado = "echo Olá, ação às 10h"_t;
    ASSERT_TRUE(inserir(ditado)) << "the insertion hung";
    EXPECT_TRUE(girarAte([&] { return lerArquivo(saida) == ditado.toUtf8(); })) << lerArquivo(saida).toHex().constData();
    dono.reset();
    donoPrimaria.reset(); // only the restore can answer now
    usuario.conferir();
    selecionado.conferir();
}
