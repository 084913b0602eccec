#include "vocabulary/VocabularyService.h"

#include "app/Arquivos.h"
#include "app/Log.h"
#include "vocabulary/Levenshtein.h"
#include "vocabulary/TextoEmCorrecao.h"
#include "vocabulary/TextoUnicode.h"
#include "vocabulary/VocabularyNotifications.h"

#include <QDateTime>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonParseError>

#include <cerrno>
#include <cmath>

namespace sonvo {

namespace {

// The explanatory document; its third heading contains "correções", so items under it are
// read as corrections (and, lacking "->", dropped): a working whitelist needs its own heading.
constexpr char kModelo[] =
    "# Vocabulário do Sonvo\n"
    "\n"
    "Este arquivo é humano-editável. Você pode abrir em qualquer editor de texto\n"
    "(vim, Obsidian, BBEdit, etc.) e modificar diretamente. O Sonvo relê o arquivo\n"
    "a cada gravação.\n"
    "\n"
    "## Correções automáticas\n"
    "\n"
    "<!-- Formato: ouvido -> escrever (uma por linha) -->\n"
    "<!-- Exemplo: -->\n"
    "<!-- - cloud code -> Claude Code -->\n"
    "<!-- - vesse code -> VS Code -->\n"
    "\n"
    "## Termos prioritários\n"
    "\n"
    "<!-- Lista de termos passados como hint para a Whisper API. -->\n"
    "<!-- Melhora reconhecimento de nomes próprios e jargão técnico. -->\n"
    "<!-- Exemplo: -->\n"
    "<!-- - Maquiavel -->\n"
    "<!-- - Zettelkasten -->\n"
    "\n"
    "## Excluir destas correções (whitelist)\n"
    "\n"
    "<!-- Palavras que NUNCA devem ser corrigidas, mesmo que apareçam em \"Correções automáticas\". -->";

constexpr qsizetype kLimiteDica = 1000;
const QString kCabecalhoCorrecoes = QStringLiteral("## Correções automáticas");

// A vocabulary file reached through a symbolic link (a notes vault, a synced folder) is
// updated where it really lives; replacing the link would leave the user's file behind.
QString destinoDeGravacao(const QString& caminho)
{
    const QFileInfo info(caminho);
    if (!info.isSymLink())
        return caminho;
    const QString canonico = info.canonicalFilePath();
    if (!canonico.isEmpty())
        return canonico;
    const QString alvo = info.symLinkTarget();
    return alvo.isEmpty() ? caminho : alvo;
}

// A JSON value as an object of texts, or nothing when it is anything else.
std::optional<QMap<QString, QString>> objetoDeTextos(const QJsonValue& v)
{
    if (!v.isObject())
        return std::nullopt;
    QMap<QString, QString> mapa;
    const QJsonObject o = v.toObject();
    for (auto it = o.begin(); it != o.end(); ++it) {
        if (!it.value().isString())
            return std::nullopt;
        mapa.insert(it.key(), it.value().toString());
    }
    return mapa;
}

std::optional<QStringList> listaDeTextos(const QJsonValue& v)
{
    if (!v.isArray())
        return std::nullopt;
    QStringList lista;
    const QJsonArray a = v.toArray();
    lista.reserve(a.size());
    for (const QJsonValue& x : a) {
        if (!x.isString())
            return std::nullopt;
        lista.append(x.toString());
    }
    return lista;
}

bool ehTrimavelToken(QChar c)
{
    switch (c.unicode()) {
    case u'.': case u',': case u';': case u':': case u'!': case u'?': case u'"':
    case u'\'': case u'(': case u')': case u'[': case u']': case u'{': case u'}':
        return true;
    default:
        return false;
    }
}

enum class Secao { nenhuma, correcoes, prioritarios, whitelist };

// Walks the document's item lines ("- " after trimming) with the section each one is in;
// stops early when `item` returns false. Everything else only moves between sections.
template <typename Item>
void percorrerItens(QStringView corpo, Item&& item)
{
    if (corpo.startsWith(QChar(0xFEFF)))
        corpo = corpo.mid(1); // a byte-order mark is not part of the first line
    Secao secao = Secao::nenhuma;
    // Line feeds only: a carriage return stays in its line.
    for (qsizetype inicio = 0; inicio <= corpo.size();) {
        qsizetype fim = corpo.indexOf(u'\n', inicio);
        if (fim < 0)
            fim = corpo.size();
        const QStringView linha = TextoUnicode::aparar(corpo.mid(inicio, fim - inicio));
        inicio = fim + 1;
        if (linha.isEmpty() || linha.startsWith(u"<!--"))
            continue;
        if (linha.startsWith(u"## ")) {
            QString cabecalho = linha.toString();
            cabecalho.remove(QStringLiteral("## "));
            cabecalho = TextoUnicode::minusculas(cabecalho);
            // Substring tests in this order: a heading naming corrections wins over "whitelist".
            if (cabecalho.contains(u"corre"))
                secao = Secao::correcoes;
            else if (cabecalho.contains(u"priorit"))
                secao = Secao::prioritarios;
            else if (cabecalho.contains(u"whitelist") || cabecalho.contains(u"excluir"))
                secao = Secao::whitelist;
            else
                secao = Secao::nenhuma;
            continue;
        }
        if (linha.startsWith(u"- ") && !item(secao, TextoUnicode::aparar(linha.mid(2))))
            return;
    }
}

} // namespace

const VocabularioSnapshot& VocabularioSnapshot::vazio()
{
    static const VocabularioSnapshot v;
    return v;
}

VocabularyService::VocabularyService(QString pasta, Configuracoes& config) : m_pasta(std::move(pasta)), m_config(config) {}

QString VocabularyService::baseDir()
{
    return Caminhos::pastaDados();
}

QString VocabularyService::arquivoGlobal() const
{
    return m_pasta + u'/' + QLatin1String(kArquivoGlobal);
}

QString VocabularyService::arquivoPorApp() const
{
    return m_pasta + u'/' + QLatin1String(kArquivoPorApp);
}

// ---------------------------------------------------------------------------------------------
// The Markdown document

QByteArray VocabularyService::modelo()
{
    return QByteArray(kModelo, sizeof kModelo - 1);
}

void VocabularyService::bootstrapSeNecessario() const
{
    Caminhos::garantirPasta(m_pasta);
    const QString caminho = arquivoGlobal();
    // lstat: a dangling link or anything else in the way counts as the user's and stays.
    if (Arquivos::existe(caminho))
        return;
    Arquivos::gravarAtomico(caminho, modelo()); // ends 0600; a failure leaves reads empty
}

VocabularioSnapshot VocabularyService::parseMarkdown(const QString& texto)
{
    VocabularioSnapshot s;
    percorrerItens(texto, [&](Secao secao, QStringView item) {
        switch (secao) {
        case Secao::correcoes: {
            const qsizetype seta = item.indexOf(u"->");
            if (seta < 0 || item.indexOf(u"->", seta + 2) >= 0)
                break; // exactly two parts
            const QString ouvido = TextoUnicode::minusculas(TextoUnicode::aparar(item.left(seta)).toString());
            const QString escrever = TextoUnicode::aparar(item.mid(seta + 2)).toString();
            if (!ouvido.isEmpty() && !escrever.isEmpty())
                s.correcoes.insert(ouvido, escrever);
            break;
        }
        case Secao::prioritarios:
            if (!item.isEmpty())
                s.prioritarios.append(item.toString());
            break;
        case Secao::whitelist:
            if (!item.isEmpty())
                s.whitelist.insert(TextoUnicode::minusculas(item.toString()));
            break;
        case Secao::nenhuma:
            break;
        }
        return true;
    });
    return s;
}

Resultado<QString, ErroArquivo> VocabularyService::lerTextoGlobal() const
{
    const auto lido = Arquivos::ler(arquivoGlobal());
    if (!lido)
        return lido.erro();
    auto texto = TextoUnicode::decodificarUtf8(lido.valor());
    if (!texto)
        return ErroArquivo{EILSEQ, QStringLiteral("o arquivo não é texto UTF-8 válido")};
    return *texto;
}

VocabularioSnapshot VocabularyService::carregaGlobal() const
{
    bootstrapSeNecessario();
    const auto texto = lerTextoGlobal();
    if (!texto)
        return VocabularioSnapshot::vazio();
    return parseMarkdown(texto.valor());
}

std::optional<QString> VocabularyService::importarCorrecaoAprovada(const QString& ouvido, const QString& escrever)
{
    const auto texto = lerTextoGlobal();
    if (!texto) {
        // Never rewrite a document we could not read: it is the user's.
        Log::tag("Vocab", QStringLiteral("importarCorrecao: falha ao ler %@"), {arquivoGlobal()});
        return QStringLiteral("Não foi possível ler %1: %2").arg(arquivoGlobal(), texto.erro().descricao);
    }
    auto semQuebraFinal = [](QString s) {
        if (s.endsWith(u'\n'))
            s.chop(1);
        return s;
    };
    const QString nova = QStringLiteral("- ") + semQuebraFinal(ouvido) + QStringLiteral(" -> ") + semQuebraFinal(escrever);

    QStringList linhas = texto.valor().split(u'\n');
    qsizetype cabecalho = -1;
    for (qsizetype i = 0; i < linhas.size(); ++i) {
        if (TextoUnicode::aparar(linhas[i]) == kCabecalhoCorrecoes) {
            cabecalho = i;
            break;
        }
    }
    if (cabecalho >= 0)
        linhas.insert(cabecalho + 1, nova);
    else
        linhas.append(nova);

    const auto erro = Arquivos::gravarAtomico(destinoDeGravacao(arquivoGlobal()), linhas.join(u'\n').toUtf8());
    Log::tag("Vocab", QStringLiteral("importarCorrecao aprovada: %@ -> %@"), {ouvido, escrever});
    if (erro)
        return QStringLiteral("Não foi possível gravar %1: %2").arg(arquivoGlobal(), erro->descricao);
    return std::nullopt;
}

// ---------------------------------------------------------------------------------------------
// The correction engine

QStringList VocabularyService::tokenizar(const QString& texto)
{
    QStringList palavras;
    const qsizetype n = texto.size();
    qsizetype inicio = 0;
    for (qsizetype i = 0; i <= n; ++i) {
        if (i < n && !TextoUnicode::ehEspacoOuQuebra(texto[i].unicode()))
            continue;
        qsizetype a = inicio;
        qsizetype b = i;
        while (a < b && ehTrimavelToken(texto[a]))
            ++a;
        while (b > a && ehTrimavelToken(texto[b - 1]))
            --b;
        if (b > a)
            palavras.append(texto.mid(a, b - a));
        inicio = i + 1;
    }
    return palavras;
}

QString VocabularyService::aplicar(const QMap<QString, QString>& correcoes, const QSet<QString>& whitelist, const QString& em)
{
    if (correcoes.isEmpty() || em.isEmpty())
        return em;
    QSet<QString> protegidas;
    protegidas.reserve(whitelist.size());
    for (const QString& w : whitelist)
        protegidas.insert(TextoUnicode::dobrar(w));

    TextoEmCorrecao texto(em);
    for (auto it = correcoes.begin(); it != correcoes.end(); ++it) {
        const QString padrao = TextoUnicode::dobrar(it.key());
        if (padrao.isEmpty() || protegidas.contains(padrao))
            continue;
        if (texto.substituir(padrao, it.value()) == TextoEmCorrecao::Efeito::grandeDemais)
            Log::tag("Vocab", QStringLiteral("correção '%@' não aplicada: o texto passaria de %d caracteres"),
                     {it.key(), TextoEmCorrecao::limiteDeTamanho(em.size())});
    }
    return texto.texto();
}

QString VocabularyService::aplicarCorrecoes(const QString& texto, const std::optional<QString>& contextoApp) const
{
    const VocabularioSnapshot global = carregaGlobal();
    VocabularioSnapshot porApp;
    if (contextoApp)
        porApp = carregaPerApp(*contextoApp).value_or(VocabularioSnapshot::vazio());
    const QString passo1 = aplicar(global.correcoes, global.whitelist, texto);
    if (porApp.correcoes.isEmpty())
        return passo1;
    return aplicar(porApp.correcoes, global.whitelist + porApp.whitelist, passo1);
}

std::optional<QString> VocabularyService::priorityTermsAsPrompt(const std::optional<QString>& contextoApp) const
{
    // The hint is the first 1000 characters of the joined terms: joining (and reading the
    // document) stops once it is certainly that long.
    QString dica;
    bool algum = false;
    auto acrescentar = [&](QStringView termo) {
        if (algum)
            dica += QStringLiteral(", ");
        dica += termo;
        algum = true;
        return !(dica.size() > kLimiteDica && TextoUnicode::contarGrafemas(dica) > kLimiteDica);
    };
    bootstrapSeNecessario();
    bool continuar = true;
    if (const auto texto = lerTextoGlobal()) {
        percorrerItens(texto.valor(), [&](Secao secao, QStringView item) {
            if (secao == Secao::prioritarios && !item.isEmpty())
                continuar = acrescentar(item);
            return continuar;
        });
    }
    if (continuar && contextoApp)
        if (const auto porApp = carregaPerApp(*contextoApp))
            for (const QString& t : porApp->prioritarios)
                if (!acrescentar(t))
                    break;
    if (!algum)
        return std::nullopt;
    return TextoUnicode::prefixoGrafemas(dica, kLimiteDica);
}

// ---------------------------------------------------------------------------------------------
// Per-application vocabulary

std::optional<VocabularioSnapshot> VocabularyService::snapshotPerApp(const QByteArray& json, const QString& bundleID)
{
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(json, &erro);
    if (erro.error != QJsonParseError::NoError || !doc.isObject())
        return std::nullopt;
    const QJsonValue entrada = doc.object().value(bundleID);
    if (!entrada.isObject())
        return std::nullopt;
    const QJsonObject app = entrada.toObject();
    VocabularioSnapshot s;
    // A component of the wrong type (or holding anything but texts) reads as empty.
    if (const auto c = objetoDeTextos(app.value(QStringLiteral("corrections"))))
        for (auto it = c->begin(); it != c->end(); ++it)
            s.correcoes.insert(TextoUnicode::minusculas(it.key()), it.value());
    if (const auto p = listaDeTextos(app.value(QStringLiteral("priorityTerms"))))
        s.prioritarios = *p;
    if (const auto w = listaDeTextos(app.value(QStringLiteral("whitelist"))))
        for (const QString& x : *w)
            s.whitelist.insert(TextoUnicode::minusculas(x));
    return s;
}

std::optional<VocabularioSnapshot> VocabularyService::carregaPerApp(const QString& bundleID) const
{
    const auto lido = Arquivos::ler(arquivoPorApp());
    if (!lido)
        return std::nullopt;
    return snapshotPerApp(lido.valor(), bundleID);
}

VocabularioSnapshot VocabularyService::lerSnapshotPerApp(const QString& bundleID) const
{
    return carregaPerApp(bundleID).value_or(VocabularioSnapshot::vazio());
}

QStringList VocabularyService::listarAppsComVocabulario() const
{
    QStringList apps = lerJSONRaiz().keys();
    apps.sort();
    return apps;
}

std::optional<QString> VocabularyService::diagnosticarPorApp() const
{
    const auto lido = Arquivos::ler(arquivoPorApp());
    if (!lido)
        return lido.erro().naoExiste() ? std::nullopt
                                       : std::optional(QStringLiteral("Não foi possível ler %1: %2").arg(arquivoPorApp(), lido.erro().descricao));
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor(), &erro);
    if (erro.error != QJsonParseError::NoError)
        return QStringLiteral("O arquivo %1 não é JSON válido: %2").arg(arquivoPorApp(), erro.errorString());
    if (!doc.isObject())
        return QStringLiteral("O arquivo %1 não contém um objeto JSON").arg(arquivoPorApp());
    return std::nullopt;
}

