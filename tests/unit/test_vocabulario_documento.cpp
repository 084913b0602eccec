#include "vocab_suporte.h"

#include <unistd.h>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

using Documento = BaseVocab;

VocabularioSnapshot ler(const char* texto)
{
    return VocabularyService::parseMarkdown(QString::fromUtf8(texto));
}

} // namespace

TEST_F(Documento, ModeloEscritoUmaVezByteAByteComModo0600)
{
    QDir(pasta).removeRecursively(); // the service creates its folder too
    vocab.bootstrapSeNecessario();
    const QByteArray escrito = lerArquivo(vocab.arquivoGlobal());
    ASSERT_EQ(escrito.size(), 741);
    EXPECT_EQ(escrito, VocabularyService::modelo());
    EXPECT_EQ(modoDe(vocab.arquivoGlobal()), 0600);
    EXPECT_EQ(modoDe(pasta), 0700);

    const QList<QByteArray> linhas = escrito.split('\n');
    ASSERT_EQ(linhas.size(), 24);
    EXPECT_FALSE(escrito.endsWith('\n'));
    for (int vazia : {2, 6, 8, 13, 15, 21, 23})
        EXPECT_TRUE(linhas[vazia - 1].isEmpty()) << vazia;
    EXPECT_EQ(linhas[0], QByteArray("# Vocabulário do Sonvo"));
    EXPECT_EQ(linhas[6], QByteArray("## Correções automáticas"));
    EXPECT_EQ(linhas[10], QByteArray("<!-- - cloud code -> Claude Code -->"));
    EXPECT_EQ(linhas[13], QByteArray("## Termos prioritários"));
    EXPECT_EQ(linhas[21], QByteArray("## Excluir destas correções (whitelist)"));
    EXPECT_EQ(linhas[23], QByteArray("<!-- Palavras que NUNCA devem ser corrigidas, mesmo que apareçam em \"Correções automáticas\". -->"));

    // The template itself holds no vocabulary, and an existing file is never touched again.
    EXPECT_EQ(vocab.carregaGlobal(), VocabularioSnapshot::vazio());
    escreverGlobal("meu texto");
    ::chmod(QFile::encodeName(vocab.arquivoGlobal()).constData(), 0640);
    vocab.bootstrapSeNecessario();
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), QByteArray("meu texto"));
    EXPECT_EQ(modoDe(vocab.arquivoGlobal()), 0640);
}

TEST(ParseMarkdown, ItensDeCorrecao)
{
    const auto s = ler("## Correções automáticas\n"
                       "- Cloud Code -> Claude Code\n"
                       "- foo ->\n"
                       "- -> bar\n"
                       "- VS code -> primeiro\n"
                       "- vs Code -> segundo\n"
                       "- a->b\n"
                       "- x -> y -> z\n"
                       "- term\n"
                       "\t-   Tabs\t->\tTAB  \n"
                       "-sem espaço -> nada\n"
                       "* asterisco -> nada\n");
    EXPECT_EQ(s.correcoes, mapa({{"cloud code", "Claude Code"}, {"vs code", "segundo"}, {"a", "b"}, {"tabs", "TAB"}}));
    EXPECT_TRUE(s.prioritarios.isEmpty());
    EXPECT_TRUE(s.whitelist.isEmpty());
}

TEST(ParseMarkdown, CabecalhosEscolhemASecaoPelaPrimeiraRegraQueCasa)
{
    // The template's third heading mentions "correções": its items are corrections without an
    // arrow, so they are dropped rather than whitelisted.
    auto s = ler("## Excluir destas correções (whitelist)\n- Zettelkasten\n");
    EXPECT_EQ(s, VocabularioSnapshot::vazio());

    s = ler("## Whitelist\n- Zettelkasten\n## Excluir\n- ÁGUA\n## Termos prioritários\n- term\n- Maquiavel\n- term\n");
    EXPECT_EQ(s.whitelist, (QSet<QString>{"zettelkasten", "água"}));
    EXPECT_EQ(s.prioritarios, (QStringList{"term", "Maquiavel", "term"}));

    // Every "## " goes before the tests, which are case-insensitive substring tests.
    s = ler("## PRIORITÁRIOS ## e mais\n- Um\n## Notas\n- ignorado\n- a -> b\n## CORREÇÕES\n- a -> b\n");
    EXPECT_EQ(s.prioritarios, QStringList{"Um"});
    EXPECT_EQ(s.correcoes, mapa({{"a", "b"}}));
}

