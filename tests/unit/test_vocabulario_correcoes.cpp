#include "vocab_suporte.h"
#include "vocab_referencia.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRandomGenerator>

using namespace sonvo;
using namespace sonvo::teste;

namespace {

using Correcoes = BaseVocab;

QString aplicar(const QMap<QString, QString>& c, const QString& texto, const QSet<QString>& whitelist = {})
{
    return VocabularyService::aplicar(c, whitelist, texto);
}

QJsonObject jsonDe(const QByteArray& b)
{
    return QJsonDocument::fromJson(b).object();
}

} // namespace

TEST(Tokenizar, SeparaEmEspacosEApaQuatorzeSinaisDasPontas)
{
    EXPECT_EQ(VocabularyService::tokenizar(QStringLiteral("Olá, (mundo)!  fim.")), (QStringList{"Olá", "mundo", "fim"}));
    EXPECT_TRUE(VocabularyService::tokenizar(QString()).isEmpty());
    EXPECT_TRUE(VocabularyService::tokenizar(QStringLiteral(" \t\n\r\u00A0\u2028 ")).isEmpty());
    EXPECT_TRUE(VocabularyService::tokenizar(QStringLiteral("... ?! \"'()[]{}")).isEmpty());
    // Inner characters stay; typographic quotes and dashes are not among the fourteen.
    EXPECT_EQ(VocabularyService::tokenizar(QStringLiteral("{[(\"d'água\")]};: bem-vindo “aspas” —traço\u00A0fim\u2029Nova")),
              (QStringList{"d'água", "bem-vindo", "“aspas”", "—traço", "fim", "Nova"}));
}

TEST(Aplicar, SubstringSemDistinguirCaixaNemAcentos)
{
    const auto vs = mapa({{"vs code", "VS Code"}});
    EXPECT_EQ(aplicar(vs, QStringLiteral("abri o vs code e o VS CODE")), QStringLiteral("abri o VS Code e o VS Code"));
    // No word boundaries, on purpose.
    EXPECT_EQ(aplicar(mapa({{"cloud", "Claude"}}), QStringLiteral("cloudy Cloud")), QStringLiteral("Claudey Claude"));
    EXPECT_EQ(aplicar(mapa({{"voce", "você"}}), QStringLiteral("VOCÊ e voce")), QStringLiteral("você e você"));
    EXPECT_EQ(aplicar(mapa({{"você", "tu"}}), QStringLiteral("voce, Você")), QStringLiteral("tu, tu"));
    // Decomposed accents in the text match too, and the whole character is replaced.
    EXPECT_EQ(aplicar(mapa({{"cafe", "Café"}}), QStringLiteral("um cafe\u0301!")), QStringLiteral("um Café!"));
    // Full case folding: "ß" folds to "ss" and is matched as a whole, never half of it.
    EXPECT_EQ(aplicar(mapa({{"strasse", "rua"}}), QStringLiteral("STRAßE")), QStringLiteral("rua"));
    EXPECT_EQ(aplicar(mapa({{"s", "x"}}), QStringLiteral("ß")), QStringLiteral("ß"));
    EXPECT_EQ(aplicar(mapa({{"москва", "Moscou"}}), QStringLiteral("МОСКВА")), QStringLiteral("Moscou"));
}

TEST(Aplicar, CasamentosComecamETerminamEmLimitesDeGrafema)
{
    // A skin-tone modifier is part of the emoji: the bare emoji must not match inside it.
    EXPECT_EQ(aplicar(mapa({{"👍", "ok"}}), QStringLiteral("👍🏽 e 👍")), QStringLiteral("👍🏽 e ok"));
    // A lone mark at the start is its own cluster; the letters after it still match.
    EXPECT_EQ(aplicar(mapa({{"abc", "X"}}), QStringLiteral("\u0301abc")), QStringLiteral("\u0301X"));
    // CR LF is one cluster.
    EXPECT_EQ(aplicar(mapa({{"\r", "<cr>"}}), QStringLiteral("a\r\nb\rc")), QStringLiteral("a\r\nb<cr>c"));
    // A heard phrase made only of marks folds to nothing and is skipped.
    EXPECT_EQ(aplicar(mapa({{"\u0301", "x"}}), QStringLiteral("é")), QStringLiteral("é"));
}

