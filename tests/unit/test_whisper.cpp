#include "capture/WhisperService.h"
#include "support/Ambiente.h"
#include "support/EsquemaOpenAI.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QNetworkAccessManager>
#include <QRegularExpression>
#include <QTcpServer>
#include <QThread>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;
using Erro = WhisperService::WhisperErro;
using namespace std::chrono_literals;

namespace {
struct Whisper : ::testing::Test {
    AmbienteTemporario amb;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    QString wav = amb.raiz() + QStringLiteral("/gravacao.wav");
    QByteArray audio = wavSintetico(16000, 1, 0.25);

    void SetUp() override { ASSERT_TRUE(gravarArquivo(wav, audio)); }

    Resultado<QString, Erro> transcrever(std::optional<QString> hint = std::nullopt, std::chrono::milliseconds prazo = 60s,
                                         const QString& prefixo = QString())
    {
        QUrl base = servidor.url();
        base.setPath(prefixo);
        WhisperService ws(rede, base.resolved(QUrl()).toString() + QStringLiteral("/v1/audio/transcriptions"), prazo);
        return aguardar(ws.transcrever(wav, QStringLiteral("sk-teste"), std::move(hint)));
    }
    QList<ParteMultipart> partesEnviadas()
    {
        const auto reqs = servidor.requisicoes();
        EXPECT_EQ(reqs.size(), 1);
        const auto partes = reqs.value(0).partes();
        EXPECT_TRUE(partes.has_value()) << "corpo multipart malformado";
        return partes.value_or(QList<ParteMultipart>{});
    }
};
} // namespace

TEST_F(Whisper, RequisicaoCompletaEValidaSegundoAApi)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"  olá, mundo  ","usage":{"seconds":1}})"));
    const auto r = transcrever(QStringLiteral("Sonvo, Zettelkasten"));
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.valor(), QStringLiteral("  olá, mundo  ")); // as the service gave it

    const Requisicao req = servidor.requisicoes().value(0);
    EXPECT_EQ(req.metodo, QByteArray("POST"));
    EXPECT_EQ(req.caminho, QByteArray("/v1/audio/transcriptions"));
    EXPECT_EQ(req.cabecalho("Authorization"), QByteArray("Bearer sk-teste"));
    const QRegularExpression tipo(QStringLiteral("^multipart/form-data; boundary=Boundary-[0-9A-F]{8}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{4}-[0-9A-F]{12}$"));
    EXPECT_TRUE(tipo.match(QString::fromLatin1(req.cabecalho("Content-Type"))).hasMatch()) << req.cabecalho("Content-Type").constData();
    // Only the transport's own headers besides ours.
    const QList<QByteArray> transporte{"host", "content-length", "connection", "accept-encoding", "accept-language", "user-agent"};
    for (const auto& [nome, valor] : req.cabecalhos) {
        const QByteArray n = nome.toLower();
        if (n != "authorization" && n != "content-type") {
            EXPECT_TRUE(transporte.contains(n)) << "cabeçalho inesperado: " << nome.constData();
        }
    }

    const auto partes = partesEnviadas();
    ASSERT_EQ(partes.size(), 4);
    EXPECT_EQ(partes[0].nome, QByteArray("file"));
    EXPECT_EQ(partes[0].nomeArquivo, QByteArray("audio.wav"));
    EXPECT_EQ(partes[0].tipoConteudo, QByteArray("audio/wav"));
    EXPECT_EQ(partes[0].dados, audio);
    EXPECT_EQ(partes[1].nome, QByteArray("model"));
    EXPECT_EQ(partes[1].dados, QByteArray("whisper-1"));
    EXPECT_EQ(partes[2].nome, QByteArray("language"));
    EXPECT_EQ(partes[2].dados, QByteArray("pt"));
    EXPECT_EQ(partes[3].nome, QByteArray("prompt"));
    EXPECT_EQ(partes[3].dados, QByteArray("Sonvo, Zettelkasten"));
    EXPECT_EQ(violacoesTranscricao(partes), QStringList{});
}

TEST_F(Whisper, CorpoByteAByte)
{
    const QByteArray corpo = WhisperService::montarCorpo("RIFF", QStringLiteral("Boundary-X"), QStringLiteral(" a "));
    EXPECT_EQ(corpo, QByteArray("--Boundary-X\r\n"
                                "Content-Disposition: form-data; name=\"file\"; filename=\"audio.wav\"\r\n"
                                "Content-Type: audio/wav\r\n\r\n"
                                "RIFF\r\n"
                                "--Boundary-X\r\n"
                                "Content-Disposition: form-data; name=\"model\"\r\n\r\n"
                                "whisper-1\r\n"
                                "--Boundary-X\r\n"
                                "Content-Disposition: form-data; name=\"language\"\r\n\r\n"
                                "pt\r\n"
                                "--Boundary-X\r\n"
                                "Content-Disposition: form-data; name=\"prompt\"\r\n\r\n"
                                " a \r\n"
                                "--Boundary-X--\r\n"));
    EXPECT_NE(WhisperService::novoBoundary(), WhisperService::novoBoundary());
    EXPECT_EQ(WhisperService::novoBoundary().size(), 9 + 36);
}

