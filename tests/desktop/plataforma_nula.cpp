// A session without a desktop (SONVO_PLATAFORMA=nula): every service inert, and an insertion over
// them still ends, leaves the text on the in-memory clipboard and records it. No display needed.
#include "dictation/InsertBuffer.h"
#include "dictation/InsertionService.h"
#include "platform/Plataforma.h"

#include <QCoreApplication>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace std::chrono_literals;

TEST(PlataformaNula, ServicosInertesEAInsercaoDeixaOTextoNoClipboard)
{
    Plataforma p = criarPlataformaNula();
    ASSERT_TRUE(p.audio && p.clipboard && p.teclas && p.janelas && p.som);
    EXPECT_FALSE(p.janelas->acessoConcedido());
    EXPECT_FALSE(p.janelas->daFrente());
    EXPECT_TRUE(p.janelas->normaisEmOrdem().isEmpty());
    EXPECT_FALSE(QCoro::waitFor(p.teclas->colar(TeclaColar::ctrlV)));
    EXPECT_FALSE(p.clipboard->instantaneo(Selecao::clipboard));
    EXPECT_TRUE(p.audio->iniciar([](const float*, unsigned long) {}).has_value()); // why there is no input
    p.som->tocarConclusao();

    InsertBuffer buffer;
    InsertionService::Esperas esperas;
    esperas.aposColar = 1ms;
    InsertionService s(*p.clipboard, *p.janelas, *p.teclas, buffer, QCoreApplication::applicationPid(), esperas);
    QCoro::waitFor(s.inserir(QStringLiteral("sem desktop")));
    // Nothing to paste into: the text stays on the clipboard for a manual paste.
    EXPECT_EQ(p.clipboard->instantaneo(Selecao::clipboard), (ClipboardSnapshot{{{{QStringLiteral("text/plain"), QByteArray("sem desktop")}}}}));
    EXPECT_EQ(buffer.entradas().size(), 1);
}

int main(int argc, char** argv)
{
    ::testing::InitGoogleTest(&argc, argv);
    QCoreApplication app(argc, argv);
    return RUN_ALL_TESTS();
}
