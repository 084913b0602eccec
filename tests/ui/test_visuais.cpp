// The waveform and the pills by their numbers, then the panels as drawn: pixels at known places
// and the rendered pictures kept in capturas/.
#include "Capturas.h"

#include "ai/AIProvider.h"
#include "app/Arquivos.h"
#include "app/Configuracoes.h"
#include "app/RecordingViewModel.h"
#include "capture/SpeechManager.h"
#include "capture/TranscriptionHistory.h"
#include "platform/null/PlataformaNula.h"
#include "support/Ambiente.h"
#include "support/PilhaDeDitado.h"
#include "ui/MenuAcoes.h"
#include "ui/Onboarding.h"
#include "ui/PaineisDesktop.h"
#include "ui/Pilulas.h"
#include "ui/WaveBars.h"
#include "vocabulary/VocabularyService.h"

#include <QGuiApplication>
#include <QLabel>
#include <QMessageBox>
#include <QNetworkAccessManager>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QScreen>
#include <QTest>
#include <gtest/gtest.h>

#include <cmath>

using namespace sonvo;
using namespace sonvo::teste;
using sonvo::ui::WaveBars;
namespace G = sonvo::ui::GeometriaPilula;

namespace {

WaveBars onzeBarras(bool ativo)
{
    WaveBars w;
    w.isActive = ativo;
    w.count = 11;
    w.idleHeight = 4;
    w.maxHeight = 24;
    return w;
}

void esperarCor(const QColor& c, double r, double g, double b)
{
    EXPECT_NEAR(c.redF(), r, 1e-3);
    EXPECT_NEAR(c.greenF(), g, 1e-3);
    EXPECT_NEAR(c.blueF(), b, 1e-3);
    EXPECT_NEAR(c.alphaF(), 1.0, 1e-6);
}

} // namespace

TEST(WaveBarsNumeros, NivelDeExibicaoCortaOSilencioECurvaOResto)
{
    EXPECT_EQ(WaveBars::displayLevel(0.05f), 0.0);
    EXPECT_EQ(WaveBars::displayLevel(0.0999f), 0.0);
    EXPECT_NEAR(WaveBars::displayLevel(0.55f), std::pow(0.5, 0.62), 1e-6);
    EXPECT_EQ(WaveBars::displayLevel(1.0f), 1.0);
    EXPECT_EQ(WaveBars::displayLevel(7.0f), 1.0) << "a level above 1 is clamped";
    EXPECT_EQ(WaveBars::displayLevel(-1.0f), 0.0);
    EXPECT_NEAR(WaveBars::phase(2.0), 19.0, 1e-12);
}

TEST(WaveBarsNumeros, AlturasSeguemOEnvelopeENuncaPassamDosLimites)
{
    const WaveBars w = onzeBarras(true);
    EXPECT_DOUBLE_EQ(w.envelope(5), 1.0);
    EXPECT_NEAR(w.envelope(0), 0.44, 1e-12);
    EXPECT_NEAR(w.envelope(10), 0.44, 1e-12);
    // Silence: every bar at rest, whatever the phase.
    for (int i = 0; i < 11; ++i)
        EXPECT_EQ(w.barHeight(i, WaveBars::displayLevel(0.05f), 3.3), 4.0);
    // Full level over a whole sweep of phases: the middle bar reaches the top (both waves at
    // their crest would give exactly maxHeight), the ends at most 44 % of the span.
    double maxMeio = 0, maxPonta = 0;
    for (double p = 0; p < 200; p += 0.001) {
        maxMeio = std::max(maxMeio, w.barHeight(5, 1.0, p));
        maxPonta = std::max({maxPonta, w.barHeight(0, 1.0, p), w.barHeight(10, 1.0, p)});
        ASSERT_LE(w.barHeight(5, 1.0, p), 24.0);
        ASSERT_GE(w.barHeight(5, 1.0, p), 4.0 + 0.42 * 20.0 - 1e-9);
    }
    EXPECT_GT(maxMeio, 4.0 + 0.98 * 20.0);
    EXPECT_LE(maxPonta, 4.0 + 0.44 * 20.0 + 1e-9);
}

