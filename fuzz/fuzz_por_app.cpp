// "vocabulary-by-app.json" as found on disk: any bytes.
#include "vocabulary/MotorCorrecoes.h"
#include "vocabulary/VocabularioPorApp.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <cstddef>
#include <cstdint>

using namespace sonvo;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* dados, size_t tamanho)
{
    const QByteArray bytes = QByteArray::fromRawData(reinterpret_cast<const char*>(dados), qsizetype(tamanho));
    QStringList apps{QStringLiteral("code"), QString()};
    const QJsonDocument doc = QJsonDocument::fromJson(bytes);
    if (doc.isObject())
        apps += doc.object().keys().mid(0, 8);
    for (const QString& app : apps) {
        const auto s = VocabularioPorApp::snapshot(bytes, app);
        if (!s)
            continue;
        for (auto it = s->correcoes.begin(); it != s->correcoes.end(); ++it)
            (void)MotorCorrecoes::aplicar({{it.key(), it.value()}}, s->whitelist, QStringLiteral("vs code cloud você"));
    }
    return 0;
}
