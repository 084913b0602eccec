// The build without a desktop backend (SONVO_PLATFORM=null): every service inert, and an insertion
// over them still ends, leaves the text on the in-memory clipboard and records it. No display needed.
#include "app/Log.h"
#include "capture/InsertBuffer.h"
#include "capture/InsertionService.h"
#include "platform/Plataforma.h"

#include <QCoreApplication>
#include <QFile>
#include <QTemporaryDir>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace std::chrono_literals;

TEST(PlataformaNula, ServicosInertes)
{
    Plataforma p = criarPlataformaDesktop();
    ASSERT_TRUE(p.audio && p.clipboard && p.teclas && p.janelas && p.som);
    EXPECT_FALSE(p.janelas->acessoConcedido());
    EXPECT_FALSE(p.janelas->daFrente());
    EXPECT_TRUE(p.janelas->normaisEmOrdem().isEmpty());
    EXPECT_FALSE(p.teclas->colar(false));
    EXPECT_FALSE(p.clipboard->instantaneo());
    EXPECT_TRUE(p.audio->iniciar([](const float*, unsigned long) {}).has_value()); // why there is no input
    p.som->tocarConclusao();
}

TEST(PlataformaNula, InsercaoDeixaOTextoNoClipboard)
{
    QTemporaryDir dir;
    const QString log = dir.filePath(QStringLiteral("sonvo.log"));
    ASSERT_TRUE(Log::enviarParaArquivo(log));
    Plataforma p = criarPlataformaDesktop();
    InsertBuffer buffer;
    InsertionService::Esperas esperas;
    esperas.aposColar = 1ms;
    InsertionService s(*p.clipboard, *p.janelas, *p.teclas, buffer, QCoreApplication::applicationPid(), esperas);
    QCoro::waitFor(s.inserir(QStringLiteral("sem desktop")));
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));

    const auto conteudo = p.clipboard->instantaneo();
    ASSERT_TRUE(conteudo);
    EXPECT_EQ(*conteudo, (ClipboardSnapshot{{{{QStringLiteral("text/plain"), QByteArray("sem desktop")}}}}));
    QFile f(log);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_EQ(f.readAll(), QByteArray("Vozel [Insert] AXTrusted=0 frontmost=nil texto.count=11\n"
                                      "Vozel [Insert] texto no clipboard\n"
                                      "Vozel [Insert] alvo=nil\n"
                                      "Vozel [Insert] ⌘V postado\n"
                                      "Vozel [Insert] AX=0 — clipboard mantido com texto pra ⌘V manual\n"
                                      "Vozel [Insert] texto registrado em InsertBuffer (Tier 2)\n"));
    ASSERT_EQ(buffer.entradas().size(), 1);
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
