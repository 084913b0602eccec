// Vocabulary suggestions as real notifications: the test desktop's notification server (dunst)
// shows them, and the user's choice in its menu comes back over the session bus.
#include "ApoioDesktop.h"

#include "app/AppDelegate.h"
#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/dbus/NotificacoesDBus.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "support/PilhaDeDitado.h"
#include "vocabulary/VocabularyService.h"

#include <QFile>
#include <QNetworkAccessManager>

#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace sonvo::teste::desktop;

namespace {

void escolherNoDunst(const QString& texto)
{
    QFile f(qEnvironmentVariable("XDG_RUNTIME_DIR") + QStringLiteral("/dunst-escolha"));
    ASSERT_TRUE(f.open(QIODevice::WriteOnly | QIODevice::Truncate));
    f.write(texto.toUtf8());
}

} // namespace

TEST(NotificacoesReais, Tier1DepoisDeTresEdicoesAdicionaAoVocabularioPeloMenuDoServidor)
{
    if (rodar(QStringLiteral("dunstctl"), {QStringLiteral("is-paused")}).codigo != 0)
        GTEST_SKIP() << "sem servidor de notificações (dunst)";
    PilhaDeDitado p;
    auto& [amb, config, rede, audio, insercao, som, pasta, vocab, historico, sm, vm] = p;
    ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    config.registrarPadroes(Configuracoes::padroesDoApp());
    vocab.bootstrapSeNecessario();
    AtalhosNulos atalhos;
    JanelasNulas janelas;
    AreaTransferenciaNula clipboard;
    NotificacoesDBus notificacoes;
    AppDelegate delegate(AppDelegate::Dependencias{config, vm, janelas, clipboard, atalhos, notificacoes, vocab, 1,
                                                   std::chrono::steady_clock::now, nullptr, nullptr, {}, nullptr});
    delegate.configurarNotificacoes();
    ASSERT_TRUE(esperarAte([&] { return amb.lerLog().contains("notification auth granted=1"); }))
        << amb.lerLog().constData();

    // The same one-letter fix, three times: a candidate, announced and shown.
    for (int i = 0; i < 3; ++i)
        vocab.aprenderCorrecao(QStringLiteral("abri o sonvu agora"), QStringLiteral("abri o sonvo agora"), std::nullopt);
    ASSERT_TRUE(esperarAte([&] {
        const auto r = rodar(QStringLiteral("dunstctl"), {QStringLiteral("count"), QStringLiteral("displayed")});
        return r.codigo == 0 && r.saida.trimmed().toInt() >= 1;
    })) << amb.lerLog().constData();

    // The user picks "Adicionar ao vocabulário" in the server's menu.
    escolherNoDunst(QStringLiteral("Adicionar ao vocabulário"));
    ASSERT_EQ(rodar(QStringLiteral("dunstctl"), {QStringLiteral("context")}).codigo, 0);
    ASSERT_TRUE(esperarAte([&] { return amb.lerLog().contains("Vozel [Vocab/Tier1] aprovado e adicionado ao .md: sonvu → sonvo"); }))
        << amb.lerLog().constData();
    EXPECT_EQ(vocab.carregaGlobal().correcoes.value(QStringLiteral("sonvu")), QStringLiteral("sonvo"));
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));
}
