#include "app/Configuracoes.h"
#include "app/Log.h"
#include "app/OperationMode.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "support/PilhaDeDitado.h"
#include "vocabulary/VocabularyService.h"

#include <QElapsedTimer>
#include <QNetworkAccessManager>
#include <QThread>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using Caso = RecordingState::Caso;

namespace {
// Drives a real speech manager through its states without a microphone or a network: a stop
// without a recording fails, a file that does not exist and no key ends unavailable.
struct ViewModel : ::testing::Test, PilhaDeDitado {

    void rodar(int ms)
    {
        QElapsedTimer t;
        t.start();
        while (t.elapsed() < ms) {
            QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
            QThread::msleep(5);
        }
    }
};
} // namespace

TEST(SuavizacaoDoNivel, SobeRapidoDesceDevagar)
{
    float n = RecordingViewModel::suavizar(0.0f, 1.0f);
    EXPECT_FLOAT_EQ(n, 0.7f);
    n = RecordingViewModel::suavizar(n, 0.0f);
    EXPECT_FLOAT_EQ(n, 0.49f);
    n = RecordingViewModel::suavizar(n, 0.0f);
    EXPECT_FLOAT_EQ(n, 0.343f);
    EXPECT_FLOAT_EQ(RecordingViewModel::suavizar(0.5f, 0.5f), 0.5f);
}

TEST_F(ViewModel, ErroVoltaAoRepousoDepoisDeQuatroSegundos)
{
    sm.stopRecording(); // no file: error
    EXPECT_EQ(vm.state().caso, Caso::idle); // mirrored on the next turn of the event loop, never synchronously
    rodar(100);
    EXPECT_EQ(vm.state(), RecordingState::error(QStringLiteral("Arquivo de áudio ausente")));
    rodar(3700);
    EXPECT_EQ(vm.state().caso, Caso::error);
    rodar(500);
    EXPECT_EQ(vm.state().caso, Caso::idle);
    // The speech manager keeps its own state until the next dictation.
    EXPECT_EQ(sm.recordingState().caso, Caso::error);
}

TEST_F(ViewModel, SoOUltimoFimConta)
{
    sm.stopRecording();
    rodar(2000);
    sm.transcreverArquivo(amb.raiz() + QStringLiteral("/nada.wav")); // transcribing, then error
    rodar(100);
    EXPECT_EQ(vm.state().caso, Caso::error);
    EXPECT_EQ(vm.state().mensagem, QStringLiteral("Transcrição indisponível (sem conexão e sem reconhecimento local)"));
    // The first error's timer would have fired by now; the second one's has not.
    rodar(2500);
    EXPECT_EQ(vm.state().caso, Caso::error);
    rodar(1700);
    EXPECT_EQ(vm.state().caso, Caso::idle);
}

TEST_F(ViewModel, TextoEditavelSegueAUltimaTranscricao)
{
    vm.setTextoEditadoAtual(QStringLiteral("editado pelo usuário"));
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("editado pelo usuário"));
    EXPECT_FALSE(vm.ultimaTranscricao().has_value());
}

TEST(ModoDeOperacao, DerivadoDosQuatroInterruptores)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    c.registrarPadroes(Configuracoes::padroesDoApp());
    using M = OperationMode;
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::full);
    auto com = [&](bool a, bool i, bool s, bool sel) {
        c.definir(QStringLiteral("toggleShowActionMenu"), a);
        c.definir(QStringLiteral("toggleShowIntentModal"), i);
        c.definir(QStringLiteral("toggleStreamingInline"), s);
        c.definir(QStringLiteral("toggleSelectionContext"), sel);
        return OperationModes::currentOperationMode(c);
    };
    EXPECT_EQ(com(true, true, false, true), M::minimal);
    EXPECT_EQ(com(true, true, true, false), M::custom);
    EXPECT_EQ(com(false, false, true, false), M::custom);
    EXPECT_EQ(com(false, false, false, false), M::stealth);
    EXPECT_EQ(com(false, true, false, false), M::custom);

    Log::enviarParaArquivo(amb.arquivoLog());
    OperationModes::applyOperationPreset(c, M::custom); // touches no switch
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::custom);
    EXPECT_EQ(c.texto(QStringLiteral("operationMode")), QStringLiteral("custom"));
    OperationModes::applyOperationPreset(c, M::stealth);
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::stealth);
    OperationModes::applyOperationPreset(c, M::minimal);
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::minimal);
    EXPECT_EQ(amb.lerLog(), QByteArray("Vozel [Phase7] applyOperationPreset(custom)\n"
                                       "Vozel [Phase7] applyOperationPreset(stealth)\n"
                                       "Vozel [Phase7] applyOperationPreset(minimal)\n"));
    Log::enviarParaArquivo(QStringLiteral("/dev/null"));
    EXPECT_EQ(OperationModes::descricao(M::stealth),
              QStringLiteral("Paste direto, zero modais — pegada visual mínima, ⌘⇧R e ⌘⇧T fazem a mesma coisa"));
}
