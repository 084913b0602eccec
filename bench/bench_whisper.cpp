#include "dictation/WhisperService.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QFile>
#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {
// Resident-set high-water mark of this process, in bytes; "5" into clear_refs resets it.
long long picoResidente()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& l : f.readAll().split('\n'))
        if (l.startsWith("VmHWM:"))
            return l.mid(6).trimmed().split(' ').value(0).toLongLong() * 1024;
    return -1;
}

long long residenteAgora()
{
    QFile f(QStringLiteral("/proc/self/status"));
    if (!f.open(QIODevice::ReadOnly))
        return -1;
    for (const QByteArray& l : f.readAll().split('\n'))
        if (l.startsWith("VmRSS:"))
            return l.mid(6).trimmed().split(' ').value(0).toLongLong() * 1024;
    return -1;
}

void zerarPico()
{
    QFile f(QStringLiteral("/proc/self/clear_refs"));
    if (f.open(QIODevice::WriteOnly))
        f.write("5");
}
} // namespace

// A 60-second dictation at 48 kHz, mono, float32 (about 11.5 MB) sent to the loopback server.
static void BM_TranscreverWav60s(benchmark::State& state)
{
    QTemporaryDir dir;
    const QString wav = dir.path() + QStringLiteral("/fala.wav");
    const QByteArray audio = wavSintetico(48000, 1, 60.0);
    gravarArquivo(wav, audio);
    ServidorTeste servidor;
    servidor.guardarCorpos(false); // the server counts bytes, so only the client's memory is measured
    servidor.definirPadrao(Resposta::json(200, R"({"text":"ok"})"));
    QNetworkAccessManager rede;
    WhisperService ws(rede, QUrl(servidor.url().toString() + QStringLiteral("/v1/audio/transcriptions")));
    const double tamanho = static_cast<double>(audio.size());

    long long maiorPico = 0;
    for (auto _ : state) {
        state.PauseTiming();
        const long long base = residenteAgora();
        zerarPico();
        state.ResumeTiming();
        const auto r = aguardar(ws.transcrever(wav, QStringLiteral("sk"), QStringLiteral("Sonvo")));
        state.PauseTiming();
        if (!r.ok())
            state.SkipWithError("a transcrição falhou");
        maiorPico = std::max(maiorPico, picoResidente() - base);
        state.ResumeTiming();
    }
    state.counters["wav_MB"] = tamanho / 1e6;
    state.counters["pico_extra_MB"] = static_cast<double>(maiorPico) / 1e6;
    state.counters["pico_extra_em_wavs"] = static_cast<double>(maiorPico) / tamanho;
    state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * audio.size());
}
BENCHMARK(BM_TranscreverWav60s)->Unit(benchmark::kMillisecond)->Iterations(10);