TEST_F(Whisper, DicaSoDeEspacosNaoEEnviadaMasQuebraDeLinhaE)
{
    for (const auto& hint : {std::optional<QString>{}, std::optional<QString>{QString()}, std::optional<QString>{QStringLiteral(" \t  ")}}) {
        const QByteArray c = WhisperService::montarCorpo("x", QStringLiteral("B"), hint);
        EXPECT_FALSE(c.contains("name=\"prompt\""));
        EXPECT_TRUE(c.endsWith("pt\r\n--B--\r\n"));
    }
    // Trimming covers spaces and tabs only; line breaks inside or alone go as they are.
    EXPECT_TRUE(WhisperService::montarCorpo("x", QStringLiteral("B"), QStringLiteral("\n")).contains("name=\"prompt\"\r\n\r\n\n\r\n"));
    servidor.enfileirar(Resposta::json(200, R"({"text":"ok"})"));
    ASSERT_TRUE(transcrever(QStringLiteral("linha 1\nlinha 2")).ok());
    const auto partes = partesEnviadas();
    ASSERT_EQ(partes.size(), 4);
    EXPECT_EQ(partes[3].dados, QByteArray("linha 1\nlinha 2"));
}

TEST_F(Whisper, PrefixoDoServidorNoCaminho)
{
    servidor.enfileirar(Resposta::json(200, R"({"text":"ok"})"));
    ASSERT_TRUE(transcrever(std::nullopt, 60s, QStringLiteral("/proxy")).ok());
    EXPECT_EQ(servidor.requisicoes().value(0).caminho, QByteArray("/proxy/v1/audio/transcriptions"));
}

TEST_F(Whisper, ErrosHttpViramRespostaInvalidaComAMensagemCerta)
{
    struct Caso {
        Resposta resposta;
        int status;
        std::optional<QString> mensagem;
        QString texto;
        bool fallback;
    };
    const QList<Caso> casos{
        {Resposta::json(401, R"({"error":{"message":"Incorrect API key provided","type":"invalid_request_error"}})"), 401,
         QStringLiteral("Incorrect API key provided"), QStringLiteral("API key inválida"), false},
        {Resposta::json(429, R"({"error":{"message":"x"}})"), 429, QStringLiteral("x"), QStringLiteral("Erro 429: x"), false},
        {Resposta::texto(502, "Bad gateway do proxy"), 502, QStringLiteral("Bad gateway do proxy"),
         QStringLiteral("Erro 502: Bad gateway do proxy"), true},
        {Resposta::texto(500, "<html><body>erro</body></html>", "text/html"), 500,
         QStringLiteral("<html><body>erro</body></html>"), QStringLiteral("Erro 500: <html><body>erro</body></html>"), true},
        {Resposta::texto(503, QByteArray("\xff\xfe\x00quebrado", 11)), 503, std::nullopt, QStringLiteral("Erro 503"), true},
        {Resposta::texto(400, ""), 400, QString(), QStringLiteral("Erro 400"), false},
        {Resposta::json(400, R"({"error":{"code":1}})"), 400, QStringLiteral(R"({"error":{"code":1}})"),
         QStringLiteral(R"(Erro 400: {"error":{"code":1}})"), false},
        {Resposta::json(201, R"({"text":"criado"})"), 201, QStringLiteral(R"({"text":"criado"})"),
         QStringLiteral(R"(Erro 201: {"text":"criado"})"), false},
    };
    for (const Caso& c : casos) {
        servidor.enfileirar(c.resposta);
        const auto r = transcrever();
        ASSERT_FALSE(r.ok()) << c.status;
        EXPECT_EQ(r.erro().caso, Erro::Caso::respostaInvalida) << c.status;
        EXPECT_EQ(r.erro().status, c.status);
        EXPECT_EQ(r.erro().mensagem, c.mensagem) << c.status;
        EXPECT_EQ(descricao(r.erro()), c.texto);
        EXPECT_EQ(deveUsarFallback(r.erro()), c.fallback) << c.status;
    }
}

