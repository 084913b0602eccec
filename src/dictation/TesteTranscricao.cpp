#include "dictation/TesteTranscricao.h"

#include "core/KeychainService.h"
#include "dictation/ConversorWav.h"
#include "dictation/ServicoTranscricao.h"
#include "dictation/WhisperService.h"

#include <QDir>
#include <QFile>
#include <QUuid>

#include <sndfile.h>

#include <chrono>
#include <memory>
#include <cmath>
#include <vector>

namespace sonvo {

namespace {
// A quiet 200 Hz hum, 16 kHz mono: an accepted recording with nothing to transcribe.
bool gravarUmSegundo(const QString& caminho)
{
    SF_INFO info{};
    info.samplerate = 16000;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* f = sf_open(QFile::encodeName(caminho).constData(), SFM_WRITE, &info);
    if (!f)
        return false;
    std::vector<float> amostras(16000);
    for (size_t i = 0; i < amostras.size(); ++i)
        amostras[i] = 0.01f * static_cast<float>(std::sin(2 * M_PI * 200.0 * static_cast<double>(i) / 16000.0));
    const bool ok = sf_writef_float(f, amostras.data(), 16000) == 16000;
    sf_close(f);
    return ok;
}
} // namespace

QCoro::Task<ResultadoTeste> testarServicoTranscricao(QNetworkAccessManager& rede, const Configuracoes& config, const QString& pastaDados)
{
    const ServicoTranscricao servico = ServicoTranscricao::ler(config);
    const auto mapa = KeychainService(pastaDados).carregar();
    if (!mapa)
        co_return ResultadoTeste{false, QStringLiteral("Erro: ") + mapa.erro().descricao()};
    const QString chave = mapa.valor().value(servico.contaChave);
    if (chave.isEmpty() && !servico.chaveOpcional())
        co_return ResultadoTeste{false, QStringLiteral("Sem chave para ") + ServicoTranscricao::nome(servico.preset)};

    const QString base = QDir::tempPath() + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces);
    const QString wav = base + QStringLiteral(".wav");
    const QString ogg = base + QStringLiteral(".ogg");
    const std::unique_ptr<const QString, void (*)(const QString*)> limpar(&base, [](const QString* b) {
        QFile::remove(*b + QStringLiteral(".wav"));
        QFile::remove(*b + QStringLiteral(".ogg"));
    });
    if (!gravarUmSegundo(wav))
        co_return ResultadoTeste{false, QStringLiteral("Erro ao criar arquivo de áudio: ") + QString::fromUtf8(sf_strerror(nullptr))};
    QString envio = wav;
    if (servico.compacto) {
        if (const auto erro = converterParaOpus(wav, ogg))
            co_return ResultadoTeste{false, QStringLiteral("Erro ao compactar o áudio: ") + *erro};
        envio = ogg;
    }
    WhisperService whisper(rede, servico.endpoint(), std::chrono::seconds(20), servico.modelo);
    const auto r = co_await whisper.transcrever(envio, chave, std::nullopt);
    if (!r)
        co_return ResultadoTeste{false, descricao(r.erro())};
    co_return ResultadoTeste{true, QStringLiteral("Funcionando: %1 respondeu com %2 (\"%3\")")
                                       .arg(ServicoTranscricao::nome(servico.preset), servico.modelo, r.valor().trimmed())};
}

} // namespace sonvo
