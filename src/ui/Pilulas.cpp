#include "ui/Pilulas.h"

#include "ui/Estilo.h"

#include <QDateTime>
#include <QMouseEvent>
#include <QPainter>
#include <QPainterPath>

#include <cmath>

namespace sonvo::ui {

QRect GeometriaPilula::repouso(const QRect& d, QSize t)
{
    const int x = d.x() + static_cast<int>(std::lround((d.width() - t.width()) / 2.0));
    return {x, d.y() + d.height() - kAcimaDaBase - t.height(), t.width(), t.height()};
}

QRect GeometriaPilula::escondida(const QRect& d, QSize t)
{
    const int x = d.x() + static_cast<int>(std::lround((d.width() - t.width()) / 2.0));
    return {x, d.y() + d.height() + kAbaixoDaBase, t.width(), t.height()};
}

QEasingCurve GeometriaPilula::easeOut()
{
    QEasingCurve c(QEasingCurve::BezierSpline);
    c.addCubicBezierSegment(QPointF(0.0, 0.0), QPointF(0.58, 1.0), QPointF(1.0, 1.0));
    return c;
}

QEasingCurve GeometriaPilula::easeIn()
{
    QEasingCurve c(QEasingCurve::BezierSpline);
    c.addCubicBezierSegment(QPointF(0.42, 0.0), QPointF(1.0, 1.0), QPointF(1.0, 1.0));
    return c;
}

PainelFlutuante::PainelFlutuante(QSize tamanho, QWidget* parent)
    : QWidget(parent, Qt::ToolTip | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint | Qt::WindowDoesNotAcceptFocus)
{
    // Override-redirect on X11: the window manager neither decorates nor focuses it.
    setAttribute(Qt::WA_ShowWithoutActivating);
    setAttribute(Qt::WA_TranslucentBackground);
    setFocusPolicy(Qt::NoFocus);
    setFixedSize(tamanho);
}

void PainelFlutuante::animarComIntervalo(int intervaloMs)
{
    m_quadro.setTimerType(Qt::PreciseTimer);
    m_quadro.setInterval(intervaloMs);
    connect(&m_quadro, &QTimer::timeout, this, [this] { quadro(); });
}

void PainelFlutuante::atualizarQuadro()
{
    if (isVisible() && quandoAnimar())
        m_quadro.start();
    else
        m_quadro.stop();
    update();
}

void PainelFlutuante::showEvent(QShowEvent*)
{
    atualizarQuadro();
}

void PainelFlutuante::hideEvent(QHideEvent*)
{
    atualizarQuadro();
}

void PainelFlutuante::pintarCapsula(QPainter& p) const
{
    p.setRenderHint(QPainter::Antialiasing);
    const QRectF r = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    p.setPen(QPen(Estilo::borda(), 1.0));
    p.setBrush(Estilo::fundoPainel());
    p.drawRoundedRect(r, r.height() / 2, r.height() / 2);
}

// ---- Recording pill ----

PilulaGravacao::PilulaGravacao(QWidget* parent) : PainelFlutuante(GeometriaPilula::kGravacao, parent)
{
    setObjectName(QStringLiteral("pilulaGravacao"));
    setAccessibleName(QStringLiteral("Gravando"));
    m_barras.count = 11;
    m_barras.barW = 4.0;
    m_barras.gap = 3.5;
    m_barras.idleHeight = 4.0;
    m_barras.maxHeight = 26.0;
    m_barras.colors = QList<QColor>(WaveBars::paradas().begin(), WaveBars::paradas().end());
    m_alturas = QList<double>(m_barras.count, m_barras.idleHeight);
    animarComIntervalo(16);
    m_relogio.start();
}

void PilulaGravacao::definirNivel(float nivel)
{
    m_barras.audioLevel = nivel;
}

void PilulaGravacao::definirAtivo(bool ativo)
{
    m_barras.isActive = ativo;
    atualizarQuadro();
}

void PilulaGravacao::congelarEm(double segundos)
{
    m_congelado = segundos;
    const double l = WaveBars::displayLevel(m_barras.audioLevel);
    for (int i = 0; i < m_barras.count; ++i)
        m_alturas[i] = m_barras.barHeight(i, l, WaveBars::phase(segundos));
    atualizarQuadro();
}

void PilulaGravacao::quadro()
{
    // The first frame after a pause would see a long gap: one frame never counts more than 0.1 s.
    const double agora = m_relogio.elapsed() / 1000.0;
    const double dt = std::clamp(agora - m_ultimoQuadro, 0.0, 0.1);
    m_ultimoQuadro = agora;
    const double l = WaveBars::displayLevel(m_barras.audioLevel);
    const double fase = WaveBars::phase(QDateTime::currentMSecsSinceEpoch() / 1000.0);
    // Heights ease out towards their targets in about 0.08 s.
    const double k = 1.0 - std::exp(-dt / 0.027);
    for (int i = 0; i < m_barras.count; ++i) {
        const double alvo = m_barras.barHeight(i, l, fase);
        m_alturas[i] += (alvo - m_alturas[i]) * k;
    }
    update();
}

void PilulaGravacao::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    pintarCapsula(p);
    // The red dot says "recording" even to someone who cannot tell the bars from the gradient.
    p.setPen(Qt::NoPen);
    p.setBrush(m_barras.isActive ? Estilo::vermelhoGravando() : Estilo::textoSecundario());
    p.drawEllipse(QPointF(19.0, height() / 2.0), 4.5, 4.5);
    const QRectF area(30.0, 0.0, width() - 30.0 - 12.0, height());
    m_barras.pintar(p, area, m_alturas, WaveBars::displayLevel(m_barras.audioLevel));
}

