// What reaches the vocabulary audit from outside: the model's answer and the queue file as found on
// disk, any bytes.
#include "vocabulary/VocabularyAuditService.h"

#include <QSet>

#include <cstddef>
#include <cstdint>
#include <cstring>

using namespace sonvo;

namespace {

const QDateTime kAgora(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);

// Once written, a queue reads back to the same bytes: nothing the file holds drifts on rewrites.
void estavel(const QList<AuditSugestao>& fila)
{
    const QByteArray escrita = VocabularyAuditService::codificar(fila);
    const auto lida = VocabularyAuditService::decodificar(escrita);
    if (!lida || lida->size() != fila.size())
        __builtin_trap();
    const QByteArray reescrita = VocabularyAuditService::codificar(*lida);
    const auto relida = VocabularyAuditService::decodificar(reescrita);
    if (!relida || VocabularyAuditService::codificar(*relida) != reescrita)
        __builtin_trap();
    for (qsizetype i = 0; i < fila.size(); ++i)
        if (lida->at(i).id != fila[i].id || lida->at(i).ocorrencias != fila[i].ocorrencias)
            __builtin_trap();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    const char* bruto = reinterpret_cast<const char*>(dados);
    const qsizetype n = qsizetype(tamanho);
    const QByteArray bytes = QByteArray::fromRawData(bruto, n);

    // The answer, as UTF-8 and as raw UTF-16 (lone surrogates come through JSON escapes).
    QString utf16(n / 2, Qt::Uninitialized);
    std::memcpy(utf16.data(), bruto, size_t(n / 2) * 2);
    for (const QString& texto : {QString::fromUtf8(bytes), utf16}) {
        const QList<AuditSugestao> sugestoes = VocabularyAuditService::parseSugestoes(texto, kAgora);
        QSet<QUuid> ids;
        for (const AuditSugestao& s : sugestoes) {
            if (s.ouvido.isEmpty() || s.provavel.isEmpty() || s.id.isNull() || s.createdAt != kAgora || ids.contains(s.id))
                __builtin_trap();
            ids.insert(s.id);
        }
        estavel(sugestoes);
    }

    // The queue file.
    if (const auto fila = VocabularyAuditService::decodificar(bytes))
        estavel(*fila);
    return 0;
}
