#pragma once

#include "dictation/RecordingState.h"
#include "ui/WaveBars.h"

#include <QEasingCurve>
#include <QElapsedTimer>
#include <QRect>
#include <QTimer>
#include <QWidget>

namespace sonvo::ui {

// Where the pills sit: centred on the primary screen's available area, resting 80 px above its
// bottom, and hidden 20 px below it (the slide starts and ends there). Qt's y grows downwards.
namespace GeometriaPilula {
inline constexpr QSize kGravacao{136, 42};
inline constexpr QSize kProcessamento{110, 32};
inline constexpr int kAcimaDaBase = 80;
inline constexpr int kAbaixoDaBase = 20;
QRect repouso(const QRect& disponivel, QSize tamanho);
QRect escondida(const QRect& disponivel, QSize tamanho);
// Core Animation's ease-out and ease-in: cubic Béziers (0, 0, 0.58, 1) and (0.42, 0, 1, 1).
QEasingCurve easeOut();
QEasingCurve easeIn();
inline constexpr int kMostrarGravacaoMs = 350;
inline constexpr int kMostrarProcessamentoMs = 300;
inline constexpr int kEsconderMs = 300;
} // namespace GeometriaPilula

// A small floating window that never takes the focus from the application the user types in.
class PainelFlutuante : public QWidget {
    Q_OBJECT
public:
    explicit PainelFlutuante(QSize tamanho, QWidget* parent = nullptr);
    bool animando() const { return m_quadro.isActive(); }

protected:
    void pintarCapsula(QPainter& p) const;
    // Nothing animates unseen: frames (every `intervaloMs`) run only while the panel is shown and
    // quandoAnimar() holds. Subclasses call atualizarQuadro() when that may have changed.
    void animarComIntervalo(int intervaloMs);
    void atualizarQuadro();
    virtual bool quandoAnimar() const { return false; }
    virtual void quadro() {}
    void showEvent(QShowEvent*) override;
    void hideEvent(QHideEvent*) override;

private:
    QTimer m_quadro;
};

// The recording pill: a red dot and the waveform, animated only while it is shown and recording.
class PilulaGravacao : public PainelFlutuante {
    Q_OBJECT
public:
    explicit PilulaGravacao(QWidget* parent = nullptr);
    void definirNivel(float nivelSuavizado);
    void definirAtivo(bool ativo);
    // Renders one frame at this time (seconds): the tests and the screenshots use it.
    void congelarEm(double segundos);
    const WaveBars& barras() const { return m_barras; }

protected:
    void paintEvent(QPaintEvent*) override;
    bool quandoAnimar() const override { return m_barras.isActive && !m_congelado; }
    void quadro() override;

private:
    WaveBars m_barras;
    QList<double> m_alturas;
    QElapsedTimer m_relogio;
    double m_ultimoQuadro = 0.0;
    std::optional<double> m_congelado;
};

// The processing pill: "Transcrevendo" with running dots, then a brief "Pronto" or "Erro".
class PilulaProcessamento : public PainelFlutuante {
    Q_OBJECT
public:
    explicit PilulaProcessamento(QWidget* parent = nullptr);
    void definirEstado(const RecordingState& estado);
    // An AI answer on its way: "Gerando", whatever the dictation's state says meanwhile.
    void definirGerando(bool gerando);
    QString rotulo() const;

protected:
    void paintEvent(QPaintEvent*) override;
    bool quandoAnimar() const override { return m_gerando || m_caso == RecordingState::Caso::transcribing; }
    void quadro() override;

private:
    void mudou();

    RecordingState::Caso m_caso = RecordingState::Caso::transcribing;
    bool m_gerando = false;
    int m_passo = 0;
};

// A notice at the pills' place: what is missing and what to do; a click closes it.
class PilulaAviso : public PainelFlutuante {
    Q_OBJECT
public:
    PilulaAviso(QString titulo, QString texto, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent*) override;
    void mousePressEvent(QMouseEvent*) override;

private:
    QString m_titulo;
    QString m_texto;
};

} // namespace sonvo::ui
