#include "platform/wayland/AreaTransferenciaWayland.h"

#include "ext-data-control-v1-client.h"
#include "wlr-data-control-unstable-v1-client.h"

#include <wayland-client.h>

#include <QHash>
#include <QPointer>
#include <QSet>
#include <QSocketNotifier>

#include <cerrno>
#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace sonvo::wayland {

namespace {

using Item = ClipboardSnapshot::Item;
using Relogio = std::chrono::steady_clock;

constexpr qsizetype kMaxBytes = qsizetype(256) * 1024 * 1024;
// The names Wayland and X11 clients ask text by; XWayland maps the X11 ones.
const QStringList kTiposDeTexto = {QStringLiteral("text/plain;charset=utf-8"), QStringLiteral("text/plain"),
                                   QStringLiteral("UTF8_STRING"), QStringLiteral("TEXT"), QStringLiteral("STRING")};

// Writes one format to a reader, as fast as the reader takes it, then closes the descriptor.
class Escritor : public QObject {
public:
    Escritor(int fd, QByteArray dados, QObject* pai) : QObject(pai), m_fd(fd), m_dados(std::move(dados))
    {
        ::fcntl(m_fd, F_SETFL, ::fcntl(m_fd, F_GETFL) | O_NONBLOCK);
        m_notificador = new QSocketNotifier(m_fd, QSocketNotifier::Write, this);
        connect(m_notificador, &QSocketNotifier::activated, this, &Escritor::escrever);
        escrever();
    }
    ~Escritor() override { ::close(m_fd); }

private:
    void escrever()
    {
        while (m_enviado < m_dados.size()) {
            const ssize_t n = ::write(m_fd, m_dados.constData() + m_enviado, size_t(m_dados.size() - m_enviado));
            if (n > 0) {
                m_enviado += n;
                continue;
            }
            if (n < 0 && (errno == EAGAIN || errno == EINTR))
                return; // the notifier calls again when the reader has drained the pipe
            break;      // the reader went away
        }
        m_notificador->setEnabled(false);
        deleteLater();
    }

    int m_fd;
    QByteArray m_dados;
    qsizetype m_enviado = 0;
    QSocketNotifier* m_notificador = nullptr;
};

} // namespace

struct AreaTransferenciaWayland::Oferta {
    zwlr_data_control_offer_v1* oferta = nullptr;
    QStringList tipos;
    ~Oferta() { zwlr_data_control_offer_v1_destroy(oferta); }
};

struct AreaTransferenciaWayland::Fonte {
    AreaTransferenciaWayland* dono = nullptr;
    zwlr_data_control_source_v1* fonte = nullptr;
    QList<Item> itens;
    quint64 geracao = 0; // 0: reads are not counted (a restore)
    ~Fonte() { zwlr_data_control_source_v1_destroy(fonte); }
};

namespace {

void aoTipo(void* dados, zwlr_data_control_offer_v1*, const char* tipo)
{
    static_cast<AreaTransferenciaWayland::Oferta*>(dados)->tipos << QString::fromUtf8(tipo);
}
const zwlr_data_control_offer_v1_listener kOferta = {&aoTipo};

} // namespace

std::unique_ptr<AreaTransferenciaWayland> AreaTransferenciaWayland::criar(std::shared_ptr<ConexaoWayland> c,
                                                                         Prazos prazos)
{
    if (!c || !c->assento())
        return nullptr;
    auto* m = static_cast<zwlr_data_control_manager_v1*>(
        c->vincular(&ext_data_control_manager_v1_interface, 1));
    // The standard protocol always carries the primary selection; wlroots' one from version 2.
    bool temPrimaria = m != nullptr;
    if (!m) {
        m = static_cast<zwlr_data_control_manager_v1*>(c->vincular(&zwlr_data_control_manager_v1_interface, 2));
        temPrimaria = m && wl_proxy_get_version(reinterpret_cast<wl_proxy*>(m)) >= 2;
    }
    if (!m)
        return nullptr;
    return std::unique_ptr<AreaTransferenciaWayland>(new AreaTransferenciaWayland(std::move(c), m, temPrimaria, prazos));
}

