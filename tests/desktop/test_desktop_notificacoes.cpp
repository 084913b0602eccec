// Vocabulary suggestions as real notifications: the test desktop's notification server (dunst)
// shows them, and the user's choice in its menu comes back over the session bus.
#include "ApoioDesktop.h"

#include "core/Configuracoes.h"
#include "core/Log.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/dbus/NotificacoesDBus.h"
#include "platform/null/PlataformaNula.h"
#include "shell/AppDelegate.h"
#include "shell/RecordingViewModel.h"
#include "support/PilhaDeDitado.h"
#include "vocabulary/VocabularyService.h"

#include <QNetworkAccessManager>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

TEST(NotificacoesReais, Tier1DepoisDeTresEdicoesAdicionaAoVocabularioPeloMenuDoServidor)
{
    if (rodar("dunstctl"_t, {"is-paused"_t}).codigo != 0)
        GTEST_SKIP() << "sem servidor de notificações (dunst)";
    PilhaDeDitado p;
    auto& [amb, config, rede, audio, insercao, som, pasta, vocab, historico, sm, vm] = p;
    ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    config.registrarPadroes(Configuracoes::padroesDoApp());
    vocab.documento().bootstrapSeNecessario();
    AtalhosNulos atalhos;
    JanelasNulas janelas;
    AreaTransferenciaNula clipboard;
    NotificacoesDBus notificacoes;
    AppDelegate delegate(AppDelegate::Dependencias{config, vm, janelas, clipboard, atalhos, notificacoes, vocab, 1,
                                                   std::chrono::steady_clock::now, nullptr, nullptr, {}, nullptr});
    delegate.sugestoes().configurarNotificacoes();
    ASSERT_TRUE(girarAte([&] { return amb.lerLog().contains("notification auth granted=1"); })) << amb.lerLog().constData();

    // The same one-letter fix, three times: a candidate, announced and shown.
    for (int i = 0; i < 3; ++i)
        vocab.aprendizado().aprenderCorrecao("abri o sonvu agora"_t, "abri o sonvo agora"_t, std::nullopt);
    ASSERT_TRUE(girarAte([&] {
        const auto r = rodar("dunstctl"_t, {"count"_t, "displayed"_t});
        return r.codigo == 0 && r.saida.trimmed().toInt() >= 1;
    })) << amb.lerLog().constData();

    // The user picks "Adicionar ao vocabulário" in the server's menu (desktop.sh's chooser answers
    // the line holding the text in dunst-escolha).
    ASSERT_TRUE(gravarArquivo(qEnvironmentVariable("XDG_RUNTIME_DIR") + "/dunst-escolha"_t, "Adicionar ao vocabulário"));
    ASSERT_EQ(rodar("dunstctl"_t, {"context"_t}).codigo, 0);
    EXPECT_TRUE(girarAte([&] { return vocab.documento().carregar().correcoes.value("sonvu"_t) == u"sonvo"; })) << amb.lerLog().constData();
    Log::enviarParaArquivo("/dev/null"_t);
}