TEST(WaveBarsNumeros, CoresPercorremAsSeisParadas)
{
    const WaveBars w = onzeBarras(true);
    esperarCor(w.barColor(0), 0.26, 0.98, 0.35);
    esperarCor(w.barColor(1), 0.25, 0.955, 0.45); // halfway from stop 0 to stop 1
    esperarCor(w.barColor(10), 0.45, 0.55, 1.0);  // exactly the last stop
    esperarCor(w.barColor(6), 0.31, 0.76, 0.86);  // t = 3: stop 3 itself
    WaveBars uma = w;
    uma.count = 1;
    esperarCor(uma.barColor(0), 0.26, 0.98, 0.35);
    EXPECT_EQ(uma.envelope(0), 1.0) << "a single bar is the middle, not a division by zero";
}

TEST(WaveBarsNumeros, OpacidadeEBrilho)
{
    const WaveBars ativa = onzeBarras(true);
    const WaveBars parada = onzeBarras(false);
    EXPECT_EQ(ativa.opacidade(0.0), 0.22);
    EXPECT_NEAR(ativa.opacidade(0.5), 0.905, 1e-12);
    EXPECT_EQ(ativa.opacidade(1.0), 1.0);
    EXPECT_EQ(parada.opacidade(0.0), 0.18);
    EXPECT_EQ(parada.opacidade(1.0), 0.18);
    EXPECT_EQ(ativa.glow(0.05).opacidade, 0.45);
    EXPECT_EQ(ativa.glow(0.05).raio, 4.0);
    EXPECT_EQ(ativa.glow(0.04).raio, 0.0);
    EXPECT_EQ(parada.glow(1.0).opacidade, 0.0);
    // Not active, the heights still follow the level handed in.
    EXPECT_GT(parada.barHeight(5, 1.0, 1.0), parada.idleHeight);
}

TEST(GeometriaDasPilulas, CentradasERepousando80AcimaDaBase)
{
    const QRect tela(0, 0, 1440, 900);
    EXPECT_EQ(G::repouso(tela, G::kGravacao).x(), 652);
    EXPECT_EQ(G::repouso(tela, G::kProcessamento).x(), 665);
    // A 25 px panel at the bottom: the pill's bottom edge rests 105 px above the screen's, and
    // slides from (and back to) 20 px below the available area.
    const QRect comPainel(0, 0, 1440, 875);
    const QRect r = G::repouso(comPainel, G::kGravacao);
    EXPECT_EQ(900 - (r.y() + r.height()), 105);
    EXPECT_EQ(r.size(), QSize(136, 42));
    const QRect e = G::escondida(comPainel, G::kGravacao);
    EXPECT_EQ(e.y(), 895);
    EXPECT_EQ(900 - (e.y() + e.height()), -37);
    EXPECT_EQ(G::escondida(comPainel, G::kProcessamento).y(), 895);
    // A second screen's area to the right keeps its own offsets.
    EXPECT_EQ(G::repouso(QRect(1440, 30, 1920, 1050), G::kProcessamento).topLeft(), QPoint(1440 + 905, 30 + 1050 - 112));
}

TEST(GeometriaDasPilulas, CurvasDeEntradaESaida)
{
    const QEasingCurve saida = G::easeOut(), entrada = G::easeIn();
    EXPECT_NEAR(saida.valueForProgress(0.0), 0.0, 1e-6);
    EXPECT_NEAR(saida.valueForProgress(1.0), 1.0, 1e-6);
    EXPECT_GT(saida.valueForProgress(0.25), 0.35) << "ease-out: fast start";
    EXPECT_LT(entrada.valueForProgress(0.25), 0.15) << "ease-in: slow start";
    EXPECT_NEAR(saida.valueForProgress(0.5) + entrada.valueForProgress(0.5), 1.0, 0.02) << "mirror images";
}

namespace {
struct Vistas : ::testing::Test, PilhaDeDitado {
};

// The brightest pixel of a column band: the bars are the only bright things on the dark pill.
int brilhoMaximo(const QImage& img, int x0, int x1, int y0, int y1)
{
    int m = 0;
    for (int x = x0; x <= x1; ++x)
        for (int y = y0; y <= y1; ++y)
            m = std::max(m, qGreen(img.pixel(x, y)) + qBlue(img.pixel(x, y)));
    return m;
}
} // namespace