QJsonObject VocabularyService::lerJSONRaiz() const
{
    const auto lido = Arquivos::ler(arquivoPorApp());
    if (!lido)
        return {};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor());
    return doc.isObject() ? doc.object() : QJsonObject{};
}

std::optional<QString> VocabularyService::gravarJSONRaiz(const QJsonObject& raiz) const
{
    const QByteArray json = Json::bonito(QJsonDocument(raiz));
    if (json.isEmpty()) {
        Log::tag("Vocab/Tier3", QStringLiteral("gravarJSONRaiz: falha ao serializar"));
        return QStringLiteral("Não foi possível serializar o vocabulário por aplicativo");
    }
    Caminhos::garantirPasta(m_pasta);
    if (const auto erro = Arquivos::gravarAtomico(destinoDeGravacao(arquivoPorApp()), json))
        return QStringLiteral("Não foi possível gravar %1: %2").arg(arquivoPorApp(), erro->descricao);
    return std::nullopt;
}

std::optional<QString> VocabularyService::guardarIlegivel(const QString& motivo) const
{
    const auto guardado = Arquivos::preservarCorrompido(arquivoPorApp(), QDateTime::currentDateTimeUtc());
    if (!guardado) {
        Log::tag("Vocab", QStringLiteral("%@ ilegível (%@) e não pôde ser guardado à parte; nada foi gravado"),
                 {arquivoPorApp(), motivo});
        return QStringLiteral("O arquivo %1 não pôde ser lido nem guardado à parte; nada foi alterado").arg(arquivoPorApp());
    }
    Log::tag("Vocab", QStringLiteral("%@ ilegível (%@); original guardado em %@"), {arquivoPorApp(), motivo, *guardado});
    return std::nullopt;
}

