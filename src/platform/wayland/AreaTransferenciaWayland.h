#pragma once

#include "platform/AreaTransferencia.h"
#include "platform/LeiturasClipboard.h"
#include "platform/wayland/ConexaoWayland.h"

#include <QHash>
#include <QObject>

#include <memory>

struct zwlr_data_control_manager_v1;
struct zwlr_data_control_device_v1;
struct zwlr_data_control_offer_v1;
struct zwlr_data_control_source_v1;

namespace sonvo::wayland {

struct PrazosTransferencia {
    std::chrono::milliseconds transferencia{500}; // one format
    std::chrono::milliseconds total{2000};        // the whole snapshot
};

// The clipboard and the primary selection through the data control protocol, which lets a client
// without keyboard focus read and own them (wlroots compositors, KDE). The standard
// ext-data-control and wlroots' older version carry the same messages: one implementation serves
// both. Another client's contents are read with a time limit on every transfer; Sonvo's own are
// served from the event loop, in chunks, so a big image never blocks it.
class AreaTransferenciaWayland : public QObject, public AreaTransferencia {
public:
    using Prazos = PrazosTransferencia;

    // Null when the compositor offers neither protocol or there is no seat.
    static std::unique_ptr<AreaTransferenciaWayland> criar(std::shared_ptr<ConexaoWayland> c, Prazos prazos = {});
    ~AreaTransferenciaWayland() override;

    bool temPrimaria() const override { return m_temPrimaria; }
    std::optional<ClipboardSnapshot> instantaneo(Selecao selecao) override;
    void escreverTexto(const QString& texto, bool transitorio, Selecao selecao) override;
    void restaurar(const ClipboardSnapshot& s, Selecao selecao) override;
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override;
    // The primary selection, whoever holds it: Wayland does not say which client that is.
    std::optional<QString> textoSelecionado(const AppJanela& frente) override;

    struct Oferta;
    struct Fonte;

private:
    AreaTransferenciaWayland(std::shared_ptr<ConexaoWayland> c, zwlr_data_control_manager_v1* m, bool temPrimaria,
                             Prazos prazos);
    // `geracao`: the text's, or 0 for contents whose reads do not count.
    void definir(QList<ClipboardSnapshot::Item> itens, quint64 geracao, Selecao selecao);
    std::unique_ptr<Fonte>& fonteDa(Selecao selecao) { return selecao == Selecao::primaria ? m_fontePrimaria : m_fonte; }
    std::optional<QByteArray> receber(Oferta& o, const QString& tipo, std::chrono::steady_clock::time_point fim);

    static void aoOferecer(void* dados, zwlr_data_control_device_v1* d, zwlr_data_control_offer_v1* o);
    static void aoSelecionar(void* dados, zwlr_data_control_device_v1* d, zwlr_data_control_offer_v1* o);
    static void aoSelecionarPrimaria(void* dados, zwlr_data_control_device_v1* d, zwlr_data_control_offer_v1* o);
    static void aoTerminar(void* dados, zwlr_data_control_device_v1* d);

    std::shared_ptr<ConexaoWayland> m_c;
    zwlr_data_control_manager_v1* m_gerente = nullptr;
    zwlr_data_control_device_v1* m_dispositivo = nullptr;
    bool m_temPrimaria = false;
    Prazos m_prazos;
    std::unique_ptr<Oferta> m_selecao;  // the clipboard as another client offers it
    std::unique_ptr<Oferta> m_primaria; // the primary selection
    std::unique_ptr<Fonte> m_fonte;     // Sonvo's own contents, while they are the clipboard
    std::unique_ptr<Fonte> m_fontePrimaria; // ...and while they are the primary selection
    QHash<zwlr_data_control_offer_v1*, Oferta*> m_pendentes; // announced, not yet a selection
    LeiturasClipboard m_leituras;
};

} // namespace sonvo::wayland