TEST_F(Correcoes, TextosPatologicosTerminam)
{
    // Inside one cluster of 50,000 skin-tone modifiers nothing matches, and that is found
    // without asking ICU once per candidate.
    const QString longo = QStringLiteral("👍") + QString(QStringLiteral("🏽")).repeated(50000);
    EXPECT_EQ(aplicar(mapa({{"🏽", "x"}}), longo), longo);

    // Replacements that feed later heard phrases would multiply the text a thousandfold at
    // each step; the step that would pass the limit is skipped and logged.
    const auto cadeia = mapa({{"a", QString(1000, u'b')}, {"b", QString(1000, u'c')}, {"c", QStringLiteral("fim")}});
    const QString r = aplicar(cadeia, QStringLiteral("aa"));
    EXPECT_EQ(r, QString(2000, u'b'));
    EXPECT_TRUE(log().contains(QStringLiteral("Vozel [Vocab] correção 'b' não aplicada: o texto passaria de 1048578 caracteres\n")));
}

TEST(Aplicar, SubstituicaoVerbatimSemSobreposicaoEComWhitelist)
{
    // Left to right without overlaps; the replacement is not searched again.
    EXPECT_EQ(aplicar(mapa({{"aa", "b"}}), QStringLiteral("aaa")), QStringLiteral("ba"));
    EXPECT_EQ(aplicar(mapa({{"code", "VS Code"}}), QStringLiteral("code")), QStringLiteral("VS Code"));
    EXPECT_EQ(aplicar(mapa({{"x", "$1 \\0 %@"}}), QStringLiteral("x")), QStringLiteral("$1 \\0 %@"));
    EXPECT_EQ(aplicar(mapa({{"a", "b"}}), QString()), QString());

    // The whitelist drops whole pairs whose heard phrase equals a listed word, ignoring case and
    // accents; it does not protect other words of the text.
    const auto c = mapa({{"zettelkasten", "Z"}, {"voce", "você"}, {"kasten", "K"}});
    EXPECT_EQ(aplicar(c, QStringLiteral("zettelkasten voce"), {"Zettelkästen", "VOCÊ"}), QStringLiteral("zettelK voce"));
}

TEST_F(Correcoes, GlobalDepoisPorAplicativoComWhitelists)
{
    escreverGlobal("## Correções automáticas\n- vs code -> VS Code\n- zettelkasten -> Zk\n- voce -> você\n"
                   "## Whitelist\n- Zettelkasten\n");
    escreverPorApp(R"({"code": {"corrections": {"VS Code": "Visual Studio Code", "zettelkasten": "ZK", "você": "tu", "cloud": "Claude"},
                                "whitelist": ["CLOUD"]},
                       "mail": {"corrections": {"você": "o senhor"}}})");
    const QString texto = QStringLiteral("vs code, zettelkasten, voce, cloud");
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, std::nullopt), QStringLiteral("VS Code, zettelkasten, você, cloud"));
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, QStringLiteral("desconhecido")), QStringLiteral("VS Code, zettelkasten, você, cloud"));
    // Per-app pairs act on the global output; the global whitelist filters them too, the
    // application's whitelist only its own pairs.
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, QStringLiteral("code")), QStringLiteral("Visual Studio Code, zettelkasten, tu, cloud"));
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, QStringLiteral("mail")), QStringLiteral("VS Code, zettelkasten, o senhor, cloud"));

    // Read afresh on every call: an edit counts at once.
    escreverGlobal("## Correções automáticas\n- cloud -> Nuvem\n");
    EXPECT_EQ(vocab.aplicarCorrecoes(texto, QStringLiteral("code")), QStringLiteral("Visual Studio Code, ZK, tu, Nuvem"));
}