Resultado<QJsonObject, QString> VocabularyService::raizParaReescrever() const
{
    const auto lido = Arquivos::ler(arquivoPorApp());
    if (!lido) {
        if (lido.erro().naoExiste())
            return QJsonObject{};
        if (const auto erro = guardarIlegivel(lido.erro().descricao))
            return *erro;
        return QJsonObject{};
    }
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor(), &erro);
    if (erro.error == QJsonParseError::NoError && doc.isObject())
        return doc.object();
    const QString motivo = erro.error != QJsonParseError::NoError ? erro.errorString() : QStringLiteral("a raiz não é um objeto");
    if (const auto falha = guardarIlegivel(motivo))
        return *falha;
    return QJsonObject{};
}

std::optional<QString> VocabularyService::registrarPerAppCorrection(const QString& bundleID, const QString& ouvido, const QString& escrever)
{
    const QString o = TextoUnicode::aparar(ouvido).toString();
    const QString e = TextoUnicode::aparar(escrever).toString();
    if (o.isEmpty() || e.isEmpty()) {
        Log::tag("Vocab/Tier3", QStringLiteral("registrarPerApp: skip (vazio)"));
        return QStringLiteral("O texto ouvido e o texto a escrever não podem ser vazios");
    }
    auto raiz = raizParaReescrever();
    if (!raiz)
        return raiz.erro();
    const QJsonValue entrada = raiz.valor().value(bundleID);
    const QJsonValue correcoesAtuais = entrada.toObject().value(QStringLiteral("corrections"));
    // Replacing a value of the wrong type would drop what the user wrote there: keep the file.
    if ((!entrada.isUndefined() && !entrada.isObject()) || (!correcoesAtuais.isUndefined() && !correcoesAtuais.isObject()))
        if (const auto falha = guardarIlegivel(QStringLiteral("entrada de %1 com tipo inesperado").arg(bundleID)))
            return falha;

    QJsonObject app = entrada.toObject();
    QJsonObject correcoes = correcoesAtuais.toObject();
    correcoes.insert(o, e);
    app.insert(QStringLiteral("corrections"), correcoes);
    raiz.valor().insert(bundleID, app);
    const auto erro = gravarJSONRaiz(raiz.valor());
    Log::tag("Vocab/Tier3", QStringLiteral("registrou %@ em %@: '%@' → '%@'"), {bundleID, QString::fromLatin1(kArquivoPorApp), o, e});
    return erro;
}

