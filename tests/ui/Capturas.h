#pragma once

#include <QDir>
#include <QImage>
#include <QLayout>
#include <QWidget>

namespace sonvo::teste {

// Renders a widget as it would appear and keeps the picture in the build folder, so a person can
// look at every view after a test run.
inline QImage capturar(QWidget& w, const QString& nome)
{
    w.ensurePolished();
    if (w.layout())
        w.layout()->activate();
    QImage img(w.size(), QImage::Format_ARGB32_Premultiplied);
    img.fill(Qt::transparent);
    w.render(&img, QPoint(), QRegion(), QWidget::DrawChildren);
    QDir().mkpath(QStringLiteral(SONVO_CAPTURAS));
    img.save(QStringLiteral(SONVO_CAPTURAS) + u'/' + nome + QStringLiteral(".png"));
    return img;
}

} // namespace sonvo::teste
