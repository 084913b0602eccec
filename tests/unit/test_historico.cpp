#include "dictation/TranscriptionHistory.h"
#include "vocab_suporte.h"

using namespace sonvo;
using namespace sonvo::teste;

namespace {
struct Historico : BaseVocab {
    QDateTime agora = kAgora;
    TranscriptionHistory historico{pasta, [this] { return agora; }};
};
} // namespace

TEST_F(Historico, FormatoLeituraDuzentasMaisRecentesEArquivoIlegivelGuardado)
{
    historico.append(u"olá \"mundo\"\n"_s, u"code"_s);
    agora = agora.addSecs(61).addMSecs(999);
    historico.append(u"sem app"_s, std::nullopt);
    // Sorted keys, UTC dates without a fraction, "bundleID" left out when absent.
    EXPECT_EQ(lerArquivo(historico.arquivo()), "[\n    {\n        \"bundleID\": \"code\",\n        \"texto\": \"olá \\\"mundo\\\"\\n\",\n"
                                               "        \"timestamp\": \"2025-03-01T14:05:09Z\"\n    },\n    {\n        \"texto\": \"sem app\",\n"
                                               "        \"timestamp\": \"2025-03-01T14:06:10Z\"\n    }\n]\n");
    EXPECT_EQ(historico.textosRecentes(5), (QStringList{"sem app", "olá \"mundo\"\n"})); // what the audit reads, newest first
    EXPECT_EQ(historico.quantidade(), 2);
    // Offsets, fractions, a null bundleID and unknown keys are read.
    ASSERT_TRUE(gravarArquivo(historico.arquivo(), R"([{"texto": "a", "timestamp": "2025-03-01T16:05:09+02:00", "bundleID": null, "x": [1]},
                                                      {"texto": "b", "timestamp": "2025-03-01T14:05:09.250Z", "bundleID": "kate"}])"));
    EXPECT_EQ(historico.lerTodas(), (QList<TranscriptionEntry>{{"a", kAgora, std::nullopt}, {"b", kAgora.addMSecs(250), u"kate"_s}}));

    // The newest 200 are kept; a longer file (edited by hand, or from another version) is cut back too.
    QList<TranscriptionEntry> muitas;
    for (int i = 1; i <= 250; ++i)
        muitas.append({QString::number(i), kAgora, std::nullopt});
    ASSERT_TRUE(gravarArquivo(historico.arquivo(), TranscriptionHistory::codificar(muitas)));
    historico.append(u"nova"_s, std::nullopt);
    const QStringList textos = historico.textosRecentes(1000);
    ASSERT_EQ(textos.size(), 200);
    EXPECT_EQ((QStringList{textos.first(), textos.last()}), (QStringList{"nova", "52"}));

    const QString guardado = historico.arquivo() + u".corrupt-20250301T140610Z"_s;
    for (const QByteArray& ruim : {QByteArray("não é json"), QByteArray(R"({"texto": "a", "timestamp": "2025-03-01T14:05:09Z"})"),
                                   QByteArray(R"([{"texto": 5, "timestamp": "2025-03-01T14:05:09Z"}])"), QByteArray(R"([{"texto": "a", "timestamp": "ontem"}])"),
                                   QByteArray(R"([{"texto": "a", "timestamp": "2025-03-01T14:05:09Z", "bundleID": 7}])"), QByteArray(R"([{"texto": "a"}])"),
                                   QByteArray("[{\"texto\": \"\xC3\", \"timestamp\": \"2025-03-01T14:05:09Z\"}]")}) {
        SCOPED_TRACE(ruim.left(60).constData());
        QFile::remove(guardado);
        ASSERT_TRUE(gravarArquivo(historico.arquivo(), ruim));
        EXPECT_FALSE(historico.lerTodas().has_value()); // reading stays silent and changes nothing
        EXPECT_EQ(historico.quantidade(), 0);
        EXPECT_EQ(lerArquivo(historico.arquivo()), ruim);
        historico.append(u"nova"_s, std::nullopt);
        EXPECT_EQ(historico.textosRecentes(10), QStringList{"nova"});
        EXPECT_EQ(lerArquivo(guardado), ruim);
    }
}