Resultado<bool, QString> VocabularyService::removerPerAppCorrection(const QString& bundleID, const QString& ouvido)
{
    const QString o = TextoUnicode::aparar(ouvido).toString();
    auto raiz = raizParaReescrever();
    if (!raiz)
        return raiz.erro();
    const QJsonValue entrada = raiz.valor().value(bundleID);
    if (!entrada.isUndefined() && !entrada.isObject())
        if (const auto falha = guardarIlegivel(QStringLiteral("entrada de %1 com tipo inesperado").arg(bundleID)))
            return *falha;

    QJsonObject app = entrada.toObject();
    bool removeu = false;
    const QJsonValue correcoesAtuais = app.value(QStringLiteral("corrections"));
    if (correcoesAtuais.isObject()) {
        QJsonObject correcoes = correcoesAtuais.toObject();
        removeu = correcoes.contains(o);
        correcoes.remove(o);
        if (correcoes.isEmpty())
            app.remove(QStringLiteral("corrections"));
        else
            app.insert(QStringLiteral("corrections"), correcoes);
    }
    // A value of the wrong type counts as present: dropping it would lose what the user wrote.
    auto temConteudo = [&](const QString& chave) {
        const QJsonValue v = app.value(chave);
        if (v.isUndefined())
            return false;
        return !v.isArray() || !v.toArray().isEmpty();
    };
    if (!app.contains(QStringLiteral("corrections")) && !temConteudo(QStringLiteral("priorityTerms")) && !temConteudo(QStringLiteral("whitelist")))
        raiz.valor().remove(bundleID);
    else
        raiz.valor().insert(bundleID, app);
    const auto erro = gravarJSONRaiz(raiz.valor());
    Log::tag("Vocab/Tier3", QStringLiteral("removeu '%@' de %@"), {o, bundleID});
    if (erro)
        return *erro;
    return removeu;
}

