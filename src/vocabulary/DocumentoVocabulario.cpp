#include "vocabulary/DocumentoVocabulario.h"

#include "core/Log.h"
#include "core/TextoUnicode.h"

#include <cerrno>

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

const QString kCabecalhoCorrecoes = QStringLiteral("## Correções automáticas");

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

DocumentoVocabulario::DocumentoVocabulario(QString pasta) : m_pasta(std::move(pasta)) {}

QString DocumentoVocabulario::arquivo() const
{
    return m_pasta + u'/' + QLatin1String(kArquivo);
}

QByteArray DocumentoVocabulario::modelo()
{
    return QByteArray(kModelo, sizeof kModelo - 1);
}

void DocumentoVocabulario::bootstrapSeNecessario() const
{
    Caminhos::garantirPasta(m_pasta);
    const QString caminho = arquivo();
    // lstat: a dangling link or anything else in the way counts as the user's and stays.
    if (Arquivos::existe(caminho))
        return;
    Arquivos::gravarAtomico(caminho, modelo()); // ends 0600; a failure leaves reads empty
}

VocabularioSnapshot DocumentoVocabulario::parseMarkdown(const QString& texto)
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

Resultado<QString, ErroArquivo> DocumentoVocabulario::lerTexto() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido)
        return lido.erro();
    auto texto = TextoUnicode::decodificarUtf8(lido.valor());
    if (!texto)
        return ErroArquivo{EILSEQ, QStringLiteral("o arquivo não é texto UTF-8 válido")};
    return *texto;
}

VocabularioSnapshot DocumentoVocabulario::carregar() const
{
    bootstrapSeNecessario();
    const auto texto = lerTexto();
    if (!texto)
        return VocabularioSnapshot::vazio();
    return parseMarkdown(texto.valor());
}

std::optional<QString> DocumentoVocabulario::importarCorrecaoAprovada(const QString& ouvido, const QString& escrever)
{
    const auto texto = lerTexto();
    if (!texto) {
        // Never rewrite a document we could not read: it is the user's.
        Log::tag("Vocab", QStringLiteral("importarCorrecao: falha ao ler %@"), {arquivo()});
        return QStringLiteral("Não foi possível ler %1: %2").arg(arquivo(), texto.erro().descricao);
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

    const auto erro = Arquivos::gravarAtomico(Arquivos::destinoDeGravacao(arquivo()), linhas.join(u'\n').toUtf8());
    Log::tag("Vocab", QStringLiteral("importarCorrecao aprovada: %@ -> %@"), {ouvido, escrever});
    if (erro)
        return QStringLiteral("Não foi possível gravar %1: %2").arg(arquivo(), erro->descricao);
    return std::nullopt;
}

void DocumentoVocabulario::percorrerPrioritarios(const std::function<bool(QStringView termo)>& termo) const
{
    bootstrapSeNecessario();
    const auto texto = lerTexto();
    if (!texto)
        return;
    percorrerItens(texto.valor(), [&](Secao secao, QStringView item) {
        return secao != Secao::prioritarios || item.isEmpty() || termo(item);
    });
}

} // namespace sonvo
