#include "platform/x11/AreaTransferenciaX11.h"

#include <QClipboard>
#include <QGuiApplication>
#include <QMimeData>
#include <QPointer>
#include <QSet>

#include <cstdlib>
#include <cstring>
#include <functional>

namespace sonvo::x11 {

namespace {

using Item = ClipboardSnapshot::Item;
using Relogio = ConexaoX11::Relogio;

// A clipboard bigger than this is not worth holding in memory twice; it is left out.
constexpr qsizetype kMaxBytes = qsizetype(256) * 1024 * 1024;

const char* nomeDa(Selecao s)
{
    return s == Selecao::primaria ? "PRIMARY" : "CLIPBOARD";
}

QClipboard::Mode modoDa(Selecao s)
{
    return s == Selecao::primaria ? QClipboard::Selection : QClipboard::Clipboard;
}

// Qt's own names for text: it serves UTF8_STRING, STRING and TEXT from "text/plain".
bool ehApelidoDeTexto(const QByteArray& nome)
{
    return nome == "UTF8_STRING" || nome == "STRING" || nome == "TEXT" || nome == "COMPOUND_TEXT";
}

// The contents Sonvo puts on the clipboard, served by Qt to other clients. Knows when one of them
// fetched something other than the markers.
class MimeSonvo : public QMimeData {
public:
    MimeSonvo(QList<Item> itens, std::function<void()> aoLer) : m_itens(std::move(itens)), m_aoLer(std::move(aoLer)) {}

    const QList<Item>& itens() const { return m_itens; }

    QStringList formats() const override
    {
        QStringList f;
        for (const Item& i : m_itens)
            f << i.type;
        return f;
    }
    bool hasFormat(const QString& tipo) const override { return indice(tipo) >= 0; }

protected:
    QVariant retrieveData(const QString& tipo, QMetaType) const override
    {
        const qsizetype i = indice(tipo);
        if (i < 0)
            return {};
        if (m_aoLer && !AreaTransferencia::ehMarcador(tipo))
            m_aoLer();
        return m_itens[i].data;
    }

private:
    qsizetype indice(const QString& tipo) const
    {
        for (qsizetype i = 0; i < m_itens.size(); ++i)
            if (m_itens[i].type == tipo)
                return i;
        return -1;
    }

    QList<Item> m_itens;
    std::function<void()> m_aoLer;
};

} // namespace

AreaTransferenciaX11::AreaTransferenciaX11(std::shared_ptr<ConexaoX11> x, Prazos prazos)
    : m_x(std::move(x)), m_prazos(prazos)
{
}

std::optional<ClipboardSnapshot> AreaTransferenciaX11::instantaneo(Selecao selecao)
{
    xcb_connection_t* c = m_x->conexao();
    xcb_window_t dono = XCB_NONE;
    if (auto* r = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_x->atomo(nomeDa(selecao))), nullptr)) {
        dono = r->owner;
        std::free(r);
    }
    if (dono == XCB_NONE)
        return std::nullopt;
    // Our own contents: asking ourselves over X would wait for the event loop this call holds.
    const xcb_window_t nossa = m_janelaDoQt[int(selecao)];
    const bool doQt = selecao == Selecao::primaria ? QGuiApplication::clipboard()->ownsSelection()
                                                   : QGuiApplication::clipboard()->ownsClipboard();
    if (dono == nossa || (nossa == XCB_NONE && doQt))
        return instantaneoLocal(selecao);
    return instantaneoRemoto(selecao);
}

std::optional<ClipboardSnapshot> AreaTransferenciaX11::instantaneoLocal(Selecao selecao)
{
    const QMimeData* m = QGuiApplication::clipboard()->mimeData(modoDa(selecao));
    if (!m)
        return std::nullopt;
    QList<Item> item;
    if (const auto* nosso = dynamic_cast<const MimeSonvo*>(m)) {
        // Read directly: a read through QMimeData would count as another client fetching it.
        for (const Item& i : nosso->itens())
            if (tipoGuardado(i.type))
                item << i;
    } else {
        const QStringList formatos = m->formats();
        if (formatos.isEmpty())
            return std::nullopt;
        for (const QString& f : formatos)
            if (tipoGuardado(f))
                item << Item{f, m->data(f)};
    }
    return ClipboardSnapshot{{item}};
}

