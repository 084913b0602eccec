// The waveform and the pills by their numbers, then the pills as they move and draw.
#include "support/PilhaDeDitado.h"
#include "ui/MenuAcoes.h"
#include "ui/PaineisDesktop.h"
#include "ui/Pilulas.h"
#include "ui/WaveBars.h"

#include <QApplication>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>

using namespace Qt::StringLiterals;
using namespace sonvo;
using sonvo::ui::WaveBars;
namespace G = sonvo::ui::GeometriaPilula;

TEST(Numeros, WaveBarsNasBordasEPilulasEmRepousoEscondidasECurvas)
{
    for (const auto& [entrada, saida] : std::initializer_list<std::pair<float, double>>{
             {-1.0f, 0.0}, {0.05f, 0.0}, {0.0999f, 0.0}, {0.55f, std::pow(0.5, 0.62)}, {1.0f, 1.0}, {7.0f, 1.0}})
        EXPECT_NEAR(WaveBars::displayLevel(entrada), saida, 1e-6) << entrada;
    const WaveBars w{true, 0.0f, {}, 11, 4.0, 3.0, 4.0, 24.0}, parada{false, 0.0f, {}, 11, 4.0, 3.0, 4.0, 24.0},
        uma{true, 0.0f, {}, 1, 4.0, 3.0, 4.0, 24.0}; // a single bar is the middle, not a division by zero
    const std::vector<double> bordas{WaveBars::phase(2.0), w.envelope(0), w.envelope(5), w.envelope(10),
                                     uma.envelope(0), w.barHeight(3, 0.0, 3.3), w.opacidade(0.0), w.opacidade(0.5),
                                     w.opacidade(1.0), parada.opacidade(1.0), w.glow(0.05).opacidade, w.glow(0.05).raio,
                                     w.glow(0.04).raio, parada.glow(1.0).opacidade};
    const std::vector<double> esperadas{19.0, 0.44, 1.0, 0.44, 1.0, 4.0, 0.22, 0.905, 1.0, 0.18, 0.45, 4.0, 0.0, 0.0};
    for (size_t i = 0; i < bordas.size(); ++i)
        EXPECT_NEAR(bordas[i], esperadas[i], 1e-12) << i;
    // Full level over a sweep of phases: the middle bar reaches the top, never beyond, and never
    // falls below 42 % of the span; the ends stay within 44 %.
    double maxMeio = 0, minMeio = 100, maxPonta = 0;
    for (double p = 0; p < 200; p += 0.001) {
        maxMeio = std::max(maxMeio, w.barHeight(5, 1.0, p));
        minMeio = std::min(minMeio, w.barHeight(5, 1.0, p));
        maxPonta = std::max({maxPonta, w.barHeight(0, 1.0, p), w.barHeight(10, 1.0, p)});
    }
    EXPECT_TRUE(maxMeio <= 24.0 && maxMeio > 4.0 + 0.98 * 20.0) << maxMeio;
    EXPECT_TRUE(minMeio >= 4.0 + 0.42 * 20.0 - 1e-9 && maxPonta <= 4.0 + 0.44 * 20.0 + 1e-9) << minMeio << ' ' << maxPonta;
    // Bar 0 is the first stop, 1 halfway to the second, 6 the fourth stop, 10 the last.
    EXPECT_EQ((QStringList{w.barColor(0).name(), w.barColor(1).name(), w.barColor(6).name(), w.barColor(10).name()}),
              (QStringList{"#42fa59", "#40f473", "#4fc2db", "#738cff"}));

    // Centred, resting 80 px above the available area's bottom, hidden 20 px below it, on any screen.
    EXPECT_EQ(G::repouso(QRect(0, 0, 1440, 900), G::kGravacao), QRect(652, 778, 136, 42));
    EXPECT_EQ(G::escondida(QRect(0, 0, 1440, 875), G::kGravacao), QRect(652, 895, 136, 42));
    EXPECT_EQ(G::repouso(QRect(1440, 30, 1920, 1050), G::kProcessamento), QRect(1440 + 905, 30 + 1050 - 112, 110, 32));
    const QEasingCurve saida = G::easeOut(), entrada = G::easeIn();
    EXPECT_GT(saida.valueForProgress(0.25), 0.35) << "ease-out: fast start";
    EXPECT_LT(entrada.valueForProgress(0.25), 0.15) << "ease-in: slow start";
}

