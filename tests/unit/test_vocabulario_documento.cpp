#include "vocab_suporte.h"

#include <QCryptographicHash>

#include <sys/stat.h>

using namespace sonvo;
using namespace sonvo::teste;

using Documento = BaseVocab;

TEST_F(Documento, ModeloEscritoUmaVezSecoesEImportacaoAposOCabecalho)
{
    QDir(pasta).removeRecursively(); // the folder is created too
    vocab.documento().bootstrapSeNecessario();
    // From then on every byte is the user's document: the digest pins all 741 of them.
    const QByteArray escrito = lerArquivo(global());
    EXPECT_EQ(QCryptographicHash::hash(escrito, QCryptographicHash::Sha256).toHex(), "2b1d259886f2b3c2f34ad5689e4e1fe40d19ae15a2452d7f805399d84dae95eb");
    EXPECT_EQ(vocab.documento().carregar(), VocabularioSnapshot::vazio()); // its examples are comments

    // A file already there is never touched, even one that is not UTF-8 (cut in a sequence) and reads as empty.
    escreverGlobal("## Correções automáticas\n- a -> \xC3");
    ::chmod(QFile::encodeName(global()).constData(), 0640);
    EXPECT_EQ(vocab.documento().carregar(), VocabularioSnapshot::vazio());
    EXPECT_EQ(lerArquivo(global()), "## Correções automáticas\n- a -> \xC3");
    EXPECT_EQ(modoDe(global()), 0640);

    const std::pair<const char*, VocabularioSnapshot> casos[] = {
        // One arrow, both sides filled; the last spelling of a heard phrase wins.
        {"## Correções automáticas\n- Cloud Code -> Claude Code\n- foo ->\n- -> bar\n- VS code -> 1\n- vs Code -> 2\n- a->b\n- x -> y -> z\n"
         "- term\n\t-   Tabs\t->\tTAB  \n-sem espaço -> nada\n* asterisco -> nada\n",
         {Mapa{{"cloud code", "Claude Code"}, {"vs code", "2"}, {"a", "b"}, {"tabs", "TAB"}}, {}, {}}},
        // The template's third heading mentions "correções": its items lack an arrow and are dropped.
        {"## Excluir destas correções (whitelist)\n- Zettelkasten\n", {}},
        {"## Whitelist\n- Zettelkasten\n## Excluir\n- ÁGUA\n## Termos prioritários\n- term\n- Maquiavel\n- term\n",
         {{}, {"term", "Maquiavel", "term"}, {"zettelkasten", "água"}}},
        {"## PRIORITÁRIOS ## e mais\n- Um\n## Notas\n- a -> b\n## CORREÇÕES\n- c -> d\n", {Mapa{{"c", "d"}}, {"Um"}, {}}},
        // A comment spread over lines is not one: its inner item is read.
        {"- a -> b\n# T\n### Correções\n##Correções\n- a -> b\n## Correções\n   <!-- - c -> d -->\ntexto <!-- - e -> f -->\n<!-- x\n- g -> h\n-->\n",
         {Mapa{{"g", "h"}}, {}, {}}},
        // A carriage return is no white space here: headings still match by prefix, values keep it.
        {"\xEF\xBB\xBF## Correções automáticas\r\n- vs code -> VS Code\r\n\r\n## Termos prioritários\r\n- Maquiavel\r\n## Whitelist\r\n- Foo\r\n",
         {Mapa{{"vs code", "VS Code\r"}}, {"Maquiavel\r"}, {"foo\r"}}},
    };
    for (const auto& [md, esperado] : casos)
        EXPECT_EQ(DocumentoVocabulario::parseMarkdown(QString::fromUtf8(md)), esperado) << md;

    const std::tuple<QByteArray, QList<std::pair<QString, QString>>, QByteArray> importacoes[] = {
        // Newest first, as written: no trimming or lower-casing, only a final line feed goes.
        {"# V\n## Correções automáticas\n\n## Termos", {{"cloud", "Claude"}, {"  Vesse Code ", "VS Code\n"}},
         "# V\n## Correções automáticas\n-   Vesse Code  -> VS Code\n- cloud -> Claude\n\n## Termos"},
        // Two blanks after the hashes, or a CRLF line end: not the heading, so at the end.
        {"##  Correções automáticas\n- a -> b\n", {{"c", "d"}}, "##  Correções automáticas\n- a -> b\n\n- c -> d"},
        {"## Correções automáticas\r\n- a -> b", {{"c", "d"}}, "## Correções automáticas\r\n- a -> b\n- c -> d"},
        // Lines are compared trimmed; repeats are not checked.
        {"\xEF\xBB\xBF# T\n  ## Correções automáticas  \n", {{"x", "y"}, {"x", "y"}}, "\xEF\xBB\xBF# T\n  ## Correções automáticas  \n- x -> y\n- x -> y\n"},
    };
    for (const auto& [antes, importar, depois] : importacoes) {
        escreverGlobal(antes);
        for (const auto& [ouvido, escrever] : importar)
            ASSERT_EQ(vocab.documento().importarCorrecaoAprovada(ouvido, escrever), std::nullopt);
        EXPECT_EQ(lerArquivo(global()), depois);
    }
}
