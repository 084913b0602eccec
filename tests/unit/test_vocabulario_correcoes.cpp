#include "vocab_suporte.h"
#include "vocabulary/MotorCorrecoes.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <unistd.h>

using namespace sonvo;
using namespace sonvo::teste;

using Correcoes = BaseVocab;

TEST(MotorCorrecoes, IgnoraCaixaEAcentosRespeitaGrafemasWhitelistELimite)
{
    const std::tuple<Mapa, QString, QString, QSet<QString>> casos[] = {
        {{{"vs code", "VS Code"}}, "abri o vs code e o VS CODE", "abri o VS Code e o VS Code", {}},
        {{{"cloud", "Claude"}}, "cloudy Cloud", "Claudey Claude", {}}, // no word boundaries, on purpose
        {{{"você", "tu"}}, "voce, Você", "tu, tu", {}},
        {{{"cafe", "Café"}}, "um cafe\u0301!", "um Café!", {}}, // the decomposed accent goes with its letter
        {{{"strasse", "rua"}}, "STRAßE", "rua", {}},            // full case folding, "ß" matched whole...
        {{{"s", "x"}}, "ß", "ß", {}},                           // ...never half of it
        {{{"👍", "ok"}}, "👍🏽 e 👍", "👍🏽 e ok", {}},            // the skin tone belongs to the emoji
        {{{"abc", "X"}}, "\u0301abc", "\u0301X", {}},           // a lone mark is its own cluster
        // Past a few dozen boundary questions every boundary is marked in one pass: same answers.
        {{{"e", "x"}}, QString(u"e\u0301"_s).repeated(40) + u"ee\u0301\u0302"_s, QString(42, u'x'), {}},
        {{{"\r", "<cr>"}}, "a\r\nb\rc", "a\r\nb<cr>c", {}},     // CR LF is one cluster
        {{{"\u0301", "x"}}, "é", "é", {}},                      // a heard phrase folding to nothing is skipped
        {{{"aa", "b"}}, "aaa", "ba", {}},                       // left to right, no overlaps
        {{{"code", "VS Code"}}, "code", "VS Code", {}},         // the replacement is not searched again
        // The whitelist drops whole pairs (ignoring case and accents), not other words of the text.
        {{{"zettelkasten", "Z"}, {"voce", "você"}, {"kasten", "K"}}, "zettelkasten voce", "zettelK voce", {"Zettelkästen", "VOCÊ"}},
        // Each step would multiply the text a thousandfold: the one passing the limit is skipped.
        {{{"a", QString(1000, u'b')}, {"b", QString(1000, u'c')}, {"c", "fim"}}, "aa", QString(2000, u'b'), {}},
    };
    for (const auto& [correcoes, texto, esperado, whitelist] : casos)
        EXPECT_EQ(MotorCorrecoes::aplicar(correcoes, whitelist, texto), esperado) << texto.left(40).toStdString();
}

TEST_F(Correcoes, GlobalDepoisPorAplicativoRelidosACadaChamadaEDicaDeTermos)
{
    escreverGlobal("## Correções automáticas\n- vs code -> VS Code\n- zettelkasten -> Zk\n- voce -> você\n## Whitelist\n- Zettelkasten\n");
    escreverPorApp(R"({"code": {"corrections": {"VS Code": "Visual Studio Code", "zettelkasten": "ZK", "você": "tu", "cloud": "C"},
                                "whitelist": ["CLOUD"]}, "mail": {"corrections": {"você": "o senhor"}}})");
    const QString texto = u"vs code, zettelkasten, voce, cloud"_s;
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, u"outro"_s), u"VS Code, zettelkasten, você, cloud"_s);
    // Per-app pairs act on the global output; the global whitelist filters them too.
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, u"code"_s), u"Visual Studio Code, zettelkasten, tu, cloud"_s);
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, u"mail"_s), u"VS Code, zettelkasten, o senhor, cloud"_s);
    escreverGlobal("## Correções automáticas\n- cloud -> Nuvem\n");
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, u"code"_s), u"Visual Studio Code, ZK, tu, Nuvem"_s);

    escreverGlobal("## Correções\n- a -> b\n");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(std::nullopt), std::nullopt); // absent, not empty
    escreverPorApp(R"({"code": {"priorityTerms": ["Qt", "Maquiavel"]}})");
    escreverGlobal("## Termos prioritários\n- Maquiavel\n- Zettelkasten\n");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(u"code"_s), u"Maquiavel, Zettelkasten, Qt, Maquiavel"_s);
    // The first 1000 characters of the joined terms, separators included: clusters, not UTF-16 units.
    const QString e = u"e\u0301"_s;
    escreverGlobal(("## Termos prioritários\n- " + e.repeated(600) + "\n- " + e.repeated(600) + "\n").toUtf8());
    EXPECT_EQ(vocab.priorityTermsAsPrompt(std::nullopt), e.repeated(600) + u", "_s + e.repeated(398));
}

