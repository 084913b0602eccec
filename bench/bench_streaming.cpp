#include "ai/AIService.h"
#include "core/Endpoints.h"
#include "support/ServidorTeste.h"
#include "support/Utilitarios.h"

#include <QNetworkAccessManager>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>

using namespace sonvo;
using namespace sonvo::teste;

// From the moment the loopback server writes an event to the moment its fragment reaches the
// stream's consumer. Each fragment carries the server's write time; both ends share one clock.
static void BM_LatenciaStreaming(benchmark::State& state)
{
    const int eventos = static_cast<int>(state.range(0));
    QTemporaryDir dir;
    KeychainService chaves(dir.path());
    chaves.salvarChave(QStringLiteral("openai_api_key"), QStringLiteral("sk"));
    ServidorTeste servidor;
    QNetworkAccessManager rede;
    ContextoIA ctx{rede, chaves, Endpoints::juntar(servidor.url(), QStringLiteral("/v1/chat/completions"))};
    OpenAIProvider provedor(std::move(ctx));

    QStringList fragmentos;
    for (int i = 0; i < eventos; ++i)
        fragmentos << QString::fromLatin1(Resposta::marcaDeTempo);
    std::vector<double> latencias;
    for (auto _ : state) {
        servidor.enfileirar(Resposta::sse(Resposta::eventosOpenAI(fragmentos), 1));
        auto fluxo = provedor.transformarStream(QStringLiteral("x"), QuickAction::resumir, std::nullopt);
        QObject::connect(fluxo.get(), &FluxoIA::fragmento, [&latencias](const QString& f) {
            const auto agora = std::chrono::steady_clock::now().time_since_epoch().count();
            latencias.push_back(static_cast<double>(agora - f.toLongLong()) / 1e6);
        });
        if (aguardar(fluxo->fim()))
            state.SkipWithError("o stream terminou com erro");
    }
    std::sort(latencias.begin(), latencias.end());
    auto percentil = [&](double p) {
        return latencias.empty() ? 0.0 : latencias[std::min(latencias.size() - 1, static_cast<size_t>(p * static_cast<double>(latencias.size())))];
    };
    state.counters["eventos"] = static_cast<double>(latencias.size());
    state.counters["p50_ms"] = percentil(0.50);
    state.counters["p99_ms"] = percentil(0.99);
    state.counters["max_ms"] = latencias.empty() ? 0.0 : latencias.back();
}
BENCHMARK(BM_LatenciaStreaming)->Arg(1000)->Iterations(1)->Unit(benchmark::kMillisecond);
