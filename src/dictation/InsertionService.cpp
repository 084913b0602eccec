#include "dictation/InsertionService.h"

#include "core/Configuracoes.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "dictation/InsertBuffer.h"

#include <QCoroTimer>

#include <algorithm>

namespace sonvo {

namespace {

// WM_CLASS classes of terminal emulators that paste CLIPBOARD with Ctrl+Shift+V, lower-cased.
constexpr const char* kTerminais[] = {
    "gnome-terminal", "gnome-terminal-server", "org.gnome.console", "kgx",   "org.gnome.ptyxis", "ptyxis",
    "konsole",        "org.kde.konsole",  "yakuake",        "kitty",          "alacritty",
    "org.wezfurlong.wezterm", "wezterm",  "foot",           "footclient",     "terminator",
    "tilix",          "com.gexperts.tilix", "xfce4-terminal", "mate-terminal", "lxterminal",
    "qterminal",      "terminology",      "sakura",         "guake",          "tilda",
    "st",             "st-256color",      "termite",        "cool-retro-term",
    "com.mitchellh.ghostty", "ghostty",   "deepin-terminal", "io.elementary.terminal", "roxterm",
};

// ...and those that paste only PRIMARY from the keyboard, with Shift+Insert.
constexpr const char* kFamiliaXterm[] = {
    "xterm", "uxterm", "urxvt", "rxvt", "rxvt-unicode", "aterm", "eterm", "kterm", "mlterm",
};

template <size_t N>
bool naLista(const std::optional<QString>& classe, const char* const (&lista)[N])
{
    if (!classe)
        return false;
    const QString c = classe->toLower();
    return std::any_of(std::begin(lista), std::end(lista), [&](const char* t) { return c == QLatin1String(t); });
}

} // namespace

InsertionService::InsertionService(AreaTransferencia& clipboard, Janelas& janelas, TeclasSinteticas& teclas,
                                   InsertBuffer& buffer, qint64 pidProprio, Esperas esperas,
                                   NotificacoesUsuario* avisos, const Configuracoes* config)
    : m_clipboard(clipboard), m_janelas(janelas), m_teclas(teclas), m_buffer(buffer), m_pidProprio(pidProprio),
      m_esperas(std::move(esperas)), m_avisos(avisos), m_config(config)
{
    if (!m_esperas.esperar)
        m_esperas.esperar = [](std::chrono::milliseconds d) -> QCoro::Task<> { co_await QCoro::sleepFor(d); };
}

bool InsertionService::ehTerminal(const std::optional<QString>& classe)
{
    return naLista(classe, kTerminais) || naLista(classe, kFamiliaXterm);
}

bool InsertionService::ehFamiliaXterm(const std::optional<QString>& classe)
{
    return naLista(classe, kFamiliaXterm);
}

TeclaColar InsertionService::teclaPara(const std::optional<QString>& classe, const std::optional<QString>& escolha,
                                      bool temPrimaria)
{
    if (escolha == TeclaDeColar::ctrlV)
        return TeclaColar::ctrlV;
    if (escolha == TeclaDeColar::ctrlShiftV)
        return TeclaColar::ctrlShiftV;
    if (escolha == TeclaDeColar::shiftInsert || (ehFamiliaXterm(classe) && temPrimaria))
        return TeclaColar::shiftInsert;
    return ehTerminal(classe) ? TeclaColar::ctrlShiftV : TeclaColar::ctrlV;
}

bool InsertionService::ehProprio(const AppJanela& app) const
{
    return app.pid != 0 && app.pid == m_pidProprio;
}

QCoro::Task<> InsertionService::inserir(QString texto)
{
    const bool confiavel = m_janelas.acessoConcedido();
    const std::optional<AppJanela> frente = m_janelas.daFrente();
    Log::tag("Insert", QStringLiteral("AXTrusted=%d frontmost=%@ texto.count=%d"),
             {confiavel ? 1 : 0, frente ? frente->id : std::nullopt,
              static_cast<long long>(TextoUnicode::contarGrafemas(texto))});

    const std::optional<ClipboardSnapshot> snapshot = confiavel ? clipboardSnapshot(Selecao::clipboard) : std::nullopt;

    m_clipboard.escreverTexto(texto, confiavel, Selecao::clipboard);
    Log::tag("Insert", QStringLiteral("texto no clipboard"));

    const std::optional<AppJanela> alvo = resolverAppAlvo();
    const std::optional<AppJanela> frenteAgora = m_janelas.daFrente();
    Log::tag("Insert", QStringLiteral("alvo=%@"), {alvo ? alvo->id : std::nullopt});

    // The keys go to whatever has the focus: the target once activated, else what is in front.
    const std::optional<AppJanela>& receptor = alvo ? alvo : frenteAgora;
    // Named before any co_await: g++ 12 destroys a conditional's temporary twice inside one.
    const std::optional<QString> classe = receptor ? receptor->id : std::nullopt;
    const std::optional<QString> escolha = m_config && classe ? TeclaDeColar::escolhida(*m_config, *classe) : std::nullopt;
    const TeclaColar tecla = teclaPara(classe, escolha, m_clipboard.temPrimaria());

    // Shift+Insert pastes PRIMARY: it gets the text too, and is put back as the clipboard is.
    const bool usaPrimaria = tecla == TeclaColar::shiftInsert && m_clipboard.temPrimaria();
    std::optional<ClipboardSnapshot> snapshotPrimaria;
    if (usaPrimaria) {
        snapshotPrimaria = confiavel ? clipboardSnapshot(Selecao::primaria) : std::nullopt;
        m_clipboard.escreverTexto(texto, confiavel, Selecao::primaria);
    }

    if (alvo && alvo->id && (!frenteAgora || frenteAgora->janela != alvo->janela))
        co_await m_janelas.ativar(*alvo, m_esperas.ativacao);

    const bool enviado = co_await postarComandoV(tecla);
    if (enviado) {
        Log::tag("Insert", QStringLiteral("⌘V postado"));
        Log::tag("Insert", QStringLiteral("colar via %@"), {m_teclas.forma()});
    } else {
        Log::tag("Insert", QStringLiteral("⌘V não enviado (%@)"), {m_teclas.forma()});
    }

    co_await m_esperas.esperar(m_esperas.aposColar);

    if (confiavel && enviado) {
        // The target fetches the text when it handles the keys; restoring before that would paste
        // the user's old contents. Only worth waiting for when something will be restored.
        const bool restauraClipboard = snapshot && !snapshot->items.isEmpty();
        const bool restauraPrimaria = snapshotPrimaria && !snapshotPrimaria->items.isEmpty();
        if (restauraClipboard || restauraPrimaria) {
            const auto resto = std::max(std::chrono::milliseconds(0), m_esperas.leituraMax - m_esperas.aposColar);
            const bool lido = co_await m_clipboard.aguardarLeitura(resto);
            if (restauraClipboard) {
                restaurarClipboard(snapshot, Selecao::clipboard);
                Log::tag("Insert", lido ? QStringLiteral("clipboard restaurado")
                                        : QStringLiteral("clipboard restaurado (o alvo não leu o texto a tempo)"));
            } else {
                Log::tag("Insert", QStringLiteral("clipboard vazio antes do ditado — texto mantido"));
            }
            if (restauraPrimaria) {
                restaurarClipboard(snapshotPrimaria, Selecao::primaria);
                Log::tag("Insert", QStringLiteral("PRIMARY restaurada"));
            }
        } else {
            Log::tag("Insert", QStringLiteral("clipboard vazio antes do ditado — texto mantido"));
        }
    } else if (!confiavel) {
        Log::tag("Insert", QStringLiteral("AX=0 — clipboard mantido com texto pra ⌘V manual"));
    } else {
        // The keys could not be sent (refused, or no way to): the text stays for a manual paste.
        Log::tag("Insert", QStringLiteral("clipboard mantido com texto pra colar manual"));
    }

    m_buffer.adicionar(texto);
    Log::tag("Insert", QStringLiteral("texto registrado em InsertBuffer (Tier 2)"));
    if (!enviado && m_avisos) {
        PedidoNotificacao aviso{QStringLiteral("sonvo.copiado"), QString::fromUtf8(kAvisoCopiado), QString(), false,
                                QString(), {}};
        co_await m_avisos->adicionar(std::move(aviso));
    }
}

QList<SugestaoFuzzy> InsertionService::sugerirCorrecaoFuzzy(const QString& transcricao)
{
    return ::sonvo::sugerirCorrecaoFuzzy(m_buffer.palavrasFrequentes(2), transcricao);
}

std::optional<ClipboardSnapshot> InsertionService::clipboardSnapshot(Selecao selecao)
{
    return m_clipboard.instantaneo(selecao);
}

std::optional<AppJanela> InsertionService::resolverAppAlvo()
{
    if (const auto frente = m_janelas.daFrente(); frente && !ehProprio(*frente))
        return frente;
    // Sonvo itself (one of its panels) or nothing is in front: the first normal window of another
    // application, in the window manager's order.
    for (const AppJanela& app : m_janelas.normaisEmOrdem())
        if (app.id && !app.id->isEmpty() && !ehProprio(app))
            return app;
    return std::nullopt;
}

QCoro::Task<bool> InsertionService::postarComandoV(TeclaColar tecla)
{
    // A slow finger (or a fast server): the hotkey's letter still down keeps its grab, which
    // would take the paste keys and the text would land nowhere.
    const bool soltas = co_await m_teclas.aguardarSoltura(m_esperas.soltura);
    if (!soltas)
        Log::tag("Insert", QStringLiteral("teclas do atalho ainda apertadas depois de %d ms — colando assim mesmo"),
                 {static_cast<long long>(m_esperas.soltura.count())});
    // The hotkey's Super+Shift may still be held: with them down the target would see another shortcut.
    m_teclas.soltarModificadores();
    co_return co_await m_teclas.colar(tecla);
}

void InsertionService::restaurarClipboard(const std::optional<ClipboardSnapshot>& snapshot, Selecao selecao)
{
    // An empty selection before the dictation: the dictated text stays.
    if (!snapshot || snapshot->items.isEmpty())
        return;
    m_clipboard.restaurar(*snapshot, selecao);
}

} // namespace sonvo
