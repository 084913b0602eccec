#include "support/Ambiente.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <gtest/gtest.h>

using namespace sonvo::teste;

namespace {
struct Pipeline : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QString wav = amb.raiz() + QStringLiteral("/minha-fala.wav");
    QByteArray audio = wavSintetico(48000, 1, 0.5);
    QString tmp = amb.raiz() + QStringLiteral("/tmp");

    void SetUp() override
    {
        QDir().mkpath(tmp);
        amb.definir(QStringLiteral("TMPDIR"), tmp);
        amb.definir(QStringLiteral("SONVO_OPENAI_BASE_URL"), servidor.url().toString());
        ASSERT_TRUE(gravarArquivo(wav, audio));
    }
    ResultadoProcesso sonvo(const QStringList& args, const QByteArray& entrada = {}) { return rodarSonvo(amb, args, entrada); }
    // A stand-in for whisper.cpp's program, following its command-line contract.
    void reconhecedorLocal(const QByteArray& corpo)
    {
        const QString programa = amb.raiz() + QStringLiteral("/bin/whisper-cli");
        QDir().mkpath(amb.raiz() + QStringLiteral("/bin"));
        QDir().mkpath(amb.pastaDados() + QStringLiteral("/models"));
        gravarArquivo(amb.pastaDados() + QStringLiteral("/models/ggml-base.bin"), "modelo");
        gravarArquivo(programa, "#!/bin/sh\n[ \"$3 $4 $7 $8\" = \"-l pt -nt -np\" ] || exit 9\n" + corpo);
        QFile::setPermissions(programa, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
        amb.definir(QStringLiteral("PATH"), amb.raiz() + QStringLiteral("/bin:") + qEnvironmentVariable("PATH"));
    }
};
QString utf8(const QByteArray& b) { return QString::fromUtf8(b); }
} // namespace

TEST_F(Pipeline, TranscreverCorrigeGuardaNoHistoricoEPreservaOArquivo)
{
    ASSERT_EQ(sonvo({QStringLiteral("chave"), QStringLiteral("openai")}, "sk\n").codigo, 0);
    ASSERT_EQ(sonvo({QStringLiteral("vocabulario"), QStringLiteral("adicionar"), QStringLiteral("vs code"), QStringLiteral("VS Code")}).codigo, 0);
    ASSERT_EQ(sonvo({QStringLiteral("vocabulario"), QStringLiteral("adicionar"), QStringLiteral("kate"), QStringLiteral("Kate"),
                     QStringLiteral("--app"), QStringLiteral("kate")}).codigo, 0);
    servidor.enfileirar(Resposta::json(200, R"({"text":"abri o vs code no kate"})"));
    const auto r = sonvo({QStringLiteral("transcrever"), wav, QStringLiteral("--app"), QStringLiteral("kate")});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("abri o VS Code no Kate\n"));
    EXPECT_EQ(lerArquivo(wav), audio);
    EXPECT_TRUE(QDir(tmp).isEmpty()) << QDir(tmp).entryList().join(u' ').toStdString();

    const auto hist = sonvo({QStringLiteral("historico"), QStringLiteral("1")});
    EXPECT_TRUE(utf8(hist.saida).contains(QStringLiteral("abri o vs code no kate"))) << hist.saida.constData();
}

TEST_F(Pipeline, TranscreverCaiNoReconhecedorLocal)
{
    reconhecedorLocal("echo ' texto do reconhecedor local'\n");
    auto r = sonvo({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 0) << r.erro.constData();
    EXPECT_EQ(utf8(r.saida), QStringLiteral("texto do reconhecedor local\n"));
    EXPECT_TRUE(utf8(amb.lerLog()).contains(QStringLiteral("Vozel: ativando fallback SFSpeechRecognizer (API key não configurada)\n")));

    reconhecedorLocal("echo 'quebrou' >&2; exit 2\n");
    r = sonvo({QStringLiteral("transcrever"), wav});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Erro na transcrição local: o reconhecedor local terminou com erro (código 2)\n"));
    EXPECT_EQ(lerArquivo(wav), audio);
    EXPECT_TRUE(QDir(tmp).isEmpty());
}

TEST_F(Pipeline, DitarSemDispositivoDeEntrada)
{
    // No sound server to ask, and (on a test machine) no sound card either.
    amb.definir(QStringLiteral("XDG_RUNTIME_DIR"), amb.raiz());
    amb.definir(QStringLiteral("PULSE_SERVER"), QStringLiteral("unix:") + amb.raiz() + QStringLiteral("/sem-servidor"));
    const auto r = sonvo({QStringLiteral("ditar")}, "\n");
    EXPECT_EQ(r.codigo, 1);
    EXPECT_TRUE(utf8(r.erro).startsWith(QStringLiteral("Erro no áudio: "))) << r.erro.constData();
    EXPECT_EQ(r.erro.count('\n'), 1) << r.erro.constData(); // nothing but the message, no ALSA noise
    EXPECT_TRUE(r.saida.isEmpty());
    EXPECT_TRUE(QDir(tmp).isEmpty());
}