TEST_F(Correcoes, RegistrarERemoverPorAplicativoGuardandoOIlegivelESeguindoOLink)
{
    VocabularioPorApp& loja = vocab.porApp();
    ASSERT_EQ(loja.registrar(u"code"_s, u"  Foo  "_s, u" Bar "_s), std::nullopt);
    EXPECT_EQ(lerArquivo(porApp()), "{\n    \"code\": {\n        \"corrections\": {\n            \"Foo\": \"Bar\"\n        }\n    }\n}\n");
    EXPECT_FALSE(loja.remover(u"code"_s, u"foo"_s).valor()); // keys are exact
    EXPECT_TRUE(loja.remover(u"code"_s, u" Foo "_s).valor());
    for (const auto& [ouvido, escrever] : {std::pair(u" \t"_s, u"x"_s), std::pair(u"x"_s, QString())})
        EXPECT_EQ(loja.registrar(u"code"_s, ouvido, escrever), u"O texto ouvido e o texto a escrever não podem ser vazios"_s);
    EXPECT_EQ(lerArquivo(porApp()), "{\n}\n");

    // Unknown keys and values of other types stay; priority terms keep an entry, an empty whitelist does not.
    escreverPorApp(R"({"code": {"corrections": {"a": "b", "n": 3}, "priorityTerms": ["Qt"], "extra": {"x": [1]}}, "mail": {"whitelist": []}, "o": 7})");
    ASSERT_EQ(loja.registrar(u"code"_s, u"c"_s, u"d"_s), std::nullopt);
    EXPECT_EQ(QJsonDocument::fromJson(lerArquivo(porApp()))["code"]["corrections"].toObject(), QJsonObject({{"a", "b"}, {"n", 3}, {"c", "d"}}));
    for (const char* chave : {"a", "n", "c"})
        ASSERT_TRUE(loja.remover(u"code"_s, QString::fromLatin1(chave)).valor());
    ASSERT_TRUE(loja.remover(u"mail"_s, u"z"_s).ok());
    EXPECT_EQ(QJsonDocument::fromJson(lerArquivo(porApp())), QJsonDocument::fromJson(R"({"code": {"priorityTerms": ["Qt"], "extra": {"x": [1]}}, "o": 7})"));
    EXPECT_EQ(loja.listarApps(), (QStringList{"code", "o"}));
    EXPECT_TRUE(guardados().isEmpty());

    // Undecodable, or a value of another type where the write must go: kept beside it first.
    for (const QByteArray& conteudo : {QByteArray(R"({"code": {"corrections": {"a": "b")"), QByteArray(R"([{"code": {}}])"),
                                       QByteArray(100000, '[') + QByteArray(100000, ']'), QByteArray("{\"code\": {\"corrections\": {\"a\": \"\xC3\"}}}"),
                                       QByteArray(R"({"code": "texto meu"})"), QByteArray(R"({"code": {"corrections": ["a", "b"]}})")}) {
        SCOPED_TRACE(conteudo.left(60).constData());
        for (const QString& g : guardados())
            QFile::remove(pasta + u'/' + g);
        escreverPorApp(conteudo);
        EXPECT_EQ(vocab.porApp().carregar(u"code"_s).value_or(VocabularioSnapshot::vazio()), VocabularioSnapshot::vazio());
        ASSERT_EQ(vocab.porApp().registrar(u"code"_s, u"x"_s, u"y"_s), std::nullopt);
        ASSERT_EQ(guardados().size(), 1);
        EXPECT_EQ(lerArquivo(pasta + u'/' + guardados().first()), conteudo);
        EXPECT_EQ(vocab.porApp().carregar(u"code"_s)->correcoes, (Mapa{{"x", "y"}}));
    }
    // A file linked in from a synced folder is updated where it lives.
    const QString real = amb.raiz() + u"/sincronizado.json"_s;
    ASSERT_TRUE(gravarArquivo(real, R"({"mail": {"whitelist": ["a"]}})") && QFile::remove(porApp()));
    ASSERT_EQ(::symlink(QFile::encodeName(real).constData(), QFile::encodeName(porApp()).constData()), 0);
    ASSERT_EQ(vocab.porApp().registrar(u"code"_s, u"c"_s, u"d"_s), std::nullopt);
    EXPECT_TRUE(QFileInfo(porApp()).isSymLink());
    EXPECT_EQ(QJsonDocument::fromJson(lerArquivo(real)), QJsonDocument::fromJson(R"({"mail": {"whitelist": ["a"]}, "code": {"corrections": {"c": "d"}}})"));
}
