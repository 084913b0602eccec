#include "platform/AreaTransferencia.h"

#include <QSet>

namespace sonvo {

bool AreaTransferencia::tipoGuardado(const QString& tipo)
{
    static const QSet<QString> fora = {
        QStringLiteral("TARGETS"),         QStringLiteral("MULTIPLE"),         QStringLiteral("TIMESTAMP"),
        QStringLiteral("SAVE_TARGETS"),    QStringLiteral("DELETE"),           QStringLiteral("INSERT_SELECTION"),
        QStringLiteral("INSERT_PROPERTY"), QStringLiteral("PIXMAP"),           QStringLiteral("BITMAP"),
        QStringLiteral("DRAWABLE"),        QStringLiteral("COLORMAP"),         QStringLiteral("application/x-qt-image"),
    };
    return !tipo.isEmpty() && !fora.contains(tipo) && !tipo.startsWith(QStringLiteral("org.nspasteboard."));
}

} // namespace sonvo
