// `sonvo alternar` reaching a running Sonvo over a real session bus of the test's own, and the
// messages when there is none; `sonvo autoinicio` writing the user's autostart entry.
#include "platform/dbus/ControleRemotoDBus.h"
#include "support/Ambiente.h"

#include <QCoreApplication>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

QString utf8(const QByteArray& b) { return QString::fromUtf8(b); }

} // namespace

TEST(Alternar, SemDBusDeSessaoDizQueNaoHaComoFalarComOSonvo)
{
    AmbienteTemporario amb;
    amb.definir(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), QStringLiteral("unix:path=") + amb.raiz() + QStringLiteral("/nada"));
    const auto r = rodarSonvo(amb, {QStringLiteral("alternar")});
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(utf8(r.erro), QStringLiteral("Não há D-Bus de sessão: não é possível falar com o Sonvo aberto.\n"));
    EXPECT_TRUE(r.saida.isEmpty());
}

TEST(Alternar, ArgumentosAMaisSaoErroDeUso)
{
    AmbienteTemporario amb;
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("alternar"), QStringLiteral("agora")}).codigo, 2);
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("alternar"), QStringLiteral("--menus")}).codigo, 2);
}

TEST(Alternar, ChegaAoSonvoAbertoPeloBarramentoDaSessao)
{
    const QString daemon = QStandardPaths::findExecutable(QStringLiteral("dbus-daemon"));
    if (daemon.isEmpty())
        GTEST_SKIP() << "dbus-daemon não instalado";
    AmbienteTemporario amb;
    const QString endereco = QStringLiteral("unix:path=") + amb.raiz() + QStringLiteral("/bus");
    QProcess barramento;
    barramento.start(daemon, {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
                              QStringLiteral("--address=") + endereco, QStringLiteral("--print-address")});
    ASSERT_TRUE(barramento.waitForReadyRead(10000));
    // This process's own session bus is the test's one: set before the first use.
    amb.definir(QStringLiteral("DBUS_SESSION_BUS_ADDRESS"), endereco);

    auto semSonvo = rodarSonvo(amb, {QStringLiteral("alternar"), QStringLiteral("--menu")});
    EXPECT_EQ(semSonvo.codigo, 1);
    EXPECT_EQ(utf8(semSonvo.erro),
              QStringLiteral("O Sonvo não está aberto. Inicie-o com o comando sonvo (ou pelo menu de aplicativos).\n"));

    {
        ControleRemotoDBus sonvo;
        ASSERT_FALSE(sonvo.publicar().has_value());
        // A second one cannot take the name.
        ControleRemotoDBus outro;
        EXPECT_TRUE(outro.publicar().has_value());
        QList<bool> pedidos;
        QObject::connect(&sonvo, &ControleRemoto::alternarPedido, [&](bool menu) { pedidos << menu; });
        const auto menu = rodarSonvo(amb, {QStringLiteral("alternar"), QStringLiteral("--menu")});
        EXPECT_EQ(menu.codigo, 0) << menu.erro.constData();
        const auto direto = rodarSonvo(amb, {QStringLiteral("alternar")});
        EXPECT_EQ(direto.codigo, 0) << direto.erro.constData();
        QCoreApplication::processEvents();
        EXPECT_EQ(pedidos, (QList<bool>{true, false}));
    }
    barramento.kill();
    barramento.waitForFinished(3000);
}

TEST(Autoinicio, LigaEDesligaPelaEntradaDoUsuario)
{
    AmbienteTemporario amb;
    const QString entrada = amb.raiz() + QStringLiteral("/config/autostart/sonvo.desktop");
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio")}).saida, "desligado\n");
    ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio"), QStringLiteral("ligar")}).codigo, 0);
    QFile f(entrada);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    const QByteArray conteudo = f.readAll();
    f.close();
    EXPECT_TRUE(conteudo.startsWith("[Desktop Entry]\n"));
    EXPECT_TRUE(conteudo.contains("Hidden=false\n"));
    EXPECT_TRUE(conteudo.contains(QByteArray("Exec=\"") + QByteArray(SONVO_BIN) + "\"\n")) << conteudo.constData();
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio")}).saida, "ligado\n");
    ASSERT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio"), QStringLiteral("desligar")}).codigo, 0);
    ASSERT_TRUE(f.open(QIODevice::ReadOnly));
    EXPECT_TRUE(f.readAll().contains("Hidden=true\n"));
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio")}).saida, "desligado\n");
    EXPECT_EQ(rodarSonvo(amb, {QStringLiteral("autoinicio"), QStringLiteral("talvez")}).codigo, 2);
}
