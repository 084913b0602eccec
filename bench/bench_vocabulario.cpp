#include "core/Configuracoes.h"
#include "core/Log.h"
#include "dictation/InsertBuffer.h"
#include "vocabulary/SugestaoFuzzy.h"
#include "vocabulary/VocabularyService.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>
#include <QTemporaryDir>
#include <benchmark/benchmark.h>

#include <cstdlib>

using namespace sonvo;

namespace {

// Everyday Brazilian Portuguese, accents included, so the folding sees what a dictation holds.
const char* const kPalavras[] = {
    "então", "você", "não", "também", "reunião", "amanhã", "código", "função", "já", "está", "projeto", "cliente",
    "precisamos", "revisar", "proposta", "semana", "próxima", "equipe", "desenvolvimento", "aplicação", "servidor",
    "banco", "dados", "usuário", "tela", "botão", "configuração", "arquivo", "pasta", "versão", "teste", "erro",
    "corrigir", "problema", "solução", "relatório", "orçamento", "prazo", "entrega", "mês", "ano", "hoje", "ontem",
    "porque", "quando", "onde", "como", "muito", "pouco", "mais", "menos", "bem", "mal", "sempre", "nunca", "agora",
    "depois", "antes", "durante", "sobre", "entre", "para", "com", "sem", "pelo", "pela", "dos", "das", "uma", "um",
    "o", "a", "e", "de", "que", "em", "se", "eu", "ele", "ela", "nós", "eles", "isso", "aquilo", "coisa", "pessoa",
    "trabalho", "empresa", "mercado", "venda", "compra", "preço", "valor", "número", "informação", "comunicação",
    "atenção", "opinião", "decisão", "questão", "razão", "condição", "situação", "posição", "direção", "operação",
    "público", "único", "último", "básico", "técnico", "prático", "lógico", "rápido", "fácil", "difícil", "possível",
    "necessário", "importante", "diferente", "seguinte", "anterior", "principal", "geral", "especial", "atual",
    "escrever", "mandar", "enviar", "receber", "abrir", "fechar", "salvar", "apagar", "mudar", "ficar", "começar",
    "terminar", "pensar", "saber", "conhecer", "entender", "explicar", "mostrar", "ajudar", "usar", "fazer", "ter",
};
constexpr int kNumPalavras = int(sizeof kPalavras / sizeof *kPalavras);

QString palavra(QRandomGenerator& r)
{
    return QString::fromUtf8(kPalavras[r.bounded(kNumPalavras)]);
}

// Made-up misheard names ("vesse code" and the like): letters and syllables that do not occur in
// the everyday words, so each heard phrase matches only where it was planted.
QString ouvidoInventado(int i)
{
    static const char* const silabas[] = {"kra", "vus", "zel", "tix", "quo", "bry", "fyn", "wak", "jov", "gux"};
    QString s;
    int n = i;
    for (int k = 0; k < 3; ++k) {
        s += QString::fromLatin1(silabas[n % 10]);
        n /= 10;
    }
    return (i % 3 == 0) ? s + QStringLiteral(" code") : s;
}

struct Pasta {
    QTemporaryDir dir;
    Configuracoes config{dir.path() + QStringLiteral("/Sonvo.conf")};
    VocabularyService vocab{dir.path(), config};
    void gravar(const char* nome, const QByteArray& dados)
    {
        QFile f(dir.path() + u'/' + QLatin1String(nome));
        if (!f.open(QIODevice::WriteOnly) || f.write(dados) != dados.size())
            std::abort();
    }
};

void silenciarLog(const QTemporaryDir& dir)
{
    Log::enviarParaArquivo(dir.path() + QStringLiteral("/bench.log"));
}

} // namespace

