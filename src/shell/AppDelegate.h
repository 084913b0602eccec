#pragma once

#include "shell/FluxoIntencao.h"
#include "shell/FluxoMenuAcoes.h"
#include "shell/FluxoPosDitado.h"
#include "shell/NotificacoesPendentes.h"
#include "shell/NotificacoesSugestoes.h"
#include "shell/RoteadorAtalhos.h"

#include <QObject>

#include <chrono>
#include <functional>
#include <memory>

namespace sonvo {

class AIProvider;
class AreaTransferencia;
class AtalhosGlobais;
class Configuracoes;
class DitadosPendentes;
class Insercao;
class IntentDetectionService;
class Janelas;
class NotificacoesUsuario;
class PaineisFlutuantes;
class RecordingViewModel;
class VocabularyService;

// The shell's logic that needs no display, for the whole process: the hotkeys, the suggestion
// notifications and what happens to a finished dictation. Each job is its own object; this one
// wires them to the same services. The tray and the panels' drawing live with the desktop.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        Janelas& janelas;
        AreaTransferencia& clipboard;
        AtalhosGlobais& atalhos;
        NotificacoesUsuario& notificacoes;
        VocabularyService& vocabulario;
        qint64 pidProprio = 0;
        RoteadorAtalhos::Relogio relogio = std::chrono::steady_clock::now;
        // What a finished dictation needs; without panels nothing is routed.
        Insercao* insercao = nullptr;
        IntentDetectionService* intencao = nullptr;
        std::function<std::unique_ptr<AIProvider>()> provedorIA;
        PaineisFlutuantes* paineis = nullptr;
        // Failed dictations kept for a retry; without it nothing is offered.
        DitadosPendentes* pendentes = nullptr;
    };

    explicit AppDelegate(Dependencias deps, QObject* parent = nullptr);

    RoteadorAtalhos& atalhos() { return m_atalhos; }
    NotificacoesSugestoes& sugestoes() { return m_sugestoes; }
    FluxoMenuAcoes& menu() { return m_menu; }
    FluxoIntencao& intencao() { return m_intencao; }
    FluxoPosDitado& posDitado() { return m_posDitado; }
    NotificacoesPendentes* pendentes() { return m_pendentes.get(); }

    // Termination: hotkeys, panels and the AI task released.
    void liberar();

private:
    RoteadorAtalhos m_atalhos;
    NotificacoesSugestoes m_sugestoes;
    FluxoMenuAcoes m_menu;
    FluxoIntencao m_intencao;
    FluxoPosDitado m_posDitado;
    std::unique_ptr<NotificacoesPendentes> m_pendentes;
};

} // namespace sonvo