AreaTransferenciaWayland::AreaTransferenciaWayland(std::shared_ptr<ConexaoWayland> c, zwlr_data_control_manager_v1* m,
                                                   bool temPrimaria, Prazos prazos)
    : m_c(std::move(c)), m_gerente(m), m_temPrimaria(temPrimaria), m_prazos(prazos)
{
    static const zwlr_data_control_device_v1_listener dispositivo = {
        &AreaTransferenciaWayland::aoOferecer, &AreaTransferenciaWayland::aoSelecionar,
        &AreaTransferenciaWayland::aoTerminar, &AreaTransferenciaWayland::aoSelecionarPrimaria};
    m_dispositivo = zwlr_data_control_manager_v1_get_data_device(m_gerente, m_c->assento());
    zwlr_data_control_device_v1_add_listener(m_dispositivo, &dispositivo, this);
    // The current selections arrive right after the device is created.
    wl_display_roundtrip(m_c->display());
}

AreaTransferenciaWayland::~AreaTransferenciaWayland()
{
    m_fonte.reset();
    m_fontePrimaria.reset();
    qDeleteAll(m_pendentes);
    m_selecao.reset();
    m_primaria.reset();
    if (m_dispositivo)
        zwlr_data_control_device_v1_destroy(m_dispositivo);
    zwlr_data_control_manager_v1_destroy(m_gerente);
    m_c->enviar();
}

void AreaTransferenciaWayland::aoOferecer(void* dados, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* o)
{
    auto* oferta = new Oferta{o, {}};
    zwlr_data_control_offer_v1_add_listener(o, &kOferta, oferta);
    static_cast<AreaTransferenciaWayland*>(dados)->m_pendentes.insert(o, oferta);
}

void AreaTransferenciaWayland::aoSelecionar(void* dados, zwlr_data_control_device_v1*, zwlr_data_control_offer_v1* o)
{
    auto* a = static_cast<AreaTransferenciaWayland*>(dados);
    a->m_selecao.reset(o ? a->m_pendentes.take(o) : nullptr);
}

void AreaTransferenciaWayland::aoSelecionarPrimaria(void* dados, zwlr_data_control_device_v1*,
                                                    zwlr_data_control_offer_v1* o)
{
    auto* a = static_cast<AreaTransferenciaWayland*>(dados);
    a->m_primaria.reset(o ? a->m_pendentes.take(o) : nullptr);
}

void AreaTransferenciaWayland::aoTerminar(void* dados, zwlr_data_control_device_v1* d)
{
    // The seat went away: the device is inert from now on.
    auto* a = static_cast<AreaTransferenciaWayland*>(dados);
    zwlr_data_control_device_v1_destroy(d);
    a->m_dispositivo = nullptr;
    a->m_selecao.reset();
    a->m_primaria.reset();
}

std::optional<QByteArray> AreaTransferenciaWayland::receber(Oferta& o, const QString& tipo, Relogio::time_point fim)
{
    int fds[2];
    if (::pipe2(fds, O_CLOEXEC | O_NONBLOCK) != 0)
        return std::nullopt;
    zwlr_data_control_offer_v1_receive(o.oferta, tipo.toUtf8().constData(), fds[1]);
    ::close(fds[1]);
    m_c->enviar();
    QByteArray dados;
    const auto prazo = std::min(fim, Relogio::now() + m_prazos.transferencia);
    for (;;) {
        const auto resto = std::chrono::duration_cast<std::chrono::milliseconds>(prazo - Relogio::now()).count();
        pollfd p{fds[0], POLLIN, 0};
        if (resto <= 0 || ::poll(&p, 1, int(resto)) <= 0) {
            ::close(fds[0]);
            return std::nullopt; // an owner that does not answer in time
        }
        char bloco[65536];
        const ssize_t n = ::read(fds[0], bloco, sizeof bloco);
        if (n == 0)
            break;
        if (n < 0) {
            if (errno == EAGAIN || errno == EINTR)
                continue;
            ::close(fds[0]);
            return std::nullopt;
        }
        dados.append(bloco, n);
        if (dados.size() > kMaxBytes) {
            ::close(fds[0]);
            return std::nullopt;
        }
    }
    ::close(fds[0]);
    return dados;
}