// One dictation's corrections: both files read and parsed, 500 global and 100 per-app pairs
// over 2,000 words, about 60 of the heard phrases present in the text.
static void BM_AplicarCorrecoes(benchmark::State& state)
{
    Pasta p;
    QRandomGenerator r(42);
    QByteArray md = DocumentoVocabulario::modelo().replace("## Correções automáticas\n", "## Correções automáticas\n__ITENS__");
    QByteArray itens;
    for (int i = 0; i < 500; ++i)
        itens += "- " + ouvidoInventado(i).toUtf8() + " -> " + ouvidoInventado(i).toUpper().toUtf8() + "\n";
    p.gravar(DocumentoVocabulario::kArquivo, md.replace("__ITENS__", itens));
    QJsonObject correcoes;
    for (int i = 500; i < 600; ++i)
        correcoes.insert(ouvidoInventado(i), ouvidoInventado(i).toUpper());
    QJsonObject raiz{{"code", QJsonObject{{"corrections", correcoes}, {"priorityTerms", QJsonArray{"Qt", "CMake"}}}}};
    p.gravar(VocabularioPorApp::kArquivo, QJsonDocument(raiz).toJson());

    QStringList texto;
    for (int i = 0; i < 2000; ++i)
        texto << (i % 33 == 0 ? ouvidoInventado(int(r.bounded(600))) : palavra(r));
    const QString transcricao = texto.join(u' ');
    const std::optional<QString> app = QStringLiteral("code");
    for (auto _ : state) {
        QString saida = p.vocab.aplicarCorrecoes(transcricao, app);
        benchmark::DoNotOptimize(saida);
    }
    const QString saida = p.vocab.aplicarCorrecoes(transcricao, app);
    state.counters["mudou"] = saida != transcricao ? 1 : 0;
}
BENCHMARK(BM_AplicarCorrecoes)->Unit(benchmark::kMillisecond);

// Tier 2 after a dictation: a full insert buffer (50 texts of 100 words) against 300 words.
static void BM_SugerirCorrecaoFuzzy(benchmark::State& state)
{
    QTemporaryDir dir;
    silenciarLog(dir);
    QRandomGenerator r(7);
    InsertBuffer buffer;
    for (int t = 0; t < 50; ++t) {
        QStringList texto;
        for (int i = 0; i < 100; ++i)
            texto << palavra(r);
        buffer.adicionar(texto.join(u' '));
    }
    // Some near misses: a letter dropped or an accent lost.
    QStringList texto;
    for (int i = 0; i < 300; ++i) {
        QString w = palavra(r);
        if (i % 10 == 0 && w.size() > 4)
            w.remove(w.size() / 2, 1);
        texto << w;
    }
    const QString transcricao = texto.join(u' ');
    for (auto _ : state) {
        auto s = sugerirCorrecaoFuzzy(buffer.palavrasFrequentes(2), transcricao);
        benchmark::DoNotOptimize(s);
    }
    state.counters["sugestoes"] = double(sugerirCorrecaoFuzzy(buffer.palavrasFrequentes(2), transcricao).size());
    state.counters["frequentes"] = double(buffer.palavrasFrequentes(2).size());
}
BENCHMARK(BM_SugerirCorrecaoFuzzy)->Unit(benchmark::kMillisecond);

// The hint before a cloud transcription: the document read and parsed, 2,000 terms joined and cut.
static void BM_PriorityTermsAsPrompt(benchmark::State& state)
{
    Pasta p;
    QByteArray md = "## Termos prioritários\n";
    for (int i = 0; i < 2000; ++i)
        md += "- " + ouvidoInventado(i).toUtf8() + " Ção" + QByteArray::number(i) + "\n";
    p.gravar(DocumentoVocabulario::kArquivo, md);
    for (auto _ : state) {
        auto dica = p.vocab.priorityTermsAsPrompt(std::nullopt);
        benchmark::DoNotOptimize(dica);
    }
    state.counters["caracteres"] = double(p.vocab.priorityTermsAsPrompt(std::nullopt)->size());
}
BENCHMARK(BM_PriorityTermsAsPrompt)->Unit(benchmark::kMicrosecond);
