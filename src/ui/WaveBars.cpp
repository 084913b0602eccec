#include "ui/WaveBars.h"

#include <QPainter>
#include <QPainterPath>

#include <algorithm>
#include <cmath>

namespace sonvo::ui {

double WaveBars::displayLevel(float level)
{
    const double l = std::clamp(static_cast<double>(level), 0.0, 1.0);
    if (l < 0.1)
        return 0.0;
    return std::pow((l - 0.1) / 0.9, 0.62);
}

double WaveBars::phase(double segundos)
{
    return segundos * 9.5;
}

double WaveBars::envelope(int index) const
{
    // A single bar has no ends: it is the middle.
    if (count < 2)
        return 1.0;
    const double x = static_cast<double>(index) / (count - 1);
    const double d = 2.0 * std::abs(x - 0.5);
    return 1.0 - 0.56 * d * d;
}

double WaveBars::barHeight(int index, double level, double fase) const
{
    if (level <= 0.0)
        return idleHeight;
    const double w1 = (std::sin(fase + 0.82 * index) + 1.0) / 2.0 * 0.42;
    const double w2 = (std::sin(1.37 * index + 0.57 * fase) + 1.0) / 2.0 * 0.16;
    const double h = idleHeight + (w1 + 0.42 + w2) * (level * envelope(index)) * (maxHeight - idleHeight);
    return std::clamp(h, idleHeight, maxHeight);
}

const std::array<QColor, 6>& WaveBars::paradas()
{
    static const std::array<QColor, 6> p{
        QColor::fromRgbF(0.26f, 0.98f, 0.35f), QColor::fromRgbF(0.24f, 0.93f, 0.55f),
        QColor::fromRgbF(0.28f, 0.86f, 0.72f), QColor::fromRgbF(0.31f, 0.76f, 0.86f),
        QColor::fromRgbF(0.36f, 0.66f, 0.94f), QColor::fromRgbF(0.45f, 0.55f, 1.0f),
    };
    return p;
}

QColor WaveBars::barColor(int index) const
{
    const auto& p = paradas();
    if (count < 2)
        return p[0];
    const double t = static_cast<double>(index) / (count - 1) * 5.0;
    const int k = static_cast<int>(t);
    const int baixo = std::min(k, 5);
    const int cima = std::min(k, 4) + 1;
    const double f = t - baixo;
    const QColor& a = p[static_cast<size_t>(baixo)];
    const QColor& b = p[static_cast<size_t>(cima)];
    auto mix = [f](float x, float y) { return static_cast<float>(x + (y - x) * f); };
    return QColor::fromRgbF(mix(a.redF(), b.redF()), mix(a.greenF(), b.greenF()), mix(a.blueF(), b.blueF()));
}

double WaveBars::opacidade(double level) const
{
    if (!isActive)
        return 0.18;
    if (level <= 0.0)
        return 0.22;
    return std::min(level * 0.85 + 0.48, 1.0);
}

WaveBars::Brilho WaveBars::glow(double level) const
{
    if (isActive && level > 0.04)
        return {0.45, 4.0};
    return {};
}

void WaveBars::pintar(QPainter& p, const QRectF& area, const QList<double>& alturas, double level) const
{
    p.save();
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(Qt::NoPen);
    const double x0 = area.center().x() - larguraTotal() / 2.0;
    const double cy = area.center().y();
    const double alfa = opacidade(level);
    const Brilho brilho = glow(level);
    for (int i = 0; i < count; ++i) {
        const double h = i < alturas.size() ? alturas[i] : idleHeight;
        const QRectF barra(x0 + i * (barW + gap), cy - h / 2.0, barW, h);
        QColor cor = barColor(i);
        // The glow: a few widening, fading halos in the bar's colour.
        if (brilho.raio > 0) {
            for (int k = 1; k <= static_cast<int>(brilho.raio); ++k) {
                QColor halo = cor;
                halo.setAlphaF(static_cast<float>(brilho.opacidade * alfa / (k * 2.5)));
                p.setBrush(halo);
                const QRectF r = barra.adjusted(-k * 0.6, -k * 0.6, k * 0.6, k * 0.6);
                p.drawRoundedRect(r, r.width() / 2, r.width() / 2);
            }
        }
        cor.setAlphaF(static_cast<float>(alfa));
        p.setBrush(cor);
        p.drawRoundedRect(barra, barW / 2, barW / 2);
    }
    p.restore();
}

} // namespace sonvo::ui
