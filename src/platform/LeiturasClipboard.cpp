#include "platform/LeiturasClipboard.h"

#include <QCoroSignal>

namespace sonvo {

void LeiturasClipboard::lida(quint64 geracao)
{
    if (geracao <= m_lida)
        return;
    m_lida = geracao;
    QMetaObject::invokeMethod(this, &LeiturasClipboard::textoLido, Qt::QueuedConnection);
}

QCoro::Task<bool> LeiturasClipboard::aguardar(std::chrono::milliseconds limite)
{
    const quint64 geracao = m_geracao;
    if (geracao == 0)
        co_return false;
    const auto fim = std::chrono::steady_clock::now() + limite;
    while (m_lida < geracao) {
        const auto resto = std::chrono::ceil<std::chrono::milliseconds>(fim - std::chrono::steady_clock::now());
        if (resto.count() <= 0)
            co_return false;
        co_await qCoro(this, &LeiturasClipboard::textoLido, resto);
    }
    co_return true;
}

} // namespace sonvo
