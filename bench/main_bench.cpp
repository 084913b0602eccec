#include "core/Log.h"

#include <QCoreApplication>
#include <benchmark/benchmark.h>

// Networking and timers need a Qt application object; benchmarks drive their own event loops.
int main(int argc, char** argv)
{
    QCoreApplication app(argc, argv);
    sonvo::Log::enviarParaArquivo(QStringLiteral("/dev/null"));
    ::benchmark::Initialize(&argc, argv);
    if (::benchmark::ReportUnrecognizedArguments(argc, argv))
        return 1;
    ::benchmark::RunSpecifiedBenchmarks();
    ::benchmark::Shutdown();
    return 0;
}
