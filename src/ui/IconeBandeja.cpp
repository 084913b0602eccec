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

// The drawing at each size; with a colour, only its shape is kept, filled with the colour.
QIcon desenhar(const QString& nome, std::initializer_list<int> lados, const std::optional<QColor>& cor)
{
    QSvgRenderer svg(recurso(nome));
    if (!svg.isValid())
        return {};
    QIcon icone;
    for (int lado : lados) {
        QPixmap p(lado, lado);
        p.fill(Qt::transparent);
        QPainter pintor(&p);
        pintor.setRenderHint(QPainter::Antialiasing);
        svg.render(&pintor);
        if (cor) {
            pintor.setCompositionMode(QPainter::CompositionMode_SourceIn);
            pintor.fillRect(p.rect(), *cor);
        }
        pintor.end();
        icone.addPixmap(p);
    }
    return icone;
}
} // namespace

QIcon iconeDoSimbolo(const QString& simbolo, const std::optional<Tinta>& tinta)
{
    const QColor cor = tinta ? QColor::fromRgbF(float(tinta->r), float(tinta->g), float(tinta->b), float(tinta->a))
                             : QColor(0xB8, 0xBB, 0xC4);
    return desenhar(simbolo, {16, 22, 24, 32, 48, 64}, cor);
}

QIcon iconeDoAplicativo(const QString& asset)
{
    return desenhar(asset, {16, 32, 48, 64, 128, 256}, std::nullopt);
}

} // namespace sonvo::ui
