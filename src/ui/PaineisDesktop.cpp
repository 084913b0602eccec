#include "ui/PaineisDesktop.h"

#include "shell/RecordingViewModel.h"
#include "ui/MenuAcoes.h"
#include "ui/Pilulas.h"

#include <QCursor>
#include <QGuiApplication>
#include <QMessageBox>
#include <QParallelAnimationGroup>
#include <QPropertyAnimation>
#include <QScreen>
#include <QTimer>

namespace sonvo::ui {

namespace {
QRect areaPrincipal()
{
    const QScreen* s = QGuiApplication::primaryScreen();
    return s ? s->availableGeometry() : QRect();
}

// Qt's Wayland plugin has no window opacity (and warns at every frame of a fade), nor windows
// that stay out of the focus: there the panels only move, and the pills are not shown.
bool noWaylandDoQt()
{
    return QGuiApplication::platformName().startsWith(QLatin1String("wayland"));
}

void definirOpacidade(QWidget* w, double alfa)
{
    if (!noWaylandDoQt())
        w->setWindowOpacity(alfa);
}

// One animation group: the position and the opacity move together, with one curve.
QParallelAnimationGroup* deslizar(QWidget* w, QPoint fim, double alfaFim, int duracaoMs, const QEasingCurve& curva,
                                  QObject* pai)
{
    auto* grupo = new QParallelAnimationGroup(pai);
    auto* pos = new QPropertyAnimation(w, "pos", grupo);
    pos->setEndValue(fim);
    QList<QPropertyAnimation*> animacoes{pos};
    if (!noWaylandDoQt()) {
        auto* alfa = new QPropertyAnimation(w, "windowOpacity", grupo);
        alfa->setEndValue(alfaFim);
        animacoes << alfa;
    }
    for (QPropertyAnimation* a : animacoes) {
        a->setDuration(duracaoMs);
        a->setEasingCurve(curva);
        grupo->addAnimation(a);
    }
    return grupo;
}

QRect areaAtiva()
{
    const QScreen* s = QGuiApplication::screenAt(QCursor::pos());
    if (!s)
        s = QGuiApplication::primaryScreen();
    return s ? s->availableGeometry() : QRect();
}
} // namespace

void centralizarNaTela(QWidget* janela)
{
    const QRect area = areaPrincipal();
    if (area.isNull())
        return;
    if (!janela->testAttribute(Qt::WA_Resized))
        janela->adjustSize();
    QRect r(QPoint(0, 0), janela->size());
    r.moveCenter(area.center());
    janela->move(r.topLeft());
}

PaineisDesktop::PaineisDesktop(RecordingViewModel& vm, QObject* parent)
    : QObject(parent), m_vm(vm), m_gravacao(new PilulaGravacao), m_processamento(new PilulaProcessamento)
{
    connect(&m_vm, &RecordingViewModel::audioLevelChanged, m_gravacao, &PilulaGravacao::definirNivel);
    connect(&m_vm, &RecordingViewModel::stateChanged, this, [this](const RecordingState& e) {
        m_gravacao->definirAtivo(e.caso == RecordingState::Caso::recording);
        m_processamento->definirEstado(e);
    });
}

PaineisDesktop::~PaineisDesktop()
{
    delete m_menu;
    delete m_modal;
    delete m_aviso;
    delete m_gravacao;
    delete m_processamento;
}

void PaineisDesktop::mostrarPilula(QWidget* w, QParallelAnimationGroup*& grupo, int duracaoMs)
{
    const QRect area = areaPrincipal();
    // On Qt's own Wayland plugin (a session without XWayland) a pill would be an ordinary window,
    // which the compositor focuses: there the tray icon alone shows the state.
    if (area.isNull() || noWaylandDoQt())
        return;
    // A show that overlaps a hide wins: the hide's completion must not order the pill out.
    if (grupo) {
        grupo->stop();
        grupo->deleteLater();
        grupo = nullptr;
    }
    const QRect fim = GeometriaPilula::repouso(area, w->size());
    w->move(GeometriaPilula::escondida(area, w->size()).topLeft());
    definirOpacidade(w, 0.0);
    w->show();
    w->raise();
    grupo = deslizar(w, fim.topLeft(), 1.0, duracaoMs, GeometriaPilula::easeOut(), this);
    grupo->start();
}

void PaineisDesktop::esconderPilula(QWidget* w, QParallelAnimationGroup*& grupo, bool voltarAoInicio)
{
    const QRect area = areaPrincipal();
    if (area.isNull() || !w->isVisible())
        return;
    if (grupo) {
        grupo->stop();
        grupo->deleteLater();
        grupo = nullptr;
    }
    const QRect fim = GeometriaPilula::escondida(area, w->size());
    grupo = deslizar(w, fim.topLeft(), 0.0, GeometriaPilula::kEsconderMs, GeometriaPilula::easeIn(), this);
    connect(grupo, &QAbstractAnimation::finished, w, [w, fim, voltarAoInicio] {
        w->hide();
        if (voltarAoInicio)
            w->move(fim.topLeft());
    });
    grupo->start();
}

void PaineisDesktop::showPanelAnimated()
{
    mostrarPilula(m_gravacao, m_animGravacao, GeometriaPilula::kMostrarGravacaoMs);
}

void PaineisDesktop::hidePanelAnimated()
{
    esconderPilula(m_gravacao, m_animGravacao, false);
}

void PaineisDesktop::showProcessingPanelAnimated()
{
    m_processamento->definirEstado(RecordingState::transcribing());
    mostrarPilula(m_processamento, m_animProcessamento, GeometriaPilula::kMostrarProcessamentoMs);
}

void PaineisDesktop::hideProcessingPanelAnimated()
{
    esconderPilula(m_processamento, m_animProcessamento, true);
}

// Centred on the screen the user is looking at, growing from 96 % while it fades in.
void PaineisDesktop::abrirCentrado(QWidget* w)
{
    const QRect area = areaAtiva();
    QRect fim(QPoint(0, 0), w->size());
    if (!area.isNull())
        fim.moveCenter(area.center());
    const int dx = fim.width() * 2 / 100;
    const int dy = fim.height() * 2 / 100;
    const QRect inicio = fim.adjusted(dx, dy, -dx, -dy);
    w->setMinimumSize(inicio.size());
    w->setMaximumSize(fim.size());
    w->setGeometry(inicio);
    definirOpacidade(w, 0.0);
    w->show();
    w->raise();
    w->activateWindow();
    if (ativarJanela)
        ativarJanela(w);
    auto* grupo = new QParallelAnimationGroup(w);
    auto* geo = new QPropertyAnimation(w, "geometry", grupo);
    geo->setStartValue(inicio);
    geo->setEndValue(fim);
    geo->setDuration(180);
    geo->setEasingCurve(GeometriaPilula::easeOut());
    grupo->addAnimation(geo);
    if (!noWaylandDoQt()) {
        auto* alfa = new QPropertyAnimation(w, "windowOpacity", grupo);
        alfa->setStartValue(0.0);
        alfa->setEndValue(1.0);
        alfa->setDuration(180);
        alfa->setEasingCurve(GeometriaPilula::easeOut());
        grupo->addAnimation(alfa);
    }
    QObject::connect(grupo, &QAbstractAnimation::finished, w, [w, fim] { w->setFixedSize(fim.size()); });
    grupo->start(QAbstractAnimation::DeleteWhenStopped);
}

void PaineisDesktop::abrirMenuAcoes(const QList<QuickAction>& acoes, EventosMenu eventos)
{
    fecharMenuAcoes();
    m_menu = new MenuAcoesPainel(m_vm, acoes, std::move(eventos));
    abrirCentrado(m_menu);
}

void PaineisDesktop::fecharMenuAcoes()
{
    if (!m_menu)
        return;
    m_menu->hide();
    m_menu->deleteLater();
    m_menu = nullptr;
}

bool PaineisDesktop::menuAcoesVisivel() const
{
    return m_menu && m_menu->isVisible();
}

void PaineisDesktop::menuOcupado(bool ocupado)
{
    if (m_menu)
        m_menu->definirOcupado(ocupado);
}

void PaineisDesktop::mostrarGerando(bool gerando)
{
    m_processamento->definirGerando(gerando);
    if (gerando)
        mostrarPilula(m_processamento, m_animProcessamento, GeometriaPilula::kMostrarProcessamentoMs);
    else
        esconderPilula(m_processamento, m_animProcessamento, true);
}

void PaineisDesktop::abrirModalIntencao(QuickAction acao, EventosIntencao eventos)
{
    fecharModalIntencao();
    m_modal = new ModalIntencao(acao, std::move(eventos));
    abrirCentrado(m_modal);
}

void PaineisDesktop::fecharModalIntencao()
{
    if (!m_modal)
        return;
    m_modal->hide();
    m_modal->deleteLater();
    m_modal = nullptr;
}

bool PaineisDesktop::modalIntencaoVisivel() const
{
    return m_modal && m_modal->isVisible();
}

void PaineisDesktop::exibirAlerta(const QString& mensagem, const QString& informativo)
{
    // Modal over the menu, which stays open with the user's text; nothing waits for it. No parent:
    // the menu's dark style sheet would cascade into the box.
    auto* caixa = new QMessageBox(QMessageBox::Warning, QStringLiteral("Sonvo"), mensagem, QMessageBox::Ok);
    caixa->setWindowFlag(Qt::WindowStaysOnTopHint);
    caixa->setInformativeText(informativo);
    caixa->setAttribute(Qt::WA_DeleteOnClose);
    caixa->setObjectName(QStringLiteral("alertaIA"));
    // Application-modal: the menu waits for "OK", the event loop does not.
    caixa->setWindowModality(Qt::ApplicationModal);
    caixa->show();
}

void PaineisDesktop::mostrarAviso(const QString& titulo, const QString& texto, int duracaoMs)
{
    delete m_aviso;
    m_aviso = new PilulaAviso(titulo, texto);
    const QRect area = areaPrincipal();
    if (!area.isNull())
        m_aviso->move(GeometriaPilula::repouso(area, m_aviso->size()).topLeft());
    m_aviso->show();
    QTimer::singleShot(duracaoMs, m_aviso, &QWidget::hide);
}

} // namespace sonvo::ui
