#include "ui/IconeBandeja.h"

#include <QPainter>
#include <QPixmap>
#include <QSvgRenderer>

namespace sonvo::ui {

namespace {
QString recurso(const QString& nome)
{
    return QStringLiteral(":/icones/") + nome + QStringLiteral(".svg");
}
} // namespace

QIcon iconeDoSimbolo(const QString& simbolo, const std::optional<Tinta>& tinta)
{
    QSvgRenderer svg(recurso(simbolo));
    if (!svg.isValid())
        return {};
    const QColor cor = tinta ? QColor::fromRgbF(float(tinta->r), float(tinta->g), float(tinta->b), float(tinta->a))
                             : QColor(0xB8, 0xBB, 0xC4);
    QIcon icone;
    for (int lado : {16, 22, 24, 32, 48, 64}) {
        QPixmap p(lado, lado);
        p.fill(Qt::transparent);
        QPainter pintor(&p);
        pintor.setRenderHint(QPainter::Antialiasing);
        svg.render(&pintor);
        // The symbol's shape, in the state's colour.
        pintor.setCompositionMode(QPainter::CompositionMode_SourceIn);
        pintor.fillRect(p.rect(), cor);
        pintor.end();
        icone.addPixmap(p);
    }
    return icone;
}

QIcon iconeDoAplicativo(const QString& asset)
{
    QSvgRenderer svg(recurso(asset));
    if (!svg.isValid())
        return {};
    QIcon icone;
    for (int lado : {16, 32, 48, 64, 128, 256}) {
        QPixmap p(lado, lado);
        p.fill(Qt::transparent);
        QPainter pintor(&p);
        pintor.setRenderHint(QPainter::Antialiasing);
        svg.render(&pintor);
        pintor.end();
        icone.addPixmap(p);
    }
    return icone;
}

} // namespace sonvo::ui