std::optional<ClipboardSnapshot> AreaTransferenciaX11::instantaneoRemoto(Selecao selecao)
{
    const char* nomeSelecao = nomeDa(selecao);
    const auto fim = Relogio::now() + m_prazos.total;
    const std::optional<Transferencia> alvos = transferir(m_x->atomo("TARGETS"), fim, nomeSelecao);
    // An owner that does not answer has nothing we can keep: the caller treats it as empty.
    if (!alvos || alvos->formato != 32)
        return std::nullopt;

    QList<xcb_atom_t> atomos;
    for (qsizetype i = 0; i + 4 <= alvos->dados.size(); i += 4) {
        xcb_atom_t a = XCB_NONE;
        std::memcpy(&a, alvos->dados.constData() + i, sizeof a);
        if (a != XCB_NONE && !atomos.contains(a))
            atomos << a;
    }
    QList<QByteArray> nomes;
    for (xcb_atom_t a : atomos)
        nomes << m_x->nomeDoAtomo(a);

    // Text is kept as "text/plain" (UTF-8), which Qt serves under every text name on restore: the
    // owner's own "text/plain" when it has one, else its best legacy text target.
    const bool temTextoPlano = nomes.contains("text/plain");
    QByteArray apelido;
    for (const char* candidato : {"UTF8_STRING", "STRING", "TEXT"})
        if (apelido.isEmpty() && nomes.contains(candidato))
            apelido = candidato;

    QList<Item> item;
    bool textoFeito = temTextoPlano;
    for (qsizetype i = 0; i < atomos.size(); ++i) {
        const QByteArray& nome = nomes[i];
        if (nome.isEmpty())
            continue;
        if (ehApelidoDeTexto(nome)) {
            if (textoFeito || apelido.isEmpty())
                continue;
            textoFeito = true;
            const auto t = transferir(m_x->atomo(apelido.constData()), fim, nomeSelecao);
            if (!t)
                continue;
            // Legacy STRING is Latin-1.
            const bool latin1 = t->tipo == XCB_ATOM_STRING;
            item << Item{QStringLiteral("text/plain"), latin1 ? QString::fromLatin1(t->dados).toUtf8() : t->dados};
            continue;
        }
        const QString tipo = QString::fromUtf8(nome);
        if (!tipoGuardado(tipo))
            continue;
        // Formats that cannot be read in time are left out, silently.
        if (const auto t = transferir(atomos[i], fim, nomeSelecao))
            item << Item{tipo, t->dados};
    }
    return ClipboardSnapshot{{item}};
}

std::optional<AreaTransferenciaX11::Transferencia> AreaTransferenciaX11::transferir(xcb_atom_t alvo,
                                                                                    Relogio::time_point fim,
                                                                                    const char* nomeSelecao)
{
    xcb_connection_t* c = m_x->conexao();
    const xcb_window_t janela = m_x->janelaAuxiliar();
    const xcb_atom_t selecao = m_x->atomo(nomeSelecao);
    const xcb_atom_t propriedade = m_x->atomo("SONVO_SELECAO");
    const xcb_atom_t incr = m_x->atomo("INCR");
    if (alvo == XCB_NONE || Relogio::now() >= fim)
        return std::nullopt;
    auto prazo = [&] { return std::min(fim, Relogio::now() + m_prazos.transferencia); };

    // Answers to an earlier request that timed out must not be taken for this one.
    m_x->descartarEventos();
    xcb_delete_property(c, janela, propriedade);
    xcb_convert_selection(c, janela, selecao, alvo, propriedade, XCB_CURRENT_TIME);
    xcb_flush(c);

    xcb_generic_event_t* e = m_x->aguardarEvento(
        [&](const xcb_generic_event_t* ev) {
            if ((ev->response_type & 0x7f) != XCB_SELECTION_NOTIFY)
                return false;
            const auto* n = reinterpret_cast<const xcb_selection_notify_event_t*>(ev);
            return n->requestor == janela && n->selection == selecao && n->target == alvo;
        },
        prazo());
    if (!e)
        return std::nullopt;
    const xcb_atom_t recebida = reinterpret_cast<xcb_selection_notify_event_t*>(e)->property;
    std::free(e);
    if (recebida == XCB_NONE) // refused
        return std::nullopt;

    auto p = m_x->propriedade(janela, recebida, true);
    if (!p || p->tipo == XCB_NONE)
        return std::nullopt;
    if (p->tipo != incr)
        return Transferencia{p->tipo, p->formato, std::move(p->dados)};

    // Incremental transfer: each chunk arrives as a new value of the property, which we delete to
    // ask for the next; an empty chunk ends it.
    Transferencia t;
    for (;;) {
        xcb_generic_event_t* n = m_x->aguardarEvento(
            [&](const xcb_generic_event_t* ev) {
                if ((ev->response_type & 0x7f) != XCB_PROPERTY_NOTIFY)
                    return false;
                const auto* pn = reinterpret_cast<const xcb_property_notify_event_t*>(ev);
                return pn->window == janela && pn->atom == recebida && pn->state == XCB_PROPERTY_NEW_VALUE;
            },
            prazo());
        if (!n)
            return std::nullopt;
        std::free(n);
        auto pedaco = m_x->propriedade(janela, recebida, true);
        if (!pedaco)
            return std::nullopt;
        if (pedaco->dados.isEmpty())
            return t;
        t.tipo = pedaco->tipo;
        t.formato = pedaco->formato;
        t.dados += pedaco->dados;
        if (t.dados.size() > kMaxBytes)
            return std::nullopt;
    }
}