TEST(ParseMarkdown, ComentariosTitulosEProsaSaoIgnorados)
{
    const auto s = ler("- antes -> de tudo\n"
                       "# Título\n"
                       "### Correções\n"
                       "##Correções\n"
                       "- a -> b\n"
                       "## Correções\n"
                       "   <!-- - c -> d -->\n"
                       "texto <!-- - e -> f -->\n"
                       "<!-- começo\n"
                       "- g -> h\n"
                       "-->\n"
                       "- i -> j\n");
    // A comment spread over lines is not one: its inner item is read.
    EXPECT_EQ(s.correcoes, mapa({{"g", "h"}, {"i", "j"}}));
    EXPECT_EQ(ler(""), VocabularioSnapshot::vazio());
    EXPECT_EQ(ler("\n\n   \n"), VocabularioSnapshot::vazio());
}

TEST(ParseMarkdown, CrlfEMarcaDeOrdemDeBytes)
{
    // A carriage return is no whitespace here: headings still match by prefix, values keep it.
    const auto s = ler("\xEF\xBB\xBF## Correções automáticas\r\n- vs code -> VS Code\r\n\r\n## Termos prioritários\r\n- Maquiavel\r\n"
                       "## Whitelist\r\n- Foo\r\n");
    EXPECT_EQ(s.correcoes, mapa({{"vs code", "VS Code\r"}}));
    EXPECT_EQ(s.prioritarios, QStringList{"Maquiavel\r"});
    EXPECT_EQ(s.whitelist, QSet<QString>{"foo\r"});
}

TEST_F(Documento, ArquivoIlegivelLeComoVazioENuncaESubstituido)
{
    const QByteArray invalido = "## Correções automáticas\n- caf\xE9 -> Café\n"; // Latin-1, not UTF-8
    escreverGlobal(invalido);
    EXPECT_EQ(vocab.carregaGlobal(), VocabularioSnapshot::vazio());
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), invalido);
    EXPECT_TRUE(vocab.importarCorrecaoAprovada(QStringLiteral("a"), QStringLiteral("b")).has_value());
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), invalido);

    // A truncated multi-byte sequence at the very end is just as invalid.
    escreverGlobal("## Correções automáticas\n- a -> \xC3");
    EXPECT_EQ(vocab.carregaGlobal(), VocabularioSnapshot::vazio());

    ASSERT_TRUE(QFile::remove(vocab.arquivoGlobal()));
    ASSERT_TRUE(QDir().mkpath(vocab.arquivoGlobal() + QStringLiteral("/dentro")));
    EXPECT_EQ(vocab.carregaGlobal(), VocabularioSnapshot::vazio());
    EXPECT_EQ(vocab.aplicarCorrecoes(QStringLiteral("texto"), std::nullopt), QStringLiteral("texto"));
    EXPECT_FALSE(vocab.priorityTermsAsPrompt(std::nullopt).has_value());
    EXPECT_TRUE(vocab.importarCorrecaoAprovada(QStringLiteral("a"), QStringLiteral("b")).has_value());
    EXPECT_TRUE(QFileInfo(vocab.arquivoGlobal() + QStringLiteral("/dentro")).isDir());
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab] importarCorrecao: falha ao ler ") + vocab.arquivoGlobal() + u'\n'));
    EXPECT_FALSE(log().contains(QStringLiteral("aprovada")));
}

TEST_F(Documento, ArquivosGrandes)
{
    // 5 MB of corrections, and one item line of 1 MB.
    QByteArray grande = "## Correções automáticas\n";
    for (int i = 0; grande.size() < 5 * 1024 * 1024; ++i)
        grande += "- palavra numero " + QByteArray::number(i) + " -> Palavra " + QByteArray::number(i) + "\n";
    escreverGlobal(grande);
    const auto s = vocab.carregaGlobal();
    EXPECT_EQ(s.correcoes.size(), grande.count('\n') - 1);
    EXPECT_EQ(s.correcoes.value(QStringLiteral("palavra numero 7")), QStringLiteral("Palavra 7"));

    const QByteArray longa(1024 * 1024, 'x');
    escreverGlobal("## Termos prioritários\n- " + longa + "\n## Correções\n- curto -> " + longa + "\n");
    const auto t = vocab.carregaGlobal();
    ASSERT_EQ(t.prioritarios.size(), 1);
    EXPECT_EQ(t.prioritarios[0].size(), longa.size());
    EXPECT_EQ(t.correcoes.value(QStringLiteral("curto")).size(), longa.size());
    EXPECT_EQ(vocab.priorityTermsAsPrompt(std::nullopt)->size(), 1000);
}

