#include "ai/IntentDetectionService.h"

#include <QStringList>
#include <benchmark/benchmark.h>

using namespace sonvo;

namespace {

// A dictation of exactly 100 words, as a user might leave before asking for something.
const QString kBase = QStringLiteral(
    "hoje de manhã conversei com a equipe sobre o andamento do projeto e ficou claro que ainda temos "
    "muitas pendências antes da entrega combinada com o cliente para o fim do mês que vem então "
    "precisamos reorganizar as prioridades e dividir melhor as tarefas entre as pessoas disponíveis "
    "além disso o servidor de testes voltou a cair duas vezes durante a semana e ninguém sabe ao certo "
    "o motivo o pessoal da infraestrutura prometeu investigar mas até agora não recebemos nenhuma "
    "resposta concreta sobre isso também falamos sobre contratar mais alguém para ajudar no suporte "
    "porque o volume de chamados cresceu bastante nas últimas semanas e a fila está enorme");

QString texto(const QString& final)
{
    QStringList palavras = kBase.split(u' ');
    const QStringList fim = final.split(u' ', Qt::SkipEmptyParts);
    palavras = palavras.mid(0, 100 - fim.size()) + fim;
    return palavras.join(u' ');
}

void rodar(benchmark::State& state, const QString& entrada, const IntentResult& esperado)
{
    if (entrada.split(u' ').size() != 100) {
        state.SkipWithError("o texto não tem 100 palavras");
        return;
    }
    const QList<QuickAction> acoes = QuickActions::padrao();
    if (IntentDetectionService::classificarLocal(entrada, acoes) != esperado) {
        state.SkipWithError("resultado inesperado");
        return;
    }
    for (auto _ : state)
        benchmark::DoNotOptimize(IntentDetectionService::classificarLocal(entrada, acoes));
}

// No keyword anywhere: every expression scans the whole text.
void BM_ClassificarLocal_SemIntencao(benchmark::State& state)
{
    rodar(state, texto(QString()), IntentResult::nada());
}

// The request comes at the end, as dictated: a keyword and a verb, both found last.
void BM_ClassificarLocal_PedidoNoFim(benchmark::State& state)
{
    rodar(state, texto(QStringLiteral("faz um resumo disso")), IntentResult{QuickAction::resumir, IntentConfianca::alta});
}

// A keyword without a verb: the verb expression scans everything and fails.
void BM_ClassificarLocal_SoPalavraChave(benchmark::State& state)
{
    rodar(state, texto(QStringLiteral("o resumo ficou bom")), IntentResult{QuickAction::resumir, IntentConfianca::media});
}

} // namespace

BENCHMARK(BM_ClassificarLocal_SemIntencao)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ClassificarLocal_PedidoNoFim)->Unit(benchmark::kMicrosecond);
BENCHMARK(BM_ClassificarLocal_SoPalavraChave)->Unit(benchmark::kMicrosecond);
