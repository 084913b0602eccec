#include "shell/AppDelegate.h"

#include "shell/RecordingViewModel.h"

namespace sonvo {

AppDelegate::AppDelegate(Dependencias d, QObject* parent)
    : QObject(parent),
      m_atalhos({d.config, d.viewModel, d.janelas, d.clipboard, d.atalhos, d.pidProprio, d.relogio}),
      m_sugestoes(d.notificacoes, d.vocabulario, d.viewModel.speechManager()),
      m_menu({d.config, d.viewModel, d.janelas, d.vocabulario, m_atalhos.contexto(), d.pidProprio, d.insercao,
              std::move(d.provedorIA), d.paineis}),
      m_intencao({d.viewModel, d.janelas, m_menu, d.pidProprio, d.paineis}),
      m_posDitado({d.config, d.viewModel, m_menu, m_intencao, m_atalhos.contexto(), d.intencao, d.paineis})
{
    if (d.pendentes)
        m_pendentes = std::make_unique<NotificacoesPendentes>(d.notificacoes, *d.pendentes, d.viewModel.speechManager(),
                                                              m_atalhos);
}

void AppDelegate::liberar()
{
    m_atalhos.liberarAtalhos();
    m_posDitado.liberar();
    m_intencao.fecharModal();
    m_menu.liberar();
}

} // namespace sonvo
