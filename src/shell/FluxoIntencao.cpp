#include "shell/FluxoIntencao.h"

#include "core/Log.h"
#include "shell/FluxoMenuAcoes.h"
#include "shell/Paineis.h"
#include "shell/RecordingViewModel.h"

#include <QPointer>

namespace sonvo {

FluxoIntencao::FluxoIntencao(Dependencias deps, QObject* parent) : QObject(parent), m_d(std::move(deps)) {}

void FluxoIntencao::showIntentConfirmModal(QuickAction acao)
{
    m_alvo = FluxoMenuAcoes::alvoDaFrente(m_d.janelas, m_d.pidProprio, std::nullopt);
    Log::tag("Intent", QStringLiteral("showConfirmModal acao=%@ alvo=%@"),
             {QuickActions::rawValue(acao), m_alvo ? m_alvo->id : std::nullopt});
    if (!m_d.paineis)
        return;
    fecharModal();
    // The text to transform is the view model's, already filled in.
    QPointer<FluxoIntencao> self(this);
    PaineisFlutuantes::EventosIntencao ev;
    ev.confirmar = [self](QuickAction a) {
        if (self)
            self->confirmarIntencao(a);
    };
    ev.verOpcoes = [self] {
        if (self)
            self->verOpcoesIntencao();
    };
    ev.escape = [self] {
        if (!self || !self->m_esc || !self->m_d.paineis->modalIntencaoVisivel())
            return;
        Log::tag("Intent", QStringLiteral("ESC → Ver Opções"));
        self->verOpcoesIntencao();
    };
    m_d.paineis->abrirModalIntencao(acao, std::move(ev));
    m_esc = true;
}

void FluxoIntencao::confirmarIntencao(QuickAction acao)
{
    Log::tag("Intent", QStringLiteral("CONFIRMAR acao=%@"), {QuickActions::rawValue(acao)});
    m_d.menu.definirAlvo(m_alvo);
    m_esc = false;
    if (m_d.paineis)
        m_d.paineis->fecharModalIntencao();
    m_d.menu.executarAcaoIA(acao);
}

void FluxoIntencao::verOpcoesIntencao()
{
    Log::tag("Intent", QStringLiteral("VER OPÇÕES → showActionMenu"));
    m_esc = false;
    if (m_d.paineis)
        m_d.paineis->fecharModalIntencao();
    m_d.menu.showActionMenu(m_d.viewModel.textoEditadoAtual());
    // At this point the application in front is Sonvo itself (the modal had the focus).
    if (m_alvo)
        m_d.menu.definirAlvo(m_alvo);
}

void FluxoIntencao::fecharModal()
{
    m_esc = false;
    if (m_d.paineis && m_d.paineis->modalIntencaoVisivel())
        m_d.paineis->fecharModalIntencao();
}

} // namespace sonvo
