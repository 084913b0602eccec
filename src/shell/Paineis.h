#pragma once

#include "ai/QuickAction.h"

#include <QList>
#include <QString>

#include <functional>

namespace sonvo {

// The floating panels as the shell drives them. The desktop draws them with Qt widgets; tests
// record the calls. The pills never take focus; the action menu and the intent modal do.
class PaineisFlutuantes {
public:
    virtual ~PaineisFlutuantes() = default;

    // The recording pill (with the waveform) and the processing pill: slide up and fade in,
    // slide down and fade out.
    virtual void showPanelAnimated() = 0;
    virtual void hidePanelAnimated() = 0;
    virtual void showProcessingPanelAnimated() = 0;
    virtual void hideProcessingPanelAnimated() = 0;

    // What the action menu reports back. Escape and the pointer are the panel's to notice; what
    // they mean is the shell's.
    struct EventosMenu {
        std::function<void(QuickAction)> acaoEscolhida;
        std::function<void()> descartar;
        std::function<void()> inserirComoEsta; // Escape (and Ctrl+Enter)
        std::function<void()> ponteiroSaiu;
        std::function<void()> ponteiroEntrou;
    };
    // Opens the menu over the view model's editable text, centred on the active screen.
    virtual void abrirMenuAcoes(const QList<QuickAction>& acoes, EventosMenu eventos) = 0;
    virtual void fecharMenuAcoes() = 0;
    virtual bool menuAcoesVisivel() const = 0;
    // While an AI task runs the actions are not offered again.
    virtual void menuOcupado(bool ocupado) = 0;
    // An AI answer on its way with no menu on screen (a confirmed intent): the processing pill
    // says "Gerando" until it arrives.
    virtual void mostrarGerando(bool gerando) = 0;

    struct EventosIntencao {
        std::function<void(QuickAction)> confirmar;
        std::function<void()> verOpcoes;
        std::function<void()> escape;
    };
    virtual void abrirModalIntencao(QuickAction acao, EventosIntencao eventos) = 0;
    virtual void fecharModalIntencao() = 0;
    virtual bool modalIntencaoVisivel() const = 0;

    // A warning with one "OK" button. It must not block the caller: the desktop opens it
    // window-modal and returns.
    virtual void exibirAlerta(const QString& mensagem, const QString& informativo) = 0;
};

} // namespace sonvo
