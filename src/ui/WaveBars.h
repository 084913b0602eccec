#pragma once

#include <QColor>
#include <QList>
#include <QRectF>

#include <array>

class QPainter;

namespace sonvo::ui {

// The recording pill's live waveform: rounded bars whose heights follow the smoothed input level
// and ripple with two travelling sine waves, coloured along a green-to-violet gradient. Every
// figure is a pure function of the level, the bar index and the time, so it is checked without
// a screen; pintar() only draws what they say.
struct WaveBars {
    bool isActive = false;
    float audioLevel = 0.0f;
    QList<QColor> colors; // the pill's palette; the bars' own colours are the six stops
    int count = 11;
    double barW = 4.0;
    double gap = 3.0;
    double idleHeight = 4.0;
    double maxHeight = 24.0;

    // Below 0.1 is silence (0); above, a curve that lifts quiet speech.
    static double displayLevel(float level);
    // Seconds (any fixed origin) to the waves' phase.
    static double phase(double segundos);
    // 1 in the middle, 0.44 at both ends.
    double envelope(int index) const;
    double barHeight(int index, double level, double phase) const; // level: the display level
    QColor barColor(int index) const;
    static const std::array<QColor, 6>& paradas();

    double opacidade(double level) const; // display level
    struct Brilho {
        double opacidade = 0.0;
        double raio = 0.0;
    };
    Brilho glow(double level) const;

    double larguraTotal() const { return count * barW + (count - 1) * gap; }
    // Draws the row centred in `area` with the heights given (one per bar).
    void pintar(QPainter& p, const QRectF& area, const QList<double>& alturas, double level) const;
};

} // namespace sonvo::ui