TEST_F(Vistas, PilulaDeGravacaoDesenhaAsBarrasPeloNivel)
{
    ui::PilulaGravacao pilula;
    EXPECT_EQ(pilula.size(), QSize(136, 42));
    pilula.definirAtivo(true);
    pilula.definirNivel(0.0f);
    pilula.congelarEm(0.0);
    const QImage quieta = capturar(pilula, QStringLiteral("pilula-gravacao-silencio"));
    pilula.definirNivel(1.0f);
    pilula.congelarEm(0.4);
    const QImage falando = capturar(pilula, QStringLiteral("pilula-gravacao-falando"));
    // Middle bar's column, 8 to 11 px above the centre: dark at rest (bars 4 px tall), lit while
    // speaking (the middle bar is at least 4 + 0.42 × 22 px tall).
    const int xMeio = static_cast<int>(30 + (136 - 42) / 2.0);
    EXPECT_LT(brilhoMaximo(quieta, xMeio - 3, xMeio + 3, 21 - 11, 21 - 8), 150);
    EXPECT_GT(brilhoMaximo(falando, xMeio - 3, xMeio + 3, 21 - 11, 21 - 8), 250);
    // The red dot at the left says "recording".
    const QRgb ponto = falando.pixel(19, 21);
    EXPECT_GT(qRed(ponto), 200);
    EXPECT_LT(qGreen(ponto), 120);
}

TEST_F(Vistas, NadaAnimaSemGravacaoVisivel)
{
    ui::PilulaGravacao pilula;
    pilula.definirAtivo(true);
    EXPECT_FALSE(pilula.animando()) << "hidden: no frames";
    pilula.show();
    EXPECT_TRUE(pilula.animando());
    pilula.definirAtivo(false);
    EXPECT_FALSE(pilula.animando()) << "shown but idle: no frames";
    pilula.definirAtivo(true);
    pilula.hide();
    EXPECT_FALSE(pilula.animando());

    ui::PilulaProcessamento proc;
    proc.definirEstado(RecordingState::transcribing());
    EXPECT_FALSE(proc.animando());
    proc.show();
    EXPECT_TRUE(proc.animando());
    capturar(proc, QStringLiteral("pilula-processamento"));
    proc.definirEstado(RecordingState::completed());
    EXPECT_FALSE(proc.animando());
    EXPECT_EQ(proc.rotulo(), QStringLiteral("Pronto"));
    const QImage pronto = capturar(proc, QStringLiteral("pilula-processamento-pronto"));
    proc.definirEstado(RecordingState::error(QStringLiteral("Sem conexão")));
    EXPECT_EQ(proc.rotulo(), QStringLiteral("Erro"));
    EXPECT_EQ(proc.toolTip(), QStringLiteral("Sem conexão"));
    capturar(proc, QStringLiteral("pilula-processamento-erro"));
    proc.definirGerando(true);
    EXPECT_EQ(proc.rotulo(), QStringLiteral("Gerando"));
    EXPECT_TRUE(proc.animando());
    capturar(proc, QStringLiteral("pilula-processamento-gerando"));
    proc.definirGerando(false);
    EXPECT_EQ(proc.rotulo(), QStringLiteral("Erro"));
    EXPECT_FALSE(proc.animando());
    // "Pronto" is written in the completed green.
    bool verde = false;
    for (int x = 30; x < 80 && !verde; ++x)
        for (int y = 10; y < 22 && !verde; ++y)
            verde = qGreen(pronto.pixel(x, y)) > 180 && qRed(pronto.pixel(x, y)) < 120;
    EXPECT_TRUE(verde);
}

