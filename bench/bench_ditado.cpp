#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "dictation/ConversorWav.h"
#include "dictation/Insercao.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "platform/null/PlataformaNula.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyService.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <atomic>
#include <chrono>
#include <cmath>
#include <thread>

using namespace sonvo;
using namespace sonvo::teste;

namespace {
// A microphone driven by the benchmark: the buffers are handed in by hand.
class MicrofoneManual : public EntradaAudio {
public:
    Bloco bloco;
    Resultado<FormatoAudio, QString> formato() override { return FormatoAudio{48000, 1}; }
    std::optional<QString> iniciar(Bloco b) override
    {
        bloco = std::move(b);
        return std::nullopt;
    }
    void parar() override { bloco = nullptr; }
};

class SemInsercao : public Insercao {
public:
    QCoro::Task<> inserir(QString) override { co_return; }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return {}; }
};

struct Ambiente {
    QTemporaryDir dir;
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    Configuracoes config{dir.path() + QStringLiteral("/Sonvo.conf")};
    MicrofoneManual mic;
    SemInsercao insercao;
    SomNulo som;
    VocabularyService vocab{dir.path(), config};
    TranscriptionHistory historico{dir.path()};
    SpeechManager sm{SpeechManager::Dependencias{config, rede, dir.path(), mic, insercao, som, vocab, historico, dir.path(),
                                                 [] { return std::nullopt; }}};
    Ambiente()
    {
        qputenv("SONVO_OPENAI_BASE_URL", servidor.url().toString().toUtf8());
        KeychainService(dir.path()).salvarChave(QStringLiteral("openai_api_key"), QStringLiteral("sk"));
        servidor.guardarCorpos(false);
        servidor.definirPadrao(Resposta::json(200, R"({"text":"abri o vs code e mandei o relatório"})"));
    }
};

std::vector<float> tom(size_t quadros)
{
    std::vector<float> b(quadros);
    for (size_t i = 0; i < quadros; ++i)
        b[i] = 0.3f * static_cast<float>(std::sin(2 * M_PI * 220.0 * static_cast<double>(i) / 48000.0));
    return b;
}
} // namespace

// What the audio thread does per 1024-frame buffer: append it to the WAV, compute the level,
// post it to the main thread.
static void BM_CallbackDeCaptura(benchmark::State& state)
{
    Ambiente a;
    a.sm.startRecording();
    const auto buf = tom(1024);
    int n = 0;
    for (auto _ : state) {
        a.mic.bloco(buf.data(), 1024);
        if (++n % 256 == 0) {
            state.PauseTiming();
            QCoreApplication::processEvents();
            state.ResumeTiming();
        }
    }
    a.sm.stopRecording();
    while (a.sm.recordingState().caso == RecordingState::Caso::transcribing)
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
}
BENCHMARK(BM_CallbackDeCaptura)->Unit(benchmark::kMicrosecond);

// From stop to completed for a 30-second dictation, the local server answering at once and the
// insertion costing nothing (its fixed waits are not part of this figure).
static void BM_PararAteConcluido30s(benchmark::State& state)
{
    Ambiente a;
    const auto buf = tom(1024);
    std::vector<double> ms;
    for (auto _ : state) {
        state.PauseTiming();
        a.sm.startRecording();
        for (int i = 0; i < 30 * 48000 / 1024; ++i)
            a.mic.bloco(buf.data(), 1024);
        QCoreApplication::processEvents();
        QElapsedTimer t;
        t.start();
        state.ResumeTiming();
        a.sm.stopRecording();
        while (a.sm.recordingState().caso == RecordingState::Caso::transcribing)
            QCoreApplication::processEvents(QEventLoop::AllEvents, 1);
        state.PauseTiming();
        ms.push_back(static_cast<double>(t.nsecsElapsed()) / 1e6);
        if (a.sm.recordingState().caso != RecordingState::Caso::completed)
            state.SkipWithError(a.sm.recordingState().mensagem.toUtf8().constData());
        state.ResumeTiming();
    }
    std::sort(ms.begin(), ms.end());
    state.counters["p50_ms"] = ms.empty() ? 0 : ms[ms.size() / 2];
    state.counters["max_ms"] = ms.empty() ? 0 : ms.back();
}
BENCHMARK(BM_PararAteConcluido30s)->Unit(benchmark::kMillisecond)->Iterations(20);

// Encoding a 30-second recording (48 kHz float mono, as the microphone gives it) to the compact
// upload: resampling to 16 kHz and Ogg/Opus. It must cost far less than the upload it saves
// (5.8 MB at 10 Mbit/s is about 4.6 s).
static void BM_CodificarOpus30s(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString wav = dir.path() + QStringLiteral("/30s.wav");
    gravarArquivo(wav, wavSintetico(48000, 1, 30.0));
    for (auto _ : state)
        if (const auto erro = converterParaOpus(wav, dir.path() + QStringLiteral("/30s.ogg")))
            state.SkipWithError(erro->toUtf8().constData());
    state.counters["bytes_opus"] = static_cast<double>(QFileInfo(dir.path() + QStringLiteral("/30s.ogg")).size());
}
BENCHMARK(BM_CodificarOpus30s)->Unit(benchmark::kMillisecond)->Iterations(5);

// From starting the capture to the first buffer, on the real default input (skipped when there is
// none: run it inside the test desktop, whose virtual microphone is the default source).
static void BM_PrimeiroBlocoDoMicrofone(benchmark::State& state)
{
    auto audio = criarEntradaAudio();
    if (!audio->formato()) {
        state.SkipWithError("sem microfone");
        return;
    }
    std::vector<double> ms;
    for (auto _ : state) {
        std::atomic<bool> chegou{false};
        const auto inicio = std::chrono::steady_clock::now();
        std::atomic<long long> quando{0};
        audio->iniciar([&](const float*, unsigned long) {
            if (!chegou.exchange(true))
                quando = (std::chrono::steady_clock::now() - inicio).count();
        });
        while (!chegou)
            std::this_thread::sleep_for(std::chrono::microseconds(200));
        audio->parar();
        ms.push_back(static_cast<double>(quando.load()) / 1e6);
    }
    std::sort(ms.begin(), ms.end());
    state.counters["p50_ms"] = ms[ms.size() / 2];
    state.counters["max_ms"] = ms.back();
}
BENCHMARK(BM_PrimeiroBlocoDoMicrofone)->Unit(benchmark::kMillisecond)->Iterations(10);
