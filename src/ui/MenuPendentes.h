#pragma once

#include <QFileSystemWatcher>
#include <QMenu>

#include <functional>

namespace sonvo {
class DitadosPendentes;
struct DitadoPendente;
} // namespace sonvo

namespace sonvo::ui {

// The tray's "Ditados pendentes (N)": one entry per kept dictation, newest first, each retrying
// it. Hidden when there are none; follows the folder, so a `sonvo descartar` shows at once.
class MenuPendentes : public QMenu {
    Q_OBJECT
public:
    MenuPendentes(DitadosPendentes& pendentes, std::function<void(const DitadoPendente&)> retentar,
                  QWidget* parent = nullptr);
    void atualizar();
    static QString rotulo(const DitadoPendente& d);

private:
    DitadosPendentes& m_pendentes;
    std::function<void(const DitadoPendente&)> m_retentar;
    QFileSystemWatcher m_observador;
};

} // namespace sonvo::ui