TEST_F(Vistas, MenuDeAcoesEditaOTextoEResponde)
{
    config.definir(QStringLiteral("vozelQuickActions"), QStringList{QStringLiteral("email"), QStringLiteral("resumir")});
    vm.setTextoEditadoAtual(QStringLiteral("reunião amanhã às dez"));
    QList<QuickAction> escolhidas;
    int inserir = 0, descartar = 0;
    PaineisFlutuantes::EventosMenu ev;
    ev.acaoEscolhida = [&](QuickAction a) { escolhidas << a; };
    ev.inserirComoEsta = [&] { ++inserir; };
    ev.descartar = [&] { ++descartar; };
    ui::MenuAcoesPainel menu(vm, QuickActions::loadOrdered(config), ev);
    menu.show();
    QApplication::setActiveWindow(&menu);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&menu));

    ASSERT_EQ(menu.botoesDeAcao().size(), 2);
    EXPECT_EQ(menu.botoesDeAcao()[0]->accessibleName(), QStringLiteral("Email"));
    EXPECT_EQ(menu.preview()->toPlainText(), QStringLiteral("reunião amanhã às dez"));
    capturar(menu, QStringLiteral("menu-acoes"));

    // Typing in the preview is the view model's text; a streamed fragment is appended in place.
    QTest::keyClicks(menu.preview(), QStringLiteral("!"));
    EXPECT_EQ(vm.textoEditadoAtual(), QStringLiteral("reunião amanhã às dez!"));
    vm.setTextoEditadoAtual(QStringLiteral("Olá"));
    vm.setTextoEditadoAtual(QStringLiteral("Olá, equipe"));
    EXPECT_EQ(menu.preview()->toPlainText(), QStringLiteral("Olá, equipe"));

    QTest::keyClick(&menu, Qt::Key_2, Qt::ControlModifier);
    EXPECT_EQ(escolhidas, QList<QuickAction>{QuickAction::resumir});
    menu.definirOcupado(true);
    capturar(menu, QStringLiteral("menu-acoes-gerando"));
    QTest::keyClick(&menu, Qt::Key_1, Qt::ControlModifier);
    EXPECT_EQ(escolhidas.size(), 1) << "no second action while one runs";
    EXPECT_TRUE(menu.preview()->isReadOnly());
    menu.definirOcupado(false);

    QTest::keyClick(menu.preview(), Qt::Key_Escape);
    EXPECT_EQ(inserir, 1) << "Escape inserts";
    EXPECT_EQ(descartar, 0);
    menu.botaoDescartar()->click();
    EXPECT_EQ(descartar, 1);
}

TEST_F(Vistas, ModalDeIntencaoPerguntaEResponde)
{
    int confirmou = 0, opcoes = 0, esc = 0;
    PaineisFlutuantes::EventosIntencao ev;
    ev.confirmar = [&](QuickAction a) { confirmou += a == QuickAction::email; };
    ev.verOpcoes = [&] { ++opcoes; };
    ev.escape = [&] { ++esc; };
    ui::ModalIntencao modal(QuickAction::email, ev);
    modal.show();
    QApplication::setActiveWindow(&modal);
    ASSERT_TRUE(QTest::qWaitForWindowActive(&modal));
    EXPECT_EQ(modal.pergunta(), QStringLiteral("Quer formatar como Email?"));
    EXPECT_EQ(modal.botaoConfirmar()->text(), QStringLiteral("Confirmar"));
    EXPECT_EQ(modal.botaoOpcoes()->accessibleName(), QStringLiteral("Ver opções"));
    const QImage img = capturar(modal, QStringLiteral("modal-intencao"));
    // The confirm button is filled with the accent.
    const QPoint c = modal.botaoConfirmar()->geometry().center();
    EXPECT_GT(qBlue(img.pixel(c.x() - 20, c.y())), 200);
    QTest::keyClick(&modal, Qt::Key_Return);
    QTest::keyClick(&modal, Qt::Key_Escape);
    modal.botaoOpcoes()->click();
    EXPECT_EQ(confirmou, 1);
    EXPECT_EQ(esc, 1);
    EXPECT_EQ(opcoes, 1);
    // Tabbed to "…", Enter sees the options.
    modal.botaoOpcoes()->setFocus();
    QTest::keyClick(&modal, Qt::Key_Return);
    EXPECT_EQ(opcoes, 2);
    EXPECT_EQ(confirmou, 1);
}