TEST_F(Correcoes, DicaDeTermosPrioritarios)
{
    escreverGlobal("## Correções\n- a -> b\n");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(std::nullopt), std::nullopt); // absent, not empty
    escreverPorApp(R"({"code": {"priorityTerms": ["Qt", "Maquiavel"]}})");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(QStringLiteral("code")), QStringLiteral("Qt, Maquiavel"));

    escreverGlobal("## Termos prioritários\n- Maquiavel\n- Zettelkasten\n");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(QStringLiteral("code")), QStringLiteral("Maquiavel, Zettelkasten, Qt, Maquiavel"));
    EXPECT_EQ(vocab.priorityTermsAsPrompt(QStringLiteral("outro")), QStringLiteral("Maquiavel, Zettelkasten"));

    // 1,200 characters of terms give exactly 1000, cut inside a term; clusters, not units.
    // 195 + 2 + 100 * 8 + 99 * 2 + 2 + 3 = 1200.
    QByteArray termos = "## Termos prioritários\n- " + QByteArray(195, 'z') + "\n";
    for (int i = 0; i < 100; ++i)
        termos += "- termo" + QByteArray::number(100 + i) + "\n";
    escreverGlobal(termos + "- fim\n");
    const auto dica = vocab.priorityTermsAsPrompt(std::nullopt);
    ASSERT_TRUE(dica);
    EXPECT_EQ(dica->size(), 1000);
    EXPECT_TRUE(dica->startsWith(QString(195, u'z') + QStringLiteral(", termo100, termo101")));
    EXPECT_TRUE(dica->endsWith(QStringLiteral("termo179, ter")));

    escreverGlobal("## Termos prioritários\n- " + QString(QStringLiteral("e\u0301")).repeated(1200).toUtf8() + "\n");
    const auto acentos = vocab.priorityTermsAsPrompt(std::nullopt);
    ASSERT_TRUE(acentos);
    EXPECT_EQ(acentos->size(), 2000);
    EXPECT_EQ(*acentos, QString(QStringLiteral("e\u0301")).repeated(1000));

    escreverGlobal("## Termos prioritários\n- " + QByteArray(1000, 'x') + "\n");
    EXPECT_EQ(vocab.priorityTermsAsPrompt(std::nullopt)->size(), 1000);
}

TEST_F(Correcoes, LeituraPorAplicativo)
{
    EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("code")), std::nullopt);
    escreverPorApp(R"({"code": {"corrections": {"Cloud": "Claude", "VS code": "VS Code"},
                                "priorityTerms": ["Qt", "Qt"], "whitelist": ["Água"], "notas": 1},
                       "ruim": {"corrections": {"a": 1, "b": "c"}, "priorityTerms": "Qt", "whitelist": ["x", 2]},
                       "numero": 5})");
    const auto code = vocab.carregaPerApp(QStringLiteral("code"));
    ASSERT_TRUE(code);
    EXPECT_EQ(code->correcoes, mapa({{"cloud", "Claude"}, {"vs code", "VS Code"}}));
    EXPECT_EQ(code->prioritarios, (QStringList{"Qt", "Qt"}));
    EXPECT_EQ(code->whitelist, QSet<QString>{"água"});
    // A component of the wrong type reads as empty, the entry itself still exists.
    EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("ruim")), VocabularioSnapshot::vazio());
    EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("numero")), std::nullopt);
    EXPECT_EQ(vocab.lerSnapshotPerApp(QStringLiteral("nenhum")), VocabularioSnapshot::vazio());
    EXPECT_EQ(vocab.listarAppsComVocabulario(), (QStringList{"code", "numero", "ruim"}));

    for (const QByteArray& ruim : {QByteArray(R"({"code": {"corrections": {"a": "b"}})"), QByteArray("[1]"), QByteArray("null"),
                                   QByteArray(200000, '['), QByteArray("{\"code\": \"\xFF\"}")}) {
        escreverPorApp(ruim);
        EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("code")), std::nullopt) << ruim.left(40).constData();
        EXPECT_TRUE(vocab.listarAppsComVocabulario().isEmpty());
    }
}