TEST_F(Whisper, Sucesso200SemTextoOuNaoJsonEDecodeFalhou)
{
    for (const QByteArray& corpo : {QByteArray(R"({"texto":"x"})"), QByteArray(R"({"text":5})"), QByteArray("<html>ok</html>"),
                                    QByteArray(""), QByteArray(R"(["text"])")}) {
        servidor.enfileirar(Resposta::json(200, corpo));
        const auto r = transcrever();
        ASSERT_FALSE(r.ok()) << corpo.constData();
        EXPECT_EQ(r.erro().caso, Erro::Caso::decodeFalhou);
        EXPECT_EQ(descricao(r.erro()), QStringLiteral("Resposta inválida da API"));
        EXPECT_FALSE(deveUsarFallback(r.erro()));
    }
}

TEST_F(Whisper, RespostaEnormeEIntegralmenteLida)
{
    const QByteArray texto(10 * 1024 * 1024, 'a');
    servidor.enfileirar(Resposta::json(200, R"({"text":")" + texto + R"("})"));
    const auto r = transcrever();
    ASSERT_TRUE(r.ok());
    EXPECT_EQ(r.valor().size(), texto.size());
}

TEST_F(Whisper, FalhasDeTransporteViramRede)
{
    for (Resposta::Modo modo : {Resposta::Modo::reset, Resposta::Modo::truncada}) {
        Resposta r200 = Resposta::comModo(modo);
        servidor.enfileirar(r200);
        const auto r = transcrever();
        ASSERT_FALSE(r.ok()) << static_cast<int>(modo) ;
        // A truncated 200 is never taken as a success.
        EXPECT_EQ(r.erro().caso, Erro::Caso::rede) << static_cast<int>(modo);
        EXPECT_EQ(descricao(r.erro()), QStringLiteral("Erro: sem conexão"));
        EXPECT_TRUE(deveUsarFallback(r.erro()));
    }
}

TEST_F(Whisper, ServidorQueNuncaRespondeEsgotaOPrazo)
{
    servidor.enfileirar(Resposta::comModo(Resposta::Modo::semResposta));
    const auto r = transcrever(std::nullopt, 300ms);
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, Erro::Caso::rede);
    // The aborted request does not leave its connection behind.
    for (int i = 0; i < 100 && servidor.conexoesAbertas() > 0; ++i) {
        QCoreApplication::processEvents();
        QThread::msleep(20);
    }
    EXPECT_EQ(servidor.conexoesAbertas(), 0);
}

TEST_F(Whisper, UmaTentativaSoMesmoQuandoAConexaoCai)
{
    // Garbage instead of HTTP, a reset, a half answer: each is one request and a network failure.
    for (Resposta::Modo modo : {Resposta::Modo::naoHttp, Resposta::Modo::reset, Resposta::Modo::truncada}) {
        const int antes = static_cast<int>(servidor.requisicoes().size());
        servidor.enfileirar(Resposta::comModo(modo));
        servidor.definirPadrao(Resposta::json(200, R"({"text":"segunda tentativa"})"));
        const auto r = transcrever();
        ASSERT_FALSE(r.ok()) << static_cast<int>(modo);
        EXPECT_EQ(r.erro().caso, Erro::Caso::rede);
        EXPECT_EQ(servidor.requisicoes().size(), antes + 1) << static_cast<int>(modo);
    }
}

TEST_F(Whisper, RespostaQueNaoEHttp)
{
    // A base URL of another scheme: what answers is not an HTTP server at all.
    WhisperService ws(rede, QUrl::fromLocalFile(amb.raiz() + QStringLiteral("/v1/audio/transcriptions")));
    const auto r = aguardar(ws.transcrever(wav, QStringLiteral("k"), std::nullopt));
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, Erro::Caso::respostaInvalida);
    EXPECT_EQ(r.erro().status, -1);
    EXPECT_FALSE(r.erro().mensagem.has_value());
    EXPECT_EQ(descricao(r.erro()), QStringLiteral("Erro -1"));
    EXPECT_FALSE(deveUsarFallback(r.erro()));
}

TEST_F(Whisper, ArquivoAusenteFalhaComoRedeSemRequisicao)
{
    QFile::remove(wav);
    const auto r = transcrever();
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, Erro::Caso::rede);
    EXPECT_TRUE(deveUsarFallback(r.erro()));
    EXPECT_TRUE(servidor.requisicoes().isEmpty());
}

TEST_F(Whisper, PortaFechadaERede)
{
    QTcpServer s;
    ASSERT_TRUE(s.listen(QHostAddress::LocalHost, 0));
    const quint16 porta = s.serverPort();
    s.close();
    WhisperService ws(rede, QUrl(QStringLiteral("http://127.0.0.1:%1/v1/audio/transcriptions").arg(porta)));
    const auto r = aguardar(ws.transcrever(wav, QStringLiteral("k"), std::nullopt));
    ASSERT_FALSE(r.ok());
    EXPECT_EQ(r.erro().caso, Erro::Caso::rede);
}