TEST_F(Vistas, AvisoEBoasVindas)
{
    ui::PilulaAviso aviso(QStringLiteral("Atalhos globais indisponíveis"),
                          QStringLiteral("Associe um atalho do seu ambiente ao comando: sonvo alternar"));
    capturar(aviso, QStringLiteral("pilula-aviso"));
    EXPECT_EQ(aviso.accessibleName(), QStringLiteral("Atalhos globais indisponíveis"));
    aviso.show();
    QTest::mouseClick(&aviso, Qt::LeftButton);
    EXPECT_FALSE(aviso.isVisible()) << "a click closes the notice";

    int prefs = 0;
    ui::Onboarding boas(false, [&] { ++prefs; });
    boas.adjustSize();
    capturar(boas, QStringLiteral("boas-vindas"));
    QStringList textos;
    for (const QLabel* l : boas.findChildren<QLabel*>())
        textos << l->text();
    const QString tudo = textos.join(u'\n');
    EXPECT_TRUE(tudo.contains(QStringLiteral("Super+Shift+T"))) << tudo.toStdString();
    EXPECT_TRUE(tudo.contains(QStringLiteral("Super+Shift+R")));
    EXPECT_TRUE(tudo.contains(QStringLiteral("Preferências → Chaves")));
    EXPECT_TRUE(tudo.contains(QStringLiteral("<code>sonvo alternar</code>")));
    EXPECT_TRUE(tudo.contains(QStringLiteral("Esta sessão não permite atalhos globais")));
    for (QPushButton* b : boas.findChildren<QPushButton*>())
        if (b->text() == QStringLiteral("Abrir Preferências"))
            b->click();
    EXPECT_EQ(prefs, 1);
}

TEST_F(Vistas, PilulasDeslizamAteORepousoEVoltamParaBaixo)
{
    ui::PaineisDesktop paineis(vm);
    const QRect area = QGuiApplication::primaryScreen()->availableGeometry();
    ui::PilulaGravacao* p = paineis.pilulaGravacao();
    paineis.showPanelAnimated();
    EXPECT_TRUE(p->isVisible());
    EXPECT_EQ(p->pos(), G::escondida(area, G::kGravacao).topLeft()) << "it starts below the visible bottom";
    QTest::qWait(150);
    const int meio = p->pos().y();
    EXPECT_LT(meio, G::escondida(area, G::kGravacao).y());
    EXPECT_GT(meio, G::repouso(area, G::kGravacao).y());
    QTest::qWait(350);
    EXPECT_EQ(p->pos(), G::repouso(area, G::kGravacao).topLeft());
    EXPECT_DOUBLE_EQ(p->windowOpacity(), 1.0);

    paineis.hidePanelAnimated();
    QTest::qWait(450);
    EXPECT_FALSE(p->isVisible());
    EXPECT_EQ(p->pos(), G::escondida(area, G::kGravacao).topLeft());

    // A show that overlaps a hide wins: the hide's end must not order the pill out.
    paineis.showProcessingPanelAnimated();
    QTest::qWait(100);
    paineis.hideProcessingPanelAnimated();
    QTest::qWait(100);
    paineis.showProcessingPanelAnimated();
    QTest::qWait(500);
    EXPECT_TRUE(paineis.pilulaProcessamento()->isVisible());
    EXPECT_EQ(paineis.pilulaProcessamento()->pos(), G::repouso(area, G::kProcessamento).topLeft());
}

TEST_F(Vistas, AlertaDeErroMostraADescricaoSemBloquear)
{
    ui::PaineisDesktop paineis(vm);
    const QString descricao = AIErro::semChave(AIProviderID::openai).errorDescription();
    paineis.exibirAlerta(QStringLiteral("Não foi possível transformar o texto"), descricao);
    // We are here: nothing waited for the user.
    QMessageBox* caixa = nullptr;
    for (QWidget* w : QApplication::topLevelWidgets())
        if (w->objectName() == QStringLiteral("alertaIA") && w->isVisible())
            caixa = qobject_cast<QMessageBox*>(w);
    ASSERT_NE(caixa, nullptr);
    EXPECT_EQ(caixa->text(), QStringLiteral("Não foi possível transformar o texto"));
    EXPECT_EQ(caixa->informativeText(), descricao);
    EXPECT_EQ(caixa->standardButtons(), QMessageBox::Ok);
    EXPECT_EQ(QApplication::activeModalWidget(), caixa);
    capturar(*caixa, QStringLiteral("alerta-erro-ia"));
    caixa->button(QMessageBox::Ok)->click();
    QTest::qWait(10);
    EXPECT_EQ(QApplication::activeModalWidget(), nullptr);
}