TEST_F(Correcoes, RegistrarERemoverPorAplicativo)
{
    ASSERT_FALSE(vocab.registrarPerAppCorrection(QStringLiteral("code"), QStringLiteral("  Foo  "), QStringLiteral(" Bar ")));
    EXPECT_EQ(modoDe(vocab.arquivoPorApp()), 0600);
    EXPECT_EQ(lerArquivo(vocab.arquivoPorApp()), QByteArray("{\n    \"code\": {\n        \"corrections\": {\n"
                                                            "            \"Foo\": \"Bar\"\n        }\n    }\n}\n"));
    EXPECT_TRUE(log().endsWith(QStringLiteral("Vozel [Vocab/Tier3] registrou code em vocabulary-by-app.json: 'Foo' → 'Bar'\n")));

    // Keys are exact: "foo" is not "Foo". The file is rewritten all the same.
    auto r = vocab.removerPerAppCorrection(QStringLiteral("code"), QStringLiteral("foo"));
    ASSERT_TRUE(r.ok());
    EXPECT_FALSE(r.valor());
    EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("code"))->correcoes, mapa({{"foo", "Bar"}}));
    r = vocab.removerPerAppCorrection(QStringLiteral("code"), QStringLiteral(" Foo "));
    ASSERT_TRUE(r.ok());
    EXPECT_TRUE(r.valor());
    EXPECT_EQ(lerArquivo(vocab.arquivoPorApp()), QByteArray("{\n}\n"));
    EXPECT_TRUE(log().endsWith(QStringLiteral("Vozel [Vocab/Tier3] removeu 'Foo' de code\n")));

    EXPECT_TRUE(vocab.registrarPerAppCorrection(QStringLiteral("code"), QStringLiteral(" \t"), QStringLiteral("x")).has_value());
    EXPECT_TRUE(vocab.registrarPerAppCorrection(QStringLiteral("code"), QStringLiteral("x"), QString()).has_value());
    EXPECT_TRUE(log().endsWith(QStringLiteral("Vozel [Vocab/Tier3] registrarPerApp: skip (vazio)\n")));
    EXPECT_EQ(lerArquivo(vocab.arquivoPorApp()), QByteArray("{\n}\n"));
}

TEST_F(Correcoes, ReescritaGuardaChavesDesconhecidasEEntradasComOutrosItens)
{
    escreverPorApp(R"({"code": {"corrections": {"a": "b", "n": 3}, "priorityTerms": ["Qt"], "extra": {"x": [1, 2]}},
                       "mail": {"whitelist": []}, "outro": 7})");
    ASSERT_FALSE(vocab.registrarPerAppCorrection(QStringLiteral("code"), QStringLiteral("c"), QStringLiteral("d")));
    QJsonObject raiz = jsonDe(lerArquivo(vocab.arquivoPorApp()));
    EXPECT_EQ(raiz.value("code").toObject().value("corrections").toObject(), jsonDe(R"({"a": "b", "n": 3, "c": "d"})"));
    EXPECT_EQ(raiz.value("code").toObject().value("extra").toObject(), jsonDe(R"({"x": [1, 2]})"));
    EXPECT_EQ(raiz.value("outro").toInt(), 7);

    for (const char* chave : {"a", "n", "c"})
        ASSERT_TRUE(vocab.removerPerAppCorrection(QStringLiteral("code"), QString::fromLatin1(chave)).valor());
    // Priority terms keep the entry alive; an empty whitelist does not.
    ASSERT_TRUE(vocab.removerPerAppCorrection(QStringLiteral("mail"), QStringLiteral("z")).ok());
    raiz = jsonDe(lerArquivo(vocab.arquivoPorApp()));
    EXPECT_EQ(raiz, jsonDe(R"({"code": {"priorityTerms": ["Qt"], "extra": {"x": [1, 2]}}, "outro": 7})"));
    EXPECT_TRUE(guardados(QStringLiteral("vocabulary-by-app.json")).isEmpty());
}

