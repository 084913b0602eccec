#pragma once

#include "ai/QuickAction.h"
#include "platform/Janelas.h"

#include <QObject>
#include <QString>

#include <optional>

namespace sonvo {

class FluxoMenuAcoes;
class PaineisFlutuantes;
class RecordingViewModel;

// The confirmation modal for a dictation that asks for a transformation itself ("transforma em
// email"): Enter runs the action into the user's application, "…" or Escape open the full menu.
class FluxoIntencao : public QObject {
    Q_OBJECT
public:
    struct Dependencias {
        RecordingViewModel& viewModel;
        Janelas& janelas;
        FluxoMenuAcoes& menu;
        qint64 pidProprio = 0;
        PaineisFlutuantes* paineis = nullptr;
    };

    explicit FluxoIntencao(Dependencias deps, QObject* parent = nullptr);

    void showIntentConfirmModal(QuickAction acao);
    void confirmarIntencao(QuickAction acao);
    void verOpcoesIntencao();
    // Closes a modal nobody answered (a new dictation arrived, or Sonvo quits).
    void fecharModal();

    const std::optional<AppJanela>& intentConfirmTargetApp() const { return m_alvo; }

private:
    Dependencias m_d;
    bool m_esc = false;
    std::optional<AppJanela> m_alvo;
};

} // namespace sonvo
