#include "capture/TranscriptionHistory.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

struct VocabularioCli : ::testing::Test {
    AmbienteTemporario amb;
    ResultadoProcesso rodar(const QStringList& args, const QByteArray& entrada = {}) { return rodarSonvo(amb, args, entrada); }
    QString vocabulario() const { return amb.pastaDados() + QStringLiteral("/vocabulary.md"); }
    QString porApp() const { return amb.pastaDados() + QStringLiteral("/vocabulary-by-app.json"); }
    void escrever(const QString& caminho, const QByteArray& conteudo)
    {
        QDir().mkpath(amb.pastaDados());
        ASSERT_TRUE(gravarArquivo(caminho, conteudo));
    }
    // Success: exit 0 and nothing on standard error (log lines go to the log file).
    QByteArray ok(const QStringList& args, const QByteArray& entrada = {})
    {
        const auto r = rodar(args, entrada);
        EXPECT_EQ(r.codigo, 0) << args.join(u' ').toStdString() << ": " << r.erro.constData();
        EXPECT_TRUE(r.erro.isEmpty()) << r.erro.constData();
        return r.saida;
    }
};

QStringList a(std::initializer_list<const char*> args)
{
    QStringList l;
    for (const char* s : args)
        l << QString::fromUtf8(s);
    return l;
}

} // namespace

TEST_F(VocabularioCli, CorrigirGlobalDepoisPorAplicativo)
{
    ok(a({"vocabulario", "adicionar", "vs code", "VS Code"}));
    EXPECT_EQ(ok(a({"corrigir", "--app", "code", "abri o vs code e o VS CODE"})), QByteArray("abri o VS Code e o VS Code\n"));
    ok(a({"vocabulario", "adicionar", "VS Code", "Visual Studio Code", "--app", "code"}));
    EXPECT_EQ(ok(a({"corrigir", "--app", "code", "abri o vs code"})), QByteArray("abri o Visual Studio Code\n"));
    EXPECT_EQ(ok(a({"corrigir", "abri", "o", "vs", "code"})), QByteArray("abri o VS Code\n"));
    EXPECT_EQ(ok(a({"corrigir", "--", "--vs code"})), QByteArray("--VS Code\n"));

    // Standard input is taken whole; a final line end is kept, not doubled.
    EXPECT_EQ(ok(a({"corrigir"}), "linha 1 vs code\nlinha 2 VS CODE\n"), QByteArray("linha 1 VS Code\nlinha 2 VS Code\n"));
    EXPECT_EQ(ok(a({"corrigir", "--app=code"}), "vs code"), QByteArray("Visual Studio Code\n"));
    EXPECT_EQ(ok(a({"corrigir"}), ""), QByteArray());

    const QByteArray log = amb.lerLog();
    EXPECT_TRUE(log.contains("Vozel [Vocab] importarCorrecao aprovada: vs code -> VS Code\n"));
    EXPECT_TRUE(log.contains("Vozel [Vocab/Tier3] registrou code em vocabulary-by-app.json: 'VS Code' → 'Visual Studio Code'\n"));
}

TEST_F(VocabularioCli, ErrosDeUsoEEntradaInvalida)
{
    for (const QStringList& args : {a({"corrigir", "--app"}), a({"corrigir", "--app", ""}), a({"corrigir", "--xyz", "t"}),
                                    a({"vocabulario"}), a({"vocabulario", "apagar"}), a({"vocabulario", "listar", "extra"}),
                                    a({"vocabulario", "adicionar", "só um"}), a({"vocabulario", "adicionar", " ", "x"}),
                                    a({"vocabulario", "adicionar", "a -> b", "c"}), a({"vocabulario", "adicionar", "a\nb", "c"}),
                                    a({"vocabulario", "remover", "x"}), a({"historico", "0"}), a({"historico", "dez"}),
                                    a({"historico", "1", "2"})}) {
        const auto r = rodar(args);
        EXPECT_EQ(r.codigo, 2) << args.join(u' ').toStdString();
        EXPECT_TRUE(r.saida.isEmpty());
        EXPECT_TRUE(r.erro.endsWith(" (veja: sonvo --help)\n")) << r.erro.constData();
    }
    EXPECT_FALSE(QFileInfo::exists(vocabulario())); // "->" was refused before anything was written

    const auto r = rodar(a({"corrigir"}), "caf\xE9\n");
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro, QByteArray("A entrada padrão não é texto UTF-8 válido\n"));
}