TEST_F(Correcoes, ArquivoIlegivelEGuardadoAntesDeSerReescrito)
{
    struct Caso {
        const char* nome;
        QByteArray conteudo;
    };
    const QList<Caso> casos = {
        {"truncado", R"({"code": {"corrections": {"a": "b")"},
        {"raiz lista", R"([{"code": {}}])"},
        {"aninhado", QByteArray(100000, '[') + QByteArray(100000, ']')},
        {"utf-8 inválido", "{\"code\": {\"corrections\": {\"a\": \"\xC3\"}}}"},
        {"entrada de outro tipo", R"({"code": "texto meu"})"},
        {"correções de outro tipo", R"({"code": {"corrections": ["a", "b"]}})"},
    };
    for (const Caso& c : casos) {
        SCOPED_TRACE(c.nome);
        for (const QString& g : guardados(QStringLiteral("vocabulary-by-app.json")))
            QFile::remove(pasta + u'/' + g);
        escreverPorApp(c.conteudo);
        ASSERT_FALSE(vocab.registrarPerAppCorrection(QStringLiteral("code"), QStringLiteral("x"), QStringLiteral("y")));
        const QStringList g = guardados(QStringLiteral("vocabulary-by-app.json"));
        ASSERT_EQ(g.size(), 1);
        EXPECT_EQ(lerArquivo(pasta + u'/' + g.first()), c.conteudo);
        EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("code"))->correcoes, mapa({{"x", "y"}}));
        EXPECT_TRUE(log().contains(QStringLiteral("original guardado em ") + pasta + u'/' + g.first() + u'\n'));
    }

    // Removal guards the file the same way; a directory in its place is moved aside too.
    for (const QString& g : guardados(QStringLiteral("vocabulary-by-app.json")))
        QFile::remove(pasta + u'/' + g);
    ASSERT_TRUE(QFile::remove(vocab.arquivoPorApp()));
    ASSERT_TRUE(QDir().mkpath(vocab.arquivoPorApp() + QStringLiteral("/sub")));
    const auto r = vocab.removerPerAppCorrection(QStringLiteral("code"), QStringLiteral("x"));
    ASSERT_TRUE(r.ok());
    EXPECT_FALSE(r.valor());
    const QStringList g = guardados(QStringLiteral("vocabulary-by-app.json"));
    ASSERT_EQ(g.size(), 1);
    EXPECT_TRUE(QFileInfo(pasta + u'/' + g.first() + QStringLiteral("/sub")).isDir());
    EXPECT_EQ(lerArquivo(vocab.arquivoPorApp()), QByteArray("{\n}\n"));
}

TEST_F(Correcoes, ArquivoPorAplicativoEnorme)
{
    QJsonObject raiz;
    for (int i = 0; i < 20000; ++i)
        raiz.insert(QStringLiteral("app.%1").arg(i), QJsonObject{{"corrections", QJsonObject{{"ouvido", QStringLiteral("escrito %1").arg(i)}}}});
    escreverPorApp(QJsonDocument(raiz).toJson());
    EXPECT_EQ(vocab.carregaPerApp(QStringLiteral("app.19999"))->correcoes, mapa({{"ouvido", "escrito 19999"}}));
    EXPECT_EQ(vocab.listarAppsComVocabulario().size(), 20000);
    ASSERT_FALSE(vocab.registrarPerAppCorrection(QStringLiteral("app.5"), QStringLiteral("novo"), QStringLiteral("Novo")));
    EXPECT_EQ(jsonDe(lerArquivo(vocab.arquivoPorApp())).size(), 20000);
}

TEST(Aplicar, MesmoResultadoQueOAlgoritmoSimplesEmTextosAleatorios)
{
    const QStringList pecas = {"a", "A", "á", "Á", "a\u0301", "e", "é", "ß", "ss", "S", "s", " ", "\r", "\n", "\r\n", "👍", "🏽",
                               "\u0301", "ﬁ", "fi", "İ", "i", "ç", "c", "ö", "code", "CODE", "códe", "ab", "abcdefgh"};
    QRandomGenerator r(20261122);
    auto juntar = [&](int min, int max) {
        QString s;
        for (int i = int(r.bounded(min, max + 1)); i > 0; --i)
            s += pecas[int(r.bounded(qsizetype(pecas.size())))];
        return s;
    };
    int mudaram = 0;
    for (int caso = 0; caso < 4000; ++caso) {
        const QString texto = juntar(0, 80);
        QMap<QString, QString> c;
        for (int i = int(r.bounded(1, 8)); i > 0; --i)
            c.insert(juntar(1, 10), juntar(0, 4));
        // Long heard phrases taken from the text itself, so the long matches happen too.
        if (texto.size() > 2 && r.bounded(2) == 0) {
            const qsizetype ini = r.bounded(texto.size() - 1);
            c.insert(texto.mid(ini, 1 + r.bounded(std::min<qsizetype>(texto.size() - ini, 16))), juntar(0, 4));
        }
        QSet<QString> w;
        if (r.bounded(4) == 0)
            w.insert(c.firstKey());
        const QString esperado = aplicarReferencia(c, w, texto);
        ASSERT_EQ(VocabularyService::aplicar(c, w, texto), esperado) << caso;
        mudaram += esperado != texto;
    }
    EXPECT_GT(mudaram, 2000); // the comparison must be about texts that change
}