void AreaTransferenciaX11::escreverTexto(const QString& texto, bool transitorio, Selecao selecao)
{
    // Qt serves "text/plain" under every X11 text name.
    const bool mesmoTexto = selecao == Selecao::primaria && m_leituras.atual() > 0;
    const quint64 geracao = mesmoTexto ? m_leituras.atual() : m_leituras.novoTexto();
    definir(itensDoTexto(texto, transitorio, {QStringLiteral("text/plain")}), geracao, selecao);
}

void AreaTransferenciaX11::restaurar(const ClipboardSnapshot& s, Selecao selecao)
{
    // X11 holds one value per format: the items are merged.
    definir(itensRestaurados(s), 0, selecao);
}

void AreaTransferenciaX11::definir(QList<Item> itens, quint64 geracao, Selecao selecao)
{
    std::function<void()> aoLer;
    if (geracao > 0) {
        // Qt deletes the data whenever another client takes the clipboard, possibly after us.
        QPointer<LeiturasClipboard> leituras(&m_leituras);
        aoLer = [leituras, geracao] {
            if (leituras)
                leituras->lida(geracao);
        };
    }
    QClipboard* clipboard = QGuiApplication::clipboard();
    clipboard->setMimeData(new MimeSonvo(std::move(itens), std::move(aoLer)), modoDa(selecao));
    if (!(selecao == Selecao::primaria ? clipboard->ownsSelection() : clipboard->ownsClipboard()))
        return;
    xcb_connection_t* c = m_x->conexao();
    if (auto* r = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, m_x->atomo(nomeDa(selecao))), nullptr)) {
        m_janelaDoQt[int(selecao)] = r->owner;
        std::free(r);
    }
}

QCoro::Task<bool> AreaTransferenciaX11::aguardarLeitura(std::chrono::milliseconds limite)
{
    return m_leituras.aguardar(limite);
}

std::optional<QString> AreaTransferenciaX11::textoSelecionado(const AppJanela& frente)
{
    xcb_connection_t* c = m_x->conexao();
    xcb_window_t dono = XCB_NONE;
    if (auto* r = xcb_get_selection_owner_reply(c, xcb_get_selection_owner(c, XCB_ATOM_PRIMARY), nullptr)) {
        dono = r->owner;
        std::free(r);
    }
    if (dono == XCB_NONE || frente.janela == 0)
        return std::nullopt;
    // The owner is usually a hidden window of the application, not the one in front. Both were
    // created by the same client when their resource ids share the client's base; a process with
    // several connections is recognised by the owner's _NET_WM_PID.
    const uint32_t mascara = xcb_get_setup(c)->resource_id_mask;
    bool doDaFrente = (dono & ~mascara) == (static_cast<uint32_t>(frente.janela) & ~mascara);
    if (!doDaFrente && frente.pid > 0) {
        const auto p = m_x->propriedade(dono, m_x->atomo("_NET_WM_PID"));
        if (p && p->formato == 32 && p->dados.size() >= 4) {
            uint32_t pid = 0;
            std::memcpy(&pid, p->dados.constData(), sizeof pid);
            doDaFrente = static_cast<qint64>(pid) == frente.pid;
        }
    }
    if (!doDaFrente)
        return std::nullopt;

    // A selection is read at a key press: a short bound, the user is waiting.
    const auto fim = Relogio::now() + std::chrono::milliseconds(300);
    auto t = transferir(m_x->atomo("UTF8_STRING"), fim, "PRIMARY");
    if (!t) {
        t = transferir(XCB_ATOM_STRING, fim, "PRIMARY");
        if (t)
            t->dados = QString::fromLatin1(t->dados).toUtf8();
    }
    if (!t || t->dados.isEmpty())
        return std::nullopt;
    return QString::fromUtf8(t->dados);
}

} // namespace sonvo::x11