TEST_F(VocabularioCli, ListarAdicionarRemover)
{
    EXPECT_EQ(ok(a({"vocabulario", "listar"})), QByteArray("Correções:\n  (nenhuma)\nTermos prioritários:\n  (nenhum)\nWhitelist:\n  (nenhuma)\n"));
    EXPECT_EQ(lerArquivo(vocabulario()).size(), 741); // listing bootstraps the document

    ok(a({"vocabulario", "adicionar", "cloud", "Claude"}));
    ok(a({"vocabulario", "adicionar", " Foo ", "Bar", "--app", "kate"}));
    ok(a({"vocabulario", "adicionar", "zeta", "Z", "--app", "code"}));
    EXPECT_EQ(ok(a({"vocabulario", "listar"})),
              QByteArray("Correções:\n  cloud -> Claude\nTermos prioritários:\n  (nenhum)\nWhitelist:\n  (nenhuma)\n"
                         "Aplicativos com vocabulário próprio:\n  code\n  kate\n"));
    EXPECT_EQ(ok(a({"vocabulario", "listar", "--app", "kate"})),
              QByteArray("Correções:\n  foo -> Bar\nTermos prioritários:\n  (nenhum)\nWhitelist:\n  (nenhuma)\n"));

    // Removal matches the stored key exactly.
    auto r = rodar(a({"vocabulario", "remover", "foo", "--app", "kate"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro, QByteArray("Nenhuma correção \"foo\" no vocabulário de kate\n"));
    EXPECT_EQ(ok(a({"vocabulario", "remover", "Foo", "--app", "kate"})), QByteArray("Correção removida do vocabulário de kate: Foo\n"));
    EXPECT_EQ(ok(a({"vocabulario", "listar"})).count("kate"), 0);
    EXPECT_TRUE(amb.lerLog().contains("Vozel [Vocab/Tier3] removeu 'Foo' de kate\n"));
}

TEST_F(VocabularioCli, TermosSaemExatamenteComoSeriamEnviados)
{
    EXPECT_EQ(ok(a({"vocabulario", "termos"})), QByteArray()); // no hint at all: nothing, not an empty line
    escrever(vocabulario(), "## Termos prioritários\n- Maquiavel\n- Zettelkasten\n");
    escrever(porApp(), R"({"code": {"priorityTerms": ["Qt", "Maquiavel"]}})");
    EXPECT_EQ(ok(a({"vocabulario", "termos"})), QByteArray("Maquiavel, Zettelkasten"));
    EXPECT_EQ(ok(a({"vocabulario", "termos", "--app", "code"})), QByteArray("Maquiavel, Zettelkasten, Qt, Maquiavel"));
    escrever(vocabulario(), "## Termos prioritários\n- " + QByteArray(1500, 'x') + "\n");
    EXPECT_EQ(ok(a({"vocabulario", "termos"})), QByteArray(1000, 'x'));
}

TEST_F(VocabularioCli, DocumentoIlegivelNuncaESobrescrito)
{
    const QByteArray latin1 = "## Correções automáticas\n- voce -> voc\xEA\n";
    escrever(vocabulario(), latin1);
    EXPECT_EQ(ok(a({"corrigir", "voce"})), QByteArray("voce\n")); // dictation goes on uncorrected
    auto r = rodar(a({"vocabulario", "adicionar", "a", "b"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro, "Não foi possível ler " + vocabulario().toUtf8() + ": o arquivo não é texto UTF-8 válido\n");
    r = rodar(a({"vocabulario", "listar"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro.count('\n'), 1);
    EXPECT_EQ(lerArquivo(vocabulario()), latin1);

    ASSERT_TRUE(QFile::remove(vocabulario()));
    ASSERT_TRUE(QDir().mkpath(vocabulario()));
    EXPECT_EQ(ok(a({"corrigir", "voce"})), QByteArray("voce\n"));
    r = rodar(a({"vocabulario", "adicionar", "a", "b"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro, "Não foi possível ler " + vocabulario().toUtf8() + ": é uma pasta\n");
    EXPECT_TRUE(QFileInfo(vocabulario()).isDir());

    // CRLF and a byte-order mark, as Windows editors save.
    ASSERT_TRUE(QDir(vocabulario()).removeRecursively());
    escrever(vocabulario(), "\xEF\xBB\xBF## Correções automáticas\r\n- voce -> você\r\n");
    EXPECT_EQ(ok(a({"corrigir", "voce"})), QByteArray("você\r\n"));
}

TEST_F(VocabularioCli, ArquivoPorAplicativoIlegivel)
{
    escrever(porApp(), R"({"code": {"corrections": )");
    auto r = rodar(a({"vocabulario", "listar", "--app", "code"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_TRUE(r.erro.startsWith("O arquivo " + porApp().toUtf8() + " não é JSON válido")) << r.erro.constData();
    EXPECT_EQ(ok(a({"corrigir", "--app", "code", "texto"})), QByteArray("texto\n"));

    // Adding moves the bad file aside first.
    ok(a({"vocabulario", "adicionar", "a", "b", "--app", "code"}));
    const QStringList guardados = QDir(amb.pastaDados()).entryList({QStringLiteral("vocabulary-by-app.json.corrupt-*")});
    ASSERT_EQ(guardados.size(), 1);
    EXPECT_EQ(lerArquivo(amb.pastaDados() + u'/' + guardados.first()), QByteArray(R"({"code": {"corrections": )"));
    EXPECT_TRUE(amb.lerLog().contains("original guardado em"));
}

TEST_F(VocabularioCli, HistoricoDoMaisRecente)
{
    EXPECT_EQ(ok(a({"historico"})), QByteArray());
    QDateTime quando(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);
    TranscriptionHistory h(amb.pastaDados(), [&] { return quando; });
    for (int i = 1; i <= 12; ++i) {
        h.append(QStringLiteral("ditado %1").arg(i), i % 2 ? std::optional<QString>(QStringLiteral("kate")) : std::nullopt);
        quando = quando.addSecs(60);
    }
    EXPECT_EQ(ok(a({"historico", "2"})), QByteArray("2025-03-01T14:16:09Z\nditado 12\n\n2025-03-01T14:15:09Z [kate]\nditado 11\n"));
    EXPECT_EQ(ok(a({"historico"})).count("ditado"), 10);
    EXPECT_EQ(ok(a({"historico", "500"})).count("ditado"), 12);

    escrever(h.arquivo(), "[{\"texto\": 1}]");
    const auto r = rodar(a({"historico"}));
    EXPECT_EQ(r.codigo, 1);
    EXPECT_EQ(r.erro, "Não foi possível ler o histórico em " + h.arquivo().toUtf8() + "\n");
    EXPECT_EQ(lerArquivo(h.arquivo()), QByteArray("[{\"texto\": 1}]"));
}
