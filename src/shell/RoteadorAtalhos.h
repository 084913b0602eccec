#pragma once

#include "platform/Atalhos.h"
#include "shell/ContextoDitado.h"

#include <QHash>
#include <QObject>
#include <QString>
#include <QStringList>

#include <chrono>
#include <functional>
#include <optional>

namespace sonvo {

class AreaTransferencia;
struct DitadoPendente;
class Configuracoes;
class Janelas;
class RecordingViewModel;

// The two global hotkeys and what a press does: debounce, capture of the frontmost application
// and its selection, then the dictation's toggle. The tray menu's entry toggles through here too.
class RoteadorAtalhos : public QObject {
    Q_OBJECT
public:
    using Relogio = std::function<std::chrono::steady_clock::time_point()>;
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        Janelas& janelas;
        AreaTransferencia& clipboard;
        AtalhosGlobais& atalhos;
        qint64 pidProprio = 0;
        Relogio relogio = std::chrono::steady_clock::now;
    };

    explicit RoteadorAtalhos(Dependencias deps, QObject* parent = nullptr);

    // id 1: dictation for the action menu; id 2: plain dictation. Registered in this order.
    static const QList<AtalhoGlobal>& hotKeySpecs();
    static constexpr std::chrono::milliseconds kDebounce{200};
    // Hold-to-talk ("modoAtalho" = "segurar"): a press held shorter than this is a tap, which
    // toggles as in the default mode.
    static constexpr std::chrono::milliseconds kToqueMaximo{300};

    // Grabs, then the passive monitor when no grab succeeded.
    void setupGlobalHotkey();
    void setupEventMonitorFallback();
    // Termination: grabs and monitor released.
    void liberarAtalhos();
    // The single entry of both hotkeys (and of `sonvo alternar`).
    void handleHotKeyTrigger(bool actionMenu);
    // `sonvo iniciar [--menu]`: starts a dictation unless one is recording.
    void iniciar(bool actionMenu);
    // `sonvo parar`: ends the recording one, routed as it was started; false when none records.
    bool parar();
    std::optional<QString> readSelectedText();
    // The menu entry: toggles without capturing any context.
    void startStopRecording();
    // A kept dictation, transcribed again and pasted into the application in front now (the one
    // it was dictated into may be gone). False while a dictation is under way.
    bool retentarPendente(const DitadoPendente& pendente);
    QString recordMenuTitle() const;

    const ContextoDitado& contexto() const { return m_contexto; }
    const QStringList& registeredHotKeyLabels() const { return m_rotulos; }
    // The labels a user can press: the registered ones, else both (the monitor sees both).
    QStringList rotulosVisiveis() const;
    bool monitorDeTeclado() const { return m_monitor; }

Q_SIGNALS:
    void recordMenuTitleChanged(const QString& titulo);
    // The desktop refused to bind the hotkeys: the user binds `sonvo alternar` instead.
    void atalhosIndisponiveis();

private:
    struct Pressao {
        int id = 0;
        std::chrono::steady_clock::time_point inicio;
        bool iniciou = false; // this press started the dictation
    };
    void aoPressionar(int id);
    void aoSoltar(int id);
    void acionar(bool actionMenu, bool debounce);
    bool gravando() const;

    Dependencias m_d;
    ContextoDitado m_contexto;
    bool m_monitor = false;
    QStringList m_rotulos;
    QHash<int, QString> m_rotulosDoDesktop; // id → the desktop's own description of the keys
    std::optional<std::chrono::steady_clock::time_point> m_ultimoAcionamento;
    std::optional<Pressao> m_pressao;
};

} // namespace sonvo