std::optional<ClipboardSnapshot> AreaTransferenciaWayland::instantaneo(Selecao selecao)
{
    if (selecao == Selecao::primaria && !m_temPrimaria)
        return std::nullopt;
    m_c->atualizar();
    if (const std::unique_ptr<Fonte>& fonte = fonteDa(selecao)) {
        // Our own contents: reading them through the compositor would wait for this very loop.
        QList<Item> item;
        for (const Item& i : fonte->itens)
            if (tipoGuardado(i.type))
                item << i;
        return ClipboardSnapshot{{item}};
    }
    Oferta* oferta = selecao == Selecao::primaria ? m_primaria.get() : m_selecao.get();
    if (!oferta)
        return std::nullopt;
    const auto fim = Relogio::now() + m_prazos.total;
    QList<Item> item;
    QSet<QString> vistos;
    for (const QString& tipo : oferta->tipos) {
        if (!tipoGuardado(tipo) || vistos.contains(tipo))
            continue;
        vistos.insert(tipo);
        // Formats that cannot be read in time are left out, silently.
        if (auto dados = receber(*oferta, tipo, fim))
            item << Item{tipo, *dados};
    }
    return ClipboardSnapshot{{item}};
}

void AreaTransferenciaWayland::escreverTexto(const QString& texto, bool transitorio, Selecao selecao)
{
    const bool mesmoTexto = selecao == Selecao::primaria && m_leituras.atual() > 0;
    const quint64 geracao = mesmoTexto ? m_leituras.atual() : m_leituras.novoTexto();
    definir(itensDoTexto(texto, transitorio, kTiposDeTexto), geracao, selecao);
}

void AreaTransferenciaWayland::restaurar(const ClipboardSnapshot& s, Selecao selecao)
{
    definir(itensRestaurados(s), 0, selecao);
}

void AreaTransferenciaWayland::definir(QList<Item> itens, quint64 geracao, Selecao selecao)
{
    if (!m_dispositivo || (selecao == Selecao::primaria && !m_temPrimaria))
        return;
    static const zwlr_data_control_source_v1_listener ouvinte = {
        [](void* dados, zwlr_data_control_source_v1*, const char* tipo, int32_t fd) {
            auto* f = static_cast<Fonte*>(dados);
            const QString t = QString::fromUtf8(tipo);
            QByteArray conteudo;
            for (const Item& i : f->itens)
                if (i.type == t) {
                    conteudo = i.data;
                    break;
                }
            new Escritor(fd, conteudo, f->dono);
            if (!ehMarcador(t))
                f->dono->m_leituras.lida(f->geracao);
        },
        [](void* dados, zwlr_data_control_source_v1*) {
            // Another client took the selection.
            auto* f = static_cast<Fonte*>(dados);
            for (std::unique_ptr<Fonte>* p : {&f->dono->m_fonte, &f->dono->m_fontePrimaria})
                if (p->get() == f) {
                    p->reset();
                    return;
                }
        }};
    auto fonte = std::make_unique<Fonte>();
    fonte->dono = this;
    fonte->fonte = zwlr_data_control_manager_v1_create_data_source(m_gerente);
    fonte->itens = std::move(itens);
    fonte->geracao = geracao;
    zwlr_data_control_source_v1_add_listener(fonte->fonte, &ouvinte, fonte.get());
    for (const Item& i : fonte->itens)
        zwlr_data_control_source_v1_offer(fonte->fonte, i.type.toUtf8().constData());
    if (selecao == Selecao::primaria)
        zwlr_data_control_device_v1_set_primary_selection(m_dispositivo, fonte->fonte);
    else
        zwlr_data_control_device_v1_set_selection(m_dispositivo, fonte->fonte);
    fonteDa(selecao) = std::move(fonte);
    m_c->enviar();
}

QCoro::Task<bool> AreaTransferenciaWayland::aguardarLeitura(std::chrono::milliseconds limite)
{
    return m_leituras.aguardar(limite);
}

std::optional<QString> AreaTransferenciaWayland::textoSelecionado(const AppJanela&)
{
    m_c->atualizar();
    // Sonvo's own (a paste's text or what it put back) is selected in no application; reading it
    // through the compositor would also wait for this very loop.
    if (!m_primaria || m_fontePrimaria)
        return std::nullopt;
    // Read at a key press: a short bound, the user is waiting.
    const auto fim = Relogio::now() + std::chrono::milliseconds(300);
    for (const QString& tipo : kTiposDeTexto) {
        if (!m_primaria->tipos.contains(tipo))
            continue;
        const auto dados = receber(*m_primaria, tipo, fim);
        if (!dados || dados->isEmpty())
            return std::nullopt;
        return QString::fromUtf8(*dados);
    }
    return std::nullopt;
}

} // namespace sonvo::wayland
