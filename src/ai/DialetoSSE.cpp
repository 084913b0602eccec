// The streamed half of the dialects: framing and events. Kept apart from Dialeto.cpp so that the
// stream fuzzer builds it without the network stack.
#include "ai/Dialeto.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

namespace sonvo {

QList<QByteArray> LinhasSSE::alimentar(const QByteArray& dados)
{
    m_pendente += dados;
    QList<QByteArray> linhas;
    qsizetype inicio = 0;
    for (;;) {
        const qsizetype nl = m_pendente.indexOf('\n', inicio);
        if (nl < 0)
            break;
        qsizetype fim = nl;
        if (fim > inicio && m_pendente[fim - 1] == '\r')
            --fim;
        if (fim > inicio)
            linhas.append(m_pendente.mid(inicio, fim - inicio));
        inicio = nl + 1;
    }
    m_pendente.remove(0, inicio);
    return linhas;
}

std::optional<QByteArray> LinhasSSE::terminar()
{
    QByteArray resto = std::exchange(m_pendente, QByteArray());
    if (resto.endsWith('\r'))
        resto.chop(1);
    if (resto.isEmpty())
        return std::nullopt;
    return resto;
}

namespace {
QJsonObject objetoDe(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}
} // namespace

PassoSSE InterpretadorOpenAI::linha(const QByteArray& linha)
{
    PassoSSE passo;
    if (linha == "data: [DONE]") {
        passo.fim = true;
        return passo;
    }
    if (!linha.startsWith("data: "))
        return passo; // comments, keep-alives, other fields
    const QJsonArray choices = objetoDe(linha.mid(6)).value(QStringLiteral("choices")).toArray();
    if (choices.isEmpty())
        return passo;
    const QJsonValue content = choices.first().toObject().value(QStringLiteral("delta")).toObject().value(QStringLiteral("content"));
    if (content.isString() && !content.toString().isEmpty())
        passo.fragmento = content.toString();
    return passo;
}

PassoSSE InterpretadorAnthropic::linha(const QByteArray& linha)
{
    PassoSSE passo;
    if (linha.startsWith("event: ")) {
        m_evento = linha.mid(7);
        passo.fim = m_evento == "message_stop";
        return passo;
    }
    if (!linha.startsWith("data: ") || m_evento != "content_block_delta")
        return passo;
    const QJsonObject delta = objetoDe(linha.mid(6)).value(QStringLiteral("delta")).toObject();
    const QJsonValue texto = delta.value(QStringLiteral("text"));
    if (delta.value(QStringLiteral("type")).toString() == u"text_delta" && texto.isString() && !texto.toString().isEmpty())
        passo.fragmento = texto.toString();
    return passo;
}

std::function<PassoSSE(const QByteArray&)> Dialeto::interpretador(AIProviderID p)
{
    if (p == AIProviderID::anthropic)
        return [i = InterpretadorAnthropic()](const QByteArray& l) mutable { return i.linha(l); };
    return [i = InterpretadorOpenAI()](const QByteArray& l) mutable { return i.linha(l); };
}

} // namespace sonvo
