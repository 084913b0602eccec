#include "app/Log.h"
#include "capture/TranscriptionHistory.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

struct Historico : ::testing::Test {
    AmbienteTemporario amb;
    QString pasta = amb.pastaDados();
    QDateTime agora = QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);
    TranscriptionHistory historico{pasta, [this] { return agora; }};

    void SetUp() override { ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog())); }
    void escrever(const QByteArray& conteudo)
    {
        QDir().mkpath(pasta);
        ASSERT_TRUE(gravarArquivo(historico.arquivo(), conteudo));
    }
    QStringList guardados() const
    {
        return QDir(pasta).entryList({QStringLiteral("transcription-history.json.corrupt-*")}, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    }
    QString log() const { return QString::fromUtf8(amb.lerLog()); }
};

QJsonArray arrayDe(const QByteArray& b)
{
    return QJsonDocument::fromJson(b).array();
}

} // namespace

TEST_F(Historico, FormatoDoArquivo)
{
    historico.append(QStringLiteral("olá \"mundo\"\n"), QStringLiteral("code"));
    agora = agora.addSecs(61).addMSecs(999);
    historico.append(QStringLiteral("sem app"), std::nullopt);
    EXPECT_EQ(lerArquivo(historico.arquivo()), QByteArray("[\n"
                                                          "    {\n"
                                                          "        \"bundleID\": \"code\",\n"
                                                          "        \"texto\": \"olá \\\"mundo\\\"\\n\",\n"
                                                          "        \"timestamp\": \"2025-03-01T14:05:09Z\"\n"
                                                          "    },\n"
                                                          "    {\n"
                                                          "        \"texto\": \"sem app\",\n"
                                                          "        \"timestamp\": \"2025-03-01T14:06:10Z\"\n"
                                                          "    }\n"
                                                          "]\n"));
    EXPECT_EQ(modoDe(historico.arquivo()), 0600);
    EXPECT_EQ(modoDe(pasta), 0700);
    const auto ultimas = historico.lerUltimas(10);
    ASSERT_EQ(ultimas.size(), 2);
    EXPECT_EQ(ultimas[0].texto, QStringLiteral("sem app"));
    EXPECT_EQ(ultimas[0].bundleID, std::nullopt);
    EXPECT_EQ(ultimas[0].timestamp, QDateTime(QDate(2025, 3, 1), QTime(14, 6, 10), Qt::UTC));
    EXPECT_EQ(ultimas[1].bundleID, QStringLiteral("code"));
    EXPECT_EQ(historico.lerUltimas(1).size(), 1);
    EXPECT_TRUE(historico.lerUltimas(0).isEmpty());
    EXPECT_TRUE(historico.lerUltimas(-3).isEmpty());
}

TEST_F(Historico, GuardaAsDuzentasMaisRecentes)
{
    for (int i = 1; i <= 201; ++i) {
        historico.append(QString::number(i), std::nullopt);
        agora = agora.addSecs(1);
    }
    const QJsonArray a = arrayDe(lerArquivo(historico.arquivo()));
    ASSERT_EQ(a.size(), 200);
    EXPECT_EQ(a.first().toObject().value("texto").toString(), QStringLiteral("2"));
    EXPECT_EQ(historico.lerUltimas(1).value(0).texto, QStringLiteral("201"));

    // A longer file (edited by hand, or from another version) is cut back to the newest 200.
    QList<TranscriptionEntry> muitas;
    for (int i = 0; i < 5000; ++i)
        muitas.append({QString::number(i), agora, std::nullopt});
    escrever(TranscriptionHistory::codificar(muitas));
    historico.append(QStringLiteral("nova"), QStringLiteral("x"));
    const QJsonArray b = arrayDe(lerArquivo(historico.arquivo()));
    ASSERT_EQ(b.size(), 200);
    EXPECT_EQ(b.first().toObject().value("texto").toString(), QStringLiteral("4801"));
    EXPECT_TRUE(guardados().isEmpty());
}

TEST_F(Historico, DatasEChavesAceitasNaLeitura)
{
    escrever(R"([{"texto": "a", "timestamp": "2025-03-01T16:05:09+02:00", "bundleID": null, "extra": [1]},
                 {"texto": "b", "timestamp": "2025-03-01T14:05:09.250Z", "bundleID": "kate"}])");
    const auto todas = historico.lerTodas();
    ASSERT_TRUE(todas);
    ASSERT_EQ(todas->size(), 2);
    EXPECT_EQ(todas->at(0), (TranscriptionEntry{"a", QDateTime(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC), std::nullopt}));
    EXPECT_EQ(todas->at(1).bundleID, QStringLiteral("kate"));
    EXPECT_EQ(historico.lerUltimas(5).value(0).texto, QStringLiteral("b"));
}

TEST_F(Historico, ArquivoIlegivelEGuardadoEORecomecoTemUmaEntrada)
{
    const QList<QByteArray> ruins = {
        "isto não é json",
        R"([{"texto": "a", "timestamp": "2025-03-01T14:05:09Z"}, {"texto": "b")",
        R"({"texto": "a", "timestamp": "2025-03-01T14:05:09Z"})",
        R"([{"texto": 5, "timestamp": "2025-03-01T14:05:09Z"}])",
        R"([{"texto": "a", "timestamp": "ontem"}])",
        R"([{"texto": "a"}])",
        R"([{"texto": "a", "timestamp": "2025-03-01T14:05:09Z", "bundleID": 7}])",
        R"([["a"]])",
        QByteArray(100000, '[') + QByteArray(100000, ']'),
        "[{\"texto\": \"\xC3\", \"timestamp\": \"2025-03-01T14:05:09Z\"}]",
    };
    for (const QByteArray& ruim : ruins) {
        SCOPED_TRACE(ruim.left(60).constData());
        for (const QString& g : guardados())
            QFile::remove(pasta + u'/' + g);
        escrever(ruim);
        // Reading stays silent and changes nothing.
        EXPECT_TRUE(historico.lerUltimas(10).isEmpty());
        EXPECT_FALSE(historico.lerTodas().has_value());
        EXPECT_EQ(lerArquivo(historico.arquivo()), ruim);

        historico.append(QStringLiteral("nova"), std::nullopt);
        const auto todas = historico.lerTodas();
        ASSERT_TRUE(todas);
        ASSERT_EQ(todas->size(), 1);
        EXPECT_EQ(todas->first().texto, QStringLiteral("nova"));
        ASSERT_EQ(guardados(), QStringList{"transcription-history.json.corrupt-20250301T140509Z"});
        EXPECT_EQ(lerArquivo(pasta + QStringLiteral("/transcription-history.json.corrupt-20250301T140509Z")), ruim);
        EXPECT_TRUE(log().endsWith(QStringLiteral("Vozel [Speech] histórico ilegível; original guardado em ") + pasta +
                                   QStringLiteral("/transcription-history.json.corrupt-20250301T140509Z\n")));
    }
}

TEST_F(Historico, PastaNoLugarDoArquivo)
{
    ASSERT_TRUE(QDir().mkpath(historico.arquivo() + QStringLiteral("/dentro")));
    EXPECT_TRUE(historico.lerUltimas(3).isEmpty());
    historico.append(QStringLiteral("nova"), std::nullopt);
    EXPECT_EQ(historico.lerUltimas(3).value(0).texto, QStringLiteral("nova"));
    ASSERT_EQ(guardados().size(), 1);
    EXPECT_TRUE(QFileInfo(pasta + u'/' + guardados().first() + QStringLiteral("/dentro")).isDir());
}