// ---------------------------------------------------------------------------------------------
// Learning, Tier 1

void VocabularyService::carregarPendentes()
{
    const QByteArray dados = m_config.dados(QString::fromLatin1(kChavePendentes));
    if (dados.isEmpty())
        return;
    const QJsonDocument doc = QJsonDocument::fromJson(dados);
    if (!doc.isObject())
        return;
    QMap<QString, int> lidos;
    const QJsonObject o = doc.object();
    for (auto it = o.begin(); it != o.end(); ++it) {
        const double v = it.value().toDouble(std::nan(""));
        if (!it.value().isDouble() || v != std::floor(v) || v < -2147483648.0 || v > 2147483647.0)
            return; // one bad counter spoils the decode, as for any typed decode
        lidos.insert(it.key(), static_cast<int>(v));
    }
    m_pending = lidos;
}

void VocabularyService::salvarPendentes()
{
    QJsonObject o;
    for (auto it = m_pending.begin(); it != m_pending.end(); ++it)
        o.insert(it.key(), it.value());
    m_config.definir(QString::fromLatin1(kChavePendentes), QJsonDocument(o).toJson(QJsonDocument::Compact));
}

QList<VocabularyService::Candidato> VocabularyService::aprenderCorrecao(const QString& original, const QString& editado,
                                                                       const std::optional<QString>& contextoApp)
{
    Q_UNUSED(contextoApp); // accepted for the callers' sake; corrections are learnt globally
    if (m_pending.isEmpty())
        carregarPendentes();
    const QString o = TextoUnicode::apararComQuebras(original).toString();
    const QString e = TextoUnicode::apararComQuebras(editado).toString();
    if (o == e)
        return {};

    const QStringList antes = tokenizar(o);
    const QStringList depois = tokenizar(e);
    QList<Candidato> candidatos;
    // Positions are paired as they stand: an inserted or deleted word shifts the rest, and
    // such pairs rarely pass the tests below.
    const qsizetype n = std::min(antes.size(), depois.size());
    for (qsizetype i = 0; i < n; ++i) {
        const QString a = TextoUnicode::minusculas(antes[i]);
        const QString b = TextoUnicode::minusculas(depois[i]);
        if (TextoUnicode::contarGrafemas(a) < 4 || TextoUnicode::contarGrafemas(b) < 4)
            continue;
        if (a == b)
            continue; // a change of case alone is never learnt
        const int d = Levenshtein::distancia(a, b);
        if (d == 0 || d >= 3)
            continue;
        const QString chave = TextoUnicode::nfc(a + u'|' + depois[i]);
        const int conta = m_pending.value(chave, 0) + 1;
        m_pending.insert(chave, conta);
        Log::tag("Vocab/Tier1", QStringLiteral("candidato '%@' → '%@' count=%d"), {antes[i], depois[i], conta});
        if (conta >= 3) {
            candidatos.append({a, depois[i]});
            m_pending.remove(chave);
        }
    }
    salvarPendentes();
    for (const Candidato& c : candidatos)
        VocabularyNotifications::postar(QString::fromLatin1(VocabularyNotifications::candidatoNotification),
                                        {{QStringLiteral("ouvido"), c.ouvido}, {QStringLiteral("escrever"), c.escrever}});
    return candidatos;
}

} // namespace sonvo
