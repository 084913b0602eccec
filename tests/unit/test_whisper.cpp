#include "dictation/WhisperService.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using namespace std::chrono_literals;
using E = WhisperService::WhisperErro::Caso;

namespace {
QString operator""_t(const char* s, size_t n) { return QString::fromUtf8(s, static_cast<qsizetype>(n)); }

struct Whisper : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    QString wav = amb.raiz() + "/gravacao.wav"_t;
    QByteArray audio = wavSintetico(16000, 1, 0.25);
    QUrl endpoint = QUrl(servidor.url().toString() + "/v1/audio/transcriptions"_t);

    void SetUp() override { ASSERT_TRUE(gravarArquivo(wav, audio)); }
    auto transcrever(const QUrl& url, std::optional<QString> hint = std::nullopt) { return aguardar(WhisperService(rede, url, 300ms).transcrever(wav, "sk-teste"_t, hint)); }
};
} // namespace

TEST_F(Whisper, RequisicaoComoEnviadaFalhasTextosEDecisaoDeFallback)
{
    EXPECT_EQ(WhisperService::montarCorpo("RIFF", "Boundary-X"_t, " a \n"_t),
              QByteArray("--Boundary-X\r\nContent-Disposition: form-data; name=\"file\"; filename=\"audio.wav\"\r\nContent-Type: audio/wav\r\n\r\n"
                         "RIFF\r\n--Boundary-X\r\nContent-Disposition: form-data; name=\"model\"\r\n\r\nwhisper-1\r\n"
                         "--Boundary-X\r\nContent-Disposition: form-data; name=\"language\"\r\n\r\npt\r\n"
                         "--Boundary-X\r\nContent-Disposition: form-data; name=\"prompt\"\r\n\r\n a \n\r\n--Boundary-X--\r\n"));
    // A hint of spaces and tabs only is not sent (line breaks are).
    for (const auto& hint : {std::optional<QString>{}, std::optional<QString>{QString()}, std::optional<QString>{" \t  "_t}})
        EXPECT_TRUE(WhisperService::montarCorpo("x", "B"_t, hint).endsWith("name=\"language\"\r\n\r\npt\r\n--B--\r\n"));

    servidor.enfileirar(Resposta::json(200, R"({"text":"  olá, mundo  ","usage":{"seconds":1}})"));
    const auto r = transcrever(endpoint, "Sonvo, Zettelkasten"_t);
    EXPECT_EQ(r.valor(), "  olá, mundo  "_t); // as the service gave it
    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.metodo + ' ' + req.caminho, QByteArray("POST /v1/audio/transcriptions"));
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-teste"));
    const auto tipo = QRegularExpression("^multipart/form-data; boundary=(Boundary-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12})$"_t)
                          .match(QString::fromLatin1(req.cabecalho("Content-Type")));
    ASSERT_TRUE(tipo.hasMatch()) << req.cabecalho("Content-Type").constData();
    EXPECT_EQ(req.corpo, WhisperService::montarCorpo(audio, tipo.captured(1), "Sonvo, Zettelkasten"_t));
    EXPECT_EQ(violacoesTranscricao(req.partes().value_or(QList<ParteMultipart>{})), QStringList{});
    EXPECT_EQ(req.cabecalhos.size(), 8) << "só os cabeçalhos do transporte além dos nossos";

    // Other models ask for the JSON shape; a keyless server of one's own gets no Authorization.
    for (const char* modelo : {"gpt-4o-transcribe", "gpt-4o-mini-transcribe", "whisper-large-v3-turbo"}) {
        SCOPED_TRACE(modelo);
        servidor.enfileirar(Resposta::json(200, R"({"text":"ok","usage":{"type":"tokens"}})"));
        ASSERT_EQ(aguardar(WhisperService(rede, endpoint, 300ms, QString::fromLatin1(modelo)).transcrever(wav, QString(), std::nullopt)).valor(), "ok"_t);
        const Requisicao r = servidor.requisicoes().last();
        EXPECT_TRUE(r.cabecalho("Authorization").isEmpty() && !r.cabecalhos.isEmpty());
        const auto partes = r.partes().value_or(QList<ParteMultipart>{});
        EXPECT_EQ(violacoesTranscricao(partes), QStringList{});
        QStringList campos;
        for (const ParteMultipart& p : partes)
            campos << QString::fromUtf8(p.nome + '=' + (p.nome == "file" ? QByteArray("…") : p.dados));
        EXPECT_EQ(campos, (QStringList{"file=…"_t, "model="_t + QString::fromLatin1(modelo), "language=pt"_t, "response_format=json"_t}));
    }

    struct Caso {
        Resposta resposta;
        E caso;
        QString texto; // what the user reads
        bool fallback; // local recognition is tried
        std::optional<QString> mensagem = std::nullopt;
        QUrl url = {}; // another address: no request reaches the server
    };
    const QString semConexao = "Erro: sem conexão"_t, invalida = "Resposta inválida da API"_t;
    const QList<Caso> casos{
        {Resposta::json(401, R"({"error":{"message":"Incorrect API key"}})"), E::respostaInvalida, "API key inválida"_t, false, "Incorrect API key"_t},
        {Resposta::json(429, R"({"error":{"message":"x"}})"), E::respostaInvalida, "Erro 429: x"_t, false, "x"_t},
        {Resposta::texto(502, "Bad gateway"), E::respostaInvalida, "Erro 502: Bad gateway"_t, true, "Bad gateway"_t},
        {Resposta::texto(503, "\xff\xfe quebrado"), E::respostaInvalida, "Erro 503"_t, true},
        {Resposta::json(201, R"({"text":"x"})"), E::respostaInvalida, R"(Erro 201: {"text":"x"})"_t, false, R"({"text":"x"})"_t},
        {Resposta::texto(200, "<html>ok</html>", "text/html"), E::decodeFalhou, invalida, false},
        {Resposta::comModo(Resposta::Modo::reset), E::rede, semConexao, true},
        {Resposta::comModo(Resposta::Modo::truncada), E::rede, semConexao, true}, // a cut 200 is never a success
        {Resposta::comModo(Resposta::Modo::naoHttp), E::rede, semConexao, true},
        {Resposta::comModo(Resposta::Modo::semResposta), E::rede, semConexao, true}, // past the deadline
        {{}, E::rede, semConexao, true, std::nullopt, QUrl("http://127.0.0.1:1/v1/audio/transcriptions"_t)}, // nothing listens there
        {{}, E::respostaInvalida, "Erro -1"_t, false, std::nullopt, QUrl::fromLocalFile(amb.raiz() + "/v1/audio/transcriptions"_t)},
        {{}, E::rede, semConexao, true, std::nullopt, QUrl("sem-arquivo"_t)}, // last: the recording is removed
    };
    servidor.definirPadrao(Resposta::json(200, R"({"text":"segunda tentativa"})")); // what a resend would get
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.texto.toStdString() + " / " + c.resposta.corpo.toStdString());
        const auto antes = servidor.requisicoes().size();
        if (c.url.isEmpty())
            servidor.enfileirar(c.resposta);
        ASSERT_TRUE(c.url != QUrl("sem-arquivo"_t) || QFile::remove(wav));
        const auto r = transcrever(c.url.isEmpty() || c.url == QUrl("sem-arquivo"_t) ? endpoint : c.url);
        ASSERT_FALSE(r.ok());
        EXPECT_EQ(r.erro().caso, c.caso);
        EXPECT_EQ(c.caso == E::respostaInvalida ? r.erro().mensagem : std::nullopt, c.mensagem);
        EXPECT_EQ(descricao(r.erro()), c.texto);
        EXPECT_EQ(deveUsarFallback(r.erro()), c.fallback);
        EXPECT_EQ(servidor.requisicoes().size(), antes + (c.url.isEmpty() ? 1 : 0)); // one attempt, never a resend
    }
}
