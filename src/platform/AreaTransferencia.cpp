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

QList<ClipboardSnapshot::Item> AreaTransferencia::itensDoTexto(const QString& texto, bool transitorio,
                                                               const QStringList& tipos)
{
    QList<ClipboardSnapshot::Item> itens;
    if (transitorio) {
        itens << ClipboardSnapshot::Item{QString::fromLatin1(tipoTransitorio), QByteArray()};
        itens << ClipboardSnapshot::Item{QString::fromLatin1(tipoDicaGerenciador), QByteArrayLiteral("secret")};
    }
    const QByteArray utf8 = texto.toUtf8();
    for (const QString& t : tipos)
        itens << ClipboardSnapshot::Item{t, utf8};
    return itens;
}

QList<ClipboardSnapshot::Item> AreaTransferencia::itensRestaurados(const ClipboardSnapshot& s)
{
    QList<ClipboardSnapshot::Item> itens{{QString::fromLatin1(tipoRestaurado), QByteArray()}};
    QSet<QString> vistos{itens.first().type};
    for (const auto& item : s.items)
        for (const ClipboardSnapshot::Item& i : item)
            if (!vistos.contains(i.type)) {
                vistos.insert(i.type);
                itens << i;
            }
    return itens;
}

bool AreaTransferencia::ehMarcador(const QString& tipo)
{
    return tipo.startsWith(QStringLiteral("org.nspasteboard.")) || tipo == QLatin1String(tipoDicaGerenciador);
}

} // namespace sonvo
