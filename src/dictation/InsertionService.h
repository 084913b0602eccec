#pragma once

#include "dictation/Insercao.h"
#include "platform/AreaTransferencia.h"
#include "platform/Janelas.h"
#include "platform/Notificacoes.h"

#include <QCoroTask>
#include <QList>
#include <QString>

#include <chrono>
#include <functional>
#include <optional>

namespace sonvo {

class Configuracoes;
class InsertBuffer;

// The waits of one insertion (tests shorten or record them).
struct EsperasInsercao {
    // Bound of the wait for an activated window to come to the front (it usually takes a few
    // milliseconds; a window manager that never confirms costs this once).
    std::chrono::milliseconds ativacao{500};
    // Fixed wait after the keystroke before the clipboard may be restored.
    std::chrono::milliseconds aposColar{200};
    // From the keystroke to the restore at most: a slow target gets this long to fetch the
    // text, so it never pastes the user's old clipboard.
    std::chrono::milliseconds leituraMax{1000};
    // Bound of the wait for the hotkey's keys to be let go before the paste keys.
    std::chrono::milliseconds soltura{3000};
    // The asynchronous sleep (tests replace it); empty means QCoro::sleepFor.
    std::function<QCoro::Task<>(std::chrono::milliseconds)> esperar;
};

// Puts a finished text where the user is typing: saves the clipboard, writes the text, brings the
// target application to the front if needed, sends the paste keys, waits for the target to fetch
// the text and puts the user's clipboard back. A target pasted with Shift+Insert reads PRIMARY,
// which is saved, written and put back the same way. Confined to the main thread; every wait is
// asynchronous. Holds no state between calls.
class InsertionService : public Insercao {
public:
    using ClipboardSnapshot = sonvo::ClipboardSnapshot;
    using Esperas = EsperasInsercao;

    // `config`: where the paste key chosen per application is read at every insertion; without it
    // the key is always chosen by the kind of application.
    InsertionService(AreaTransferencia& clipboard, Janelas& janelas, TeclasSinteticas& teclas,
                     InsertBuffer& buffer, qint64 pidProprio, Esperas esperas = {},
                     NotificacoesUsuario* avisos = nullptr, const Configuracoes* config = nullptr);

    // Shown when the keys could not be sent: the text is on the clipboard for a manual paste.
    static constexpr const char* kAvisoCopiado = "Texto copiado — cole com Ctrl+V";

    // Never fails: every step degrades. When the keys cannot be sent the text stays on the
    // clipboard and the user is told through `avisos`.
    QCoro::Task<> inserir(QString texto) override;
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString& transcricao) override;

    // Terminals paste with Ctrl+Shift+V (Ctrl+V is a control character there); by WM_CLASS class.
    static bool ehTerminal(const std::optional<QString>& classe);
    // xterm and its kin: Ctrl+Shift+V is a control character there too, and no key pastes CLIPBOARD.
    static bool ehFamiliaXterm(const std::optional<QString>& classe);
    // The paste key for an application: the user's choice for it (a TeclaDeColar value), else by
    // its class. Without a primary selection to put the text in, Shift+Insert would paste whatever
    // was selected last: xterm's kin then get Ctrl+Shift+V, unless the user chose otherwise.
    static TeclaColar teclaPara(const std::optional<QString>& classe, const std::optional<QString>& escolha,
                                bool temPrimaria);

private:
    std::optional<ClipboardSnapshot> clipboardSnapshot(Selecao selecao);
    std::optional<AppJanela> resolverAppAlvo();
    QCoro::Task<bool> postarComandoV(TeclaColar tecla);
    void restaurarClipboard(const std::optional<ClipboardSnapshot>& snapshot, Selecao selecao);
    bool ehProprio(const AppJanela& app) const;

    AreaTransferencia& m_clipboard;
    Janelas& m_janelas;
    TeclasSinteticas& m_teclas;
    InsertBuffer& m_buffer;
    qint64 m_pidProprio;
    Esperas m_esperas;
    NotificacoesUsuario* m_avisos = nullptr;
    const Configuracoes* m_config = nullptr;
};

} // namespace sonvo