// ---- Processing pill ----

PilulaProcessamento::PilulaProcessamento(QWidget* parent) : PainelFlutuante(GeometriaPilula::kProcessamento, parent)
{
    setObjectName(QStringLiteral("pilulaProcessamento"));
    animarComIntervalo(350);
}

void PilulaProcessamento::quadro()
{
    m_passo = (m_passo + 1) % 4;
    update();
}

void PilulaProcessamento::definirEstado(const RecordingState& e)
{
    using Caso = RecordingState::Caso;
    if (e.caso == Caso::transcribing || e.caso == Caso::completed || e.caso == Caso::error)
        m_caso = e.caso;
    setToolTip(e.caso == Caso::error ? e.mensagem : QString());
    mudou();
}

void PilulaProcessamento::definirGerando(bool gerando)
{
    m_gerando = gerando;
    mudou();
}

// The dots run only while something is being waited for.
void PilulaProcessamento::mudou()
{
    setAccessibleName(rotulo());
    atualizarQuadro();
}

QString PilulaProcessamento::rotulo() const
{
    if (m_gerando)
        return QStringLiteral("Gerando");
    switch (m_caso) {
    case RecordingState::Caso::completed:
        return QStringLiteral("Pronto");
    case RecordingState::Caso::error:
        return QStringLiteral("Erro");
    default:
        return QStringLiteral("Transcrevendo");
    }
}

void PilulaProcessamento::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    pintarCapsula(p);
    QFont f = font();
    f.setPixelSize(12);
    f.setWeight(QFont::DemiBold);
    p.setFont(f);
    QString texto = rotulo();
    const bool esperando = quandoAnimar();
    if (esperando)
        texto += QString(m_passo, u'.') + QString(3 - m_passo, u' ');
    QColor cor = Estilo::textoPrimario();
    if (m_gerando)
        cor = Estilo::acento();
    else if (m_caso == RecordingState::Caso::completed)
        cor = Estilo::verdeConcluido();
    else if (!esperando)
        cor = Estilo::vermelhoErro();
    p.setPen(cor);
    p.drawText(rect(), Qt::AlignCenter, texto);
}

// ---- Notice pill ----

PilulaAviso::PilulaAviso(QString titulo, QString texto, QWidget* parent)
    : PainelFlutuante(QSize(460, 58), parent), m_titulo(std::move(titulo)), m_texto(std::move(texto))
{
    setObjectName(QStringLiteral("pilulaAviso"));
    setAccessibleName(m_titulo);
    setAccessibleDescription(m_texto);
    setCursor(Qt::PointingHandCursor);
}

void PilulaAviso::paintEvent(QPaintEvent*)
{
    QPainter p(this);
    p.setRenderHint(QPainter::Antialiasing);
    p.setPen(QPen(Estilo::borda(), 1.0));
    p.setBrush(Estilo::fundoPainel());
    p.drawRoundedRect(QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5), 16, 16);
    p.setPen(Qt::NoPen);
    p.setBrush(Estilo::ambar());
    p.drawEllipse(QPointF(22, height() / 2.0), 5, 5);
    QFont f = font();
    f.setPixelSize(13);
    f.setWeight(QFont::DemiBold);
    p.setFont(f);
    p.setPen(Estilo::textoPrimario());
    p.drawText(QRect(38, 8, width() - 50, 20), Qt::AlignLeft | Qt::AlignVCenter, m_titulo);
    f.setWeight(QFont::Normal);
    f.setPixelSize(12);
    p.setFont(f);
    p.setPen(Estilo::textoSecundario());
    p.drawText(QRect(38, 29, width() - 50, 20), Qt::AlignLeft | Qt::AlignVCenter,
               p.fontMetrics().elidedText(m_texto, Qt::ElideRight, width() - 50));
}

void PilulaAviso::mousePressEvent(QMouseEvent*)
{
    hide();
}

} // namespace sonvo::ui
