#pragma once

#include "platform/AreaTransferencia.h"
#include "platform/LeiturasClipboard.h"
#include "platform/x11/ConexaoX11.h"

#include <QObject>

#include <memory>

namespace sonvo::x11 {

// Bounds of the reads from another client's clipboard.
struct PrazosClipboard {
    std::chrono::milliseconds transferencia{500}; // one request or one incremental chunk
    std::chrono::milliseconds total{2000};        // the whole snapshot
};

// The CLIPBOARD and PRIMARY selections. Sonvo's own contents are served by Qt (QClipboard owns the selection
// and answers other clients from the event loop); another client's contents are read over
// Sonvo's own connection with a time limit on every transfer, because Qt's reader waits up to
// five seconds per format on an owner that never answers. Needs a QGuiApplication on xcb.
class AreaTransferenciaX11 : public QObject, public AreaTransferencia {
    Q_OBJECT
public:
    using Prazos = PrazosClipboard;

    explicit AreaTransferenciaX11(std::shared_ptr<ConexaoX11> x, Prazos prazos = {});

    bool temPrimaria() const override { return true; }
    std::optional<ClipboardSnapshot> instantaneo(Selecao selecao) override;
    void escreverTexto(const QString& texto, bool transitorio, Selecao selecao) override;
    void restaurar(const ClipboardSnapshot& s, Selecao selecao) override;
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override;
    std::optional<QString> textoSelecionado(const AppJanela& frente) override;

private:
    struct Transferencia {
        xcb_atom_t tipo = XCB_NONE;
        uint8_t formato = 0;
        QByteArray dados;
    };
    std::optional<Transferencia> transferir(xcb_atom_t alvo, ConexaoX11::Relogio::time_point fim,
                                          const char* selecao = "CLIPBOARD");
    std::optional<ClipboardSnapshot> instantaneoLocal(Selecao selecao);
    std::optional<ClipboardSnapshot> instantaneoRemoto(Selecao selecao);
    // `geracao`: the text's, or 0 for contents whose reads do not count.
    void definir(QList<ClipboardSnapshot::Item> itens, quint64 geracao, Selecao selecao);

    std::shared_ptr<ConexaoX11> m_x;
    Prazos m_prazos;
    xcb_window_t m_janelaDoQt[2] = {XCB_NONE, XCB_NONE}; // the window Qt owns each selection with
    LeiturasClipboard m_leituras;
};

} // namespace sonvo::x11
