#include "ai/QuickAction.h"

#include "core/Configuracoes.h"

namespace sonvo {

QString QuickActions::rawValue(QuickAction a)
{
    switch (a) {
    case QuickAction::resumir: return QStringLiteral("resumir");
    case QuickAction::bulletPoints: return QStringLiteral("bulletPoints");
    case QuickAction::email: return QStringLiteral("email");
    case QuickAction::legenda: return QStringLiteral("legenda");
    case QuickAction::post: return QStringLiteral("post");
    }
    return {};
}

QString QuickActions::titulo(QuickAction a)
{
    switch (a) {
    case QuickAction::resumir: return QStringLiteral("Resumir");
    case QuickAction::bulletPoints: return QStringLiteral("Bullet Points");
    case QuickAction::email: return QStringLiteral("Email");
    case QuickAction::legenda: return QStringLiteral("Legenda");
    case QuickAction::post: return QStringLiteral("Post");
    }
    return {};
}

QString QuickActions::icone(QuickAction a)
{
    switch (a) {
    case QuickAction::resumir: return QStringLiteral("text.alignleft");
    case QuickAction::bulletPoints: return QStringLiteral("list.bullet");
    case QuickAction::email: return QStringLiteral("envelope");
    case QuickAction::legenda: return QStringLiteral("captions.bubble");
    case QuickAction::post: return QStringLiteral("square.and.pencil");
    }
    return {};
}

std::optional<QuickAction> QuickActions::deRawValue(const QString& raw)
{
    for (QuickAction a : todas)
        if (rawValue(a) == raw)
            return a;
    return std::nullopt;
}

QList<QuickAction> QuickActions::padrao()
{
    return {QuickAction::resumir, QuickAction::bulletPoints, QuickAction::email};
}

QList<QuickAction> QuickActions::decode(const QStringList& brutos)
{
    QList<QuickAction> acoes;
    for (const QString& b : brutos)
        if (const auto a = deRawValue(b))
            acoes.append(*a);
    return acoes;
}

QList<QuickAction> QuickActions::loadOrdered(const Configuracoes& config)
{
    const auto brutos = config.lista(QStringLiteral("vozelQuickActions"));
    if (!brutos || brutos->isEmpty())
        return padrao();
    const QList<QuickAction> acoes = decode(*brutos);
    return acoes.isEmpty() ? padrao() : acoes;
}

void QuickActions::saveOrdered(Configuracoes& config, const QList<QuickAction>& acoes)
{
    QStringList brutos;
    for (QuickAction a : acoes)
        brutos << rawValue(a);
    config.definir(QStringLiteral("vozelQuickActions"), brutos);
}

QList<QuickAction> QuickActions::disponiveis(const QSet<QuickAction>& excluindo)
{
    QList<QuickAction> acoes;
    for (QuickAction a : todas)
        if (!excluindo.contains(a))
            acoes.append(a);
    return acoes;
}

QString AIPrompts::system()
{
    return QStringLiteral(
        "Você é um assistente que reformata texto ditado em português brasileiro. Responda APENAS com o texto "
        "reformatado, sem comentários, prefixos, aspas externas ou explicações. Preserve o sentido original. Não "
        "invente informações que não estejam no texto original.");
}

QString AIPrompts::instrucao(QuickAction a)
{
    switch (a) {
    case QuickAction::resumir:
        return QStringLiteral("Resuma o texto abaixo em 1-3 frases curtas, mantendo as informações essenciais. Use "
                              "português brasileiro natural.\n\nTEXTO:\n");
    case QuickAction::bulletPoints:
        return QStringLiteral("Reformate o texto abaixo como uma lista de bullet points em português brasileiro. Cada "
                              "bullet deve começar com \"- \" (hífen + espaço). Quebre em frases curtas e diretas. Não "
                              "adicione título nem numeração.\n\nTEXTO:\n");
    case QuickAction::email:
        return QStringLiteral("Reformate o texto abaixo como um email profissional em português brasileiro. Inclua "
                              "saudação (\"Olá,\" ou \"Bom dia,\") e despedida (\"Atenciosamente,\"). Mantenha tom "
                              "cordial e direto. Não invente nome de remetente ou destinatário; use placeholders apenas "
                              "se o texto explicitamente mencionar.\n\nTEXTO:\n");
    case QuickAction::legenda:
        return QStringLiteral("Reformate o texto abaixo como uma legenda curta para Instagram/redes sociais em "
                              "português brasileiro. Tom envolvente mas natural. Máximo 280 caracteres. Pode adicionar "
                              "2-4 hashtags relevantes ao final, em uma linha separada.\n\nTEXTO:\n");
    case QuickAction::post:
        return QStringLiteral("Reformate o texto abaixo como um post curto para LinkedIn ou Twitter/X em português "
                              "brasileiro. Tom profissional mas humano, com gancho na primeira frase. Quebre em "
                              "parágrafos curtos. Máximo 600 caracteres.\n\nTEXTO:\n");
    }
    return {};
}

QString AIPrompts::user(QuickAction a, const QString& texto, const std::optional<QString>& selectionContext)
{
    static const QString alvo = QStringLiteral("\n\nTEXTO ALVO (reescreva usando como base a transcricao acima):\n");
    const QString instr = instrucao(a);
    const bool comAlvo = selectionContext && !selectionContext->isEmpty();
    QString msg;
    msg.reserve(instr.size() + texto.size() + (comAlvo ? alvo.size() + selectionContext->size() : 0));
    msg += instr;
    msg += texto;
    if (comAlvo) {
        msg += alvo;
        msg += *selectionContext;
    }
    return msg;
}

} // namespace sonvo