struct Pilulas : ::testing::Test, teste::PilhaDeDitado {};

TEST_F(Pilulas, DeslizamAteORepousoEVoltamParaBaixo)
{
    ui::PaineisDesktop paineis(vm);
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    const QRect repouso = G::repouso(area, G::kGravacao), escondida = G::escondida(area, G::kGravacao);
    ui::PilulaGravacao* p = paineis.pilulaGravacao();
    paineis.showPanelAnimated();
    EXPECT_EQ(p->pos(), escondida.topLeft()) << "it starts below the visible bottom";
    QTest::qWait(150);
    EXPECT_TRUE(p->y() < escondida.y() && p->y() > repouso.y()) << p->y();
    QTest::qWait(350);
    EXPECT_EQ(p->pos(), repouso.topLeft());
    paineis.hidePanelAnimated();
    QTest::qWait(450);
    EXPECT_FALSE(p->isVisible());
    EXPECT_EQ(p->pos(), escondida.topLeft());
    // A show that overlaps a hide wins: the hide's end must not order the pill out.
    for (int i = 0; i < 3; ++i) {
        i == 1 ? paineis.hideProcessingPanelAnimated() : paineis.showProcessingPanelAnimated();
        QTest::qWait(i < 2 ? 100 : 500);
    }
    EXPECT_TRUE(paineis.pilulaProcessamento()->isVisible());
    EXPECT_EQ(paineis.pilulaProcessamento()->pos(), G::repouso(area, G::kProcessamento).topLeft());
}

TEST_F(Pilulas, MenuEditavelNosDoisSentidosComAtalhosEModalDeIntencao)
{
    QStringList ev;
    PaineisFlutuantes::EventosMenu em{[&](QuickAction a) { ev << QuickActions::rawValue(a); }, [&] { ev << u"descartar"_s; },
                                      [&] { ev << u"inserir"_s; }, {}, {}};
    vm.setTextoEditadoAtual(u"ditado"_s);
    ui::MenuAcoesPainel menu(vm, {QuickAction::resumir, QuickAction::email}, em);
    menu.show();
    QApplication::setActiveWindow(&menu);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&menu));
    QTest::keyClicks(menu.preview(), u"!"_s); // what the user types is the text that will be inserted
    EXPECT_EQ(vm.textoEditadoAtual(), u"ditado!"_s);
    vm.setTextoEditadoAtual(u"resposta"_s); // a streamed answer grows in place
    EXPECT_EQ(menu.preview()->toPlainText(), u"resposta"_s);
    QTest::keyClick(&menu, Qt::Key_2, Qt::ControlModifier);
    QTest::keyClick(menu.preview(), Qt::Key_Escape);
    QTest::keyClick(&menu, Qt::Key_Return, Qt::ControlModifier);
    menu.botaoDescartar()->click();
    EXPECT_EQ(ev, (QStringList{u"email"_s, u"inserir"_s, u"inserir"_s, u"descartar"_s}));

    ev.clear();
    ui::ModalIntencao modal(QuickAction::email, {[&](QuickAction a) { ev << QuickActions::rawValue(a); }, [&] { ev << u"opções"_s; },
                                                 [&] { ev << u"esc"_s; }});
    modal.show();
    QApplication::setActiveWindow(&modal);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&modal));
    EXPECT_EQ(modal.pergunta(), u"Quer formatar como Email?"_s);
    QTest::keyClick(&modal, Qt::Key_Return); // "Confirmar" unless the user tabbed to "…"
    modal.botaoOpcoes()->setFocus();
    QTest::keyClick(&modal, Qt::Key_Return);
    QTest::keyClick(&modal, Qt::Key_Escape);
    EXPECT_EQ(ev, (QStringList{u"email"_s, u"opções"_s, u"esc"_s}));
}
