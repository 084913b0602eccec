#include "core/Configuracoes.h"
#include "core/Log.h"
#include "shell/OperationMode.h"
#include "shell/RecordingViewModel.h"
#include "support/PilhaDeDitado.h"
#include "support/Utilitarios.h"

#include <gtest/gtest.h>

using namespace Qt::StringLiterals;

using namespace sonvo;
using namespace sonvo::teste;
using Caso = RecordingState::Caso;

// Drives a real speech manager through its states without a microphone or a network: a stop
// without a recording fails, a file that does not exist and no key ends unavailable.
struct ViewModel : ::testing::Test, PilhaDeDitado {};

TEST_F(ViewModel, ErroVoltaAoRepousoQuatroSegundosDepoisDoUltimoFim)
{
    sm.stopRecording(); // no file: error
    EXPECT_EQ(vm.state().caso, Caso::idle); // mirrored on the next turn of the event loop, never synchronously
    girarPor(100);
    EXPECT_EQ(vm.state(), RecordingState::error(u"Arquivo de áudio ausente"_s));
    girarPor(1900);
    sm.transcreverArquivo(amb.raiz() + u"/nada.wav"_s); // transcribing, then error
    girarPor(100);
    EXPECT_EQ(vm.state().mensagem, u"Transcrição indisponível (sem conexão e sem reconhecimento local)"_s);
    girarPor(2500); // the first error's four seconds have passed, the second one's have not
    EXPECT_EQ(vm.state().caso, Caso::error);
    girarPor(1700);
    EXPECT_EQ(vm.state().caso, Caso::idle);
    EXPECT_EQ(sm.recordingState().caso, Caso::error) << "the speech manager keeps its own state";
}

TEST(ModoDeOperacao, DerivadoDosQuatroInterruptores)
{
    AmbienteTemporario amb;
    Configuracoes c(amb.arquivoConfig());
    c.registrarPadroes(Configuracoes::padroesDoApp());
    using M = OperationMode;
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::full);
    auto com = [&](bool a, bool i, bool s, bool sel) {
        c.definir(u"toggleShowActionMenu"_s, a);
        c.definir(u"toggleShowIntentModal"_s, i);
        c.definir(u"toggleStreamingInline"_s, s);
        c.definir(u"toggleSelectionContext"_s, sel);
        return OperationModes::currentOperationMode(c);
    };
    EXPECT_EQ(com(true, true, false, true), M::minimal);
    EXPECT_EQ(com(true, true, true, false), M::custom);
    EXPECT_EQ(com(false, false, true, false), M::custom);
    EXPECT_EQ(com(false, false, false, false), M::stealth);
    EXPECT_EQ(com(false, true, false, false), M::custom);

    OperationModes::applyOperationPreset(c, M::custom); // touches no switch
    EXPECT_EQ(OperationModes::currentOperationMode(c), M::custom);
    EXPECT_EQ(c.texto(u"operationMode"_s), u"custom"_s);
    // The stealth mode names the hotkeys the session registered.
    EXPECT_EQ(OperationModes::descricao(M::stealth, {u"Super+Shift+R"_s, u"Super+Shift+T"_s}),
              u"Paste direto, zero modais — pegada visual mínima, Super+Shift+R e Super+Shift+T fazem a mesma coisa"_s);
}
