#pragma once

#include "platform/Atalhos.h"
#include "platform/Notificacoes.h"

#include <QObject>
#include <QString>
#include <QStringList>
#include <QCoroTask>

#include <chrono>
#include <functional>
#include <optional>

namespace sonvo {

class AreaTransferencia;
class Configuracoes;
class Janelas;
class RecordingViewModel;
class VocabularyService;

// The shell's logic that needs no display: the global hotkeys and what a press does, the menu
// entry's toggle and title, and the vocabulary suggestions turned into user notifications. The
// tray, the panels and the start-up order live with the desktop; everything here is driven
// through the platform interfaces, so tests run it with fakes.
class AppDelegate : public QObject {
    Q_OBJECT
public:
    using Relogio = std::function<std::chrono::steady_clock::time_point()>;
    struct Dependencias {
        Configuracoes& config;
        RecordingViewModel& viewModel;
        Janelas& janelas;
        AreaTransferencia& clipboard;
        AtalhosGlobais& atalhos;
        NotificacoesUsuario& notificacoes;
        VocabularyService& vocabulario;
        qint64 pidProprio = 0;
        Relogio relogio = std::chrono::steady_clock::now;
    };

    explicit AppDelegate(Dependencias deps, QObject* parent = nullptr);
    ~AppDelegate() override;

    // id 1: dictation for the action menu; id 2: plain dictation. Registered in this order.
    static const QList<AtalhoGlobal>& hotKeySpecs();
    static constexpr std::chrono::milliseconds kDebounce{200};

    // Hotkeys: grabs, then the passive monitor when no grab succeeded.
    void setupGlobalHotkey();
    void setupEventMonitorFallback();
    // Termination: grabs, handler and monitor released.
    void liberarAtalhos();
    // The single entry of both hotkeys (and of `sonvo alternar`).
    void handleHotKeyTrigger(bool actionMenu);
    std::optional<QString> readSelectedText();
    // The menu entry: toggles without capturing any context.
    void startStopRecording();
    QString recordMenuTitle() const;

    // Notifications: permission, the two categories, the observation of the learning tiers.
    QCoro::Task<> configurarNotificacoes();
    void dispararNotificacaoTier1(const QString& ouvido, const QString& escrever);
    QCoro::Task<> dispararNotificacaoTier2(QString ouvido, QString escrever, int ocorrencias);
    void responderNotificacao(const QString& acao, const QVariantMap& userInfo);

    static QList<CategoriaNotificacao> categoriasDeNotificacao();
    static QString identificadorNotificacao(const char* prefixo, const QString& ouvido, const QString& escrever);

    const QStringList& registeredHotKeyLabels() const { return m_rotulos; }
    bool lastHotkeyWasActionMenu() const { return m_ultimoFoiMenu; }
    const std::optional<QString>& lastRecordingBundleID() const { return m_ultimoBundle; }
    const std::optional<QString>& selectionContextCaptured() const { return m_selecao; }
    bool monitorDeTeclado() const { return m_monitor; }

Q_SIGNALS:
    void recordMenuTitleChanged(const QString& titulo);

private:
    Dependencias m_d;
    bool m_tratador = false;
    bool m_monitor = false;
    QStringList m_rotulos;
    std::optional<std::chrono::steady_clock::time_point> m_ultimoAcionamento;
    bool m_ultimoFoiMenu = false;
    std::optional<QString> m_ultimoBundle;
    std::optional<QString> m_selecao;
};

} // namespace sonvo
