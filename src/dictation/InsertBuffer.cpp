#include "dictation/InsertBuffer.h"

#include "core/TextoUnicode.h"
#include "vocabulary/MotorCorrecoes.h"

#include <QHash>

namespace sonvo {

InsertBuffer::InsertBuffer(Relogio relogio) : m_relogio(std::move(relogio)) {}

void InsertBuffer::adicionar(const QString& texto)
{
    const QString aparado = TextoUnicode::apararComQuebras(texto).toString();
    if (aparado.isEmpty())
        return;
    m_entradas.append({aparado, m_relogio()});
    if (m_entradas.size() > kCapacidade)
        m_entradas.remove(0, m_entradas.size() - kCapacidade);
}

QMap<QString, int> InsertBuffer::palavrasFrequentes(int minOcorrencias) const
{
    QHash<QString, int> contagem;
    for (const Entrada& e : m_entradas) {
        for (const QString& palavra : MotorCorrecoes::tokenizar(e.texto)) {
            const QString p = TextoUnicode::nfc(TextoUnicode::minusculas(palavra));
            if (TextoUnicode::contarGrafemas(p) < 4)
                continue;
            ++contagem[p];
        }
    }
    QMap<QString, int> frequentes;
    for (auto it = contagem.begin(); it != contagem.end(); ++it)
        if (it.value() >= minOcorrencias)
            frequentes.insert(it.key(), it.value());
    return frequentes;
}

} // namespace sonvo
