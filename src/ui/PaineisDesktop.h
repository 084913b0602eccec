#pragma once

#include "shell/Paineis.h"
#include "ui/MenuAcoes.h"

#include <QObject>
#include <QPointer>

#include <functional>

class QParallelAnimationGroup;
class QScreen;
class QWidget;

namespace sonvo {
class RecordingViewModel;
}

namespace sonvo::ui {

// A window (preferences, welcome) opens in the middle of the primary screen's free area, not
// wherever the window manager would drop it.
void centralizarNaTela(QWidget* janela);

class PilulaAviso;
class PilulaGravacao;
class PilulaProcessamento;

// The floating panels on a Qt desktop: the pills slide and fade at the bottom of the primary
// screen, the action menu and the intent modal open centred on the screen under the pointer.
class PaineisDesktop : public QObject, public PaineisFlutuantes {
    Q_OBJECT
public:
    explicit PaineisDesktop(RecordingViewModel& viewModel, QObject* parent = nullptr);
    ~PaineisDesktop() override;

    void showPanelAnimated() override;
    void hidePanelAnimated() override;
    void showProcessingPanelAnimated() override;
    void hideProcessingPanelAnimated() override;

    void abrirMenuAcoes(const QList<QuickAction>& acoes, EventosMenu eventos) override;
    void fecharMenuAcoes() override;
    bool menuAcoesVisivel() const override;
    void menuOcupado(bool ocupado) override;
    void mostrarGerando(bool gerando) override;

    void abrirModalIntencao(QuickAction acao, EventosIntencao eventos) override;
    void fecharModalIntencao() override;
    bool modalIntencaoVisivel() const override;

    void exibirAlerta(const QString& mensagem, const QString& informativo) override;

    // Brings a panel to the front as a pager would. A plain activation request, with the time of
    // the last event this process saw (not the hotkey's, which arrives on another connection),
    // may be refused by a window manager that prevents focus stealing.
    std::function<void(QWidget*)> ativarJanela;

    // A notice at the bottom of the screen for some seconds (no hotkeys, for instance).
    void mostrarAviso(const QString& titulo, const QString& texto, int duracaoMs = 12000);

    PilulaGravacao* pilulaGravacao() const { return m_gravacao; }
    PilulaProcessamento* pilulaProcessamento() const { return m_processamento; }
    MenuAcoesPainel* menuAcoes() const { return m_menu; }
    ModalIntencao* modalIntencao() const { return m_modal; }

private:
    void mostrarPilula(QWidget* w, QParallelAnimationGroup*& grupo, int duracaoMs);
    void esconderPilula(QWidget* w, QParallelAnimationGroup*& grupo, bool voltarAoInicio);
    void abrirCentrado(QWidget* w);

    RecordingViewModel& m_vm;
    PilulaGravacao* m_gravacao = nullptr;
    PilulaProcessamento* m_processamento = nullptr;
    QParallelAnimationGroup* m_animGravacao = nullptr;
    QParallelAnimationGroup* m_animProcessamento = nullptr;
    QPointer<MenuAcoesPainel> m_menu;
    QPointer<ModalIntencao> m_modal;
    QPointer<PilulaAviso> m_aviso;
};

} // namespace sonvo::ui