TEST_F(Documento, ImportarInsereLogoAposOCabecalhoExato)
{
    vocab.bootstrapSeNecessario();
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("cloud"), QStringLiteral("Claude")).has_value());
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("  Vesse Code "), QStringLiteral("VS Code\n")).has_value());
    const QList<QByteArray> linhas = lerArquivo(vocab.arquivoGlobal()).split('\n');
    ASSERT_EQ(linhas.size(), 26);
    EXPECT_EQ(linhas[6], QByteArray("## Correções automáticas"));
    // Newest first, as written: no trimming or lower-casing, only a trailing line feed goes.
    EXPECT_EQ(linhas[7], QByteArray("-   Vesse Code  -> VS Code"));
    EXPECT_EQ(linhas[8], QByteArray("- cloud -> Claude"));
    EXPECT_TRUE(linhas[9].isEmpty());
    EXPECT_EQ(modoDe(vocab.arquivoGlobal()), 0600);
    EXPECT_EQ(vocab.carregaGlobal().correcoes, mapa({{"cloud", "Claude"}, {"vesse code", "VS Code"}}));
    EXPECT_TRUE(log().endsWith(QStringLiteral("Vozel [Vocab] importarCorrecao aprovada: cloud -> Claude\n"
                                              "Vozel [Vocab] importarCorrecao aprovada:   Vesse Code  -> VS Code\n\n")));
}

TEST_F(Documento, ImportarSemOCabecalhoExatoAcrescentaNoFim)
{
    // Two blanks after the hashes, or a CRLF line end, and the heading is not the one looked for.
    escreverGlobal("##  Correções automáticas\n- a -> b\n");
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("c"), QStringLiteral("d")).has_value());
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), QByteArray("##  Correções automáticas\n- a -> b\n\n- c -> d"));

    escreverGlobal("## Correções automáticas\r\n- a -> b");
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("c"), QStringLiteral("d")).has_value());
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), QByteArray("## Correções automáticas\r\n- a -> b\n- c -> d"));

    // An indented heading still counts (lines are compared trimmed); duplicates are not checked.
    escreverGlobal("\xEF\xBB\xBF# T\n  ## Correções automáticas  \n");
    vocab.importarCorrecaoAprovada(QStringLiteral("x"), QStringLiteral("y"));
    vocab.importarCorrecaoAprovada(QStringLiteral("x"), QStringLiteral("y"));
    EXPECT_EQ(lerArquivo(vocab.arquivoGlobal()), QByteArray("\xEF\xBB\xBF# T\n  ## Correções automáticas  \n- x -> y\n- x -> y\n"));
}

TEST_F(Documento, ImportarNaoCriaOArquivoENaoQuebraUmLinkSimbolico)
{
    EXPECT_TRUE(vocab.importarCorrecaoAprovada(QStringLiteral("a"), QStringLiteral("b")).has_value());
    EXPECT_FALSE(QFileInfo::exists(vocab.arquivoGlobal()));
    EXPECT_TRUE(log().contains(QStringLiteral("importarCorrecao: falha ao ler ")));

    // A document kept elsewhere (a notes vault) and linked in is updated where it lives.
    const QString real = amb.raiz() + QStringLiteral("/cofre.md");
    ASSERT_TRUE(gravarArquivo(real, "## Correções automáticas\n"));
    ASSERT_EQ(::symlink(QFile::encodeName(real).constData(), QFile::encodeName(vocab.arquivoGlobal()).constData()), 0);
    ASSERT_FALSE(vocab.importarCorrecaoAprovada(QStringLiteral("a"), QStringLiteral("b")).has_value());
    EXPECT_TRUE(QFileInfo(vocab.arquivoGlobal()).isSymLink());
    EXPECT_EQ(lerArquivo(real), QByteArray("## Correções automáticas\n- a -> b\n"));
}
