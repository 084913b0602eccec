#include "ui/MenuPendentes.h"

#include "core/Arquivos.h"
#include "dictation/DitadosPendentes.h"

#include <cmath>

namespace sonvo::ui {

MenuPendentes::MenuPendentes(DitadosPendentes& pendentes, std::function<void(const DitadoPendente&)> retentar, QWidget* parent)
    : QMenu(parent), m_pendentes(pendentes), m_retentar(std::move(retentar))
{
    Caminhos::garantirPasta(m_pendentes.pasta());
    m_observador.addPath(m_pendentes.pasta());
    connect(&m_observador, &QFileSystemWatcher::directoryChanged, this, &MenuPendentes::atualizar);
    atualizar();
}

QString MenuPendentes::rotulo(const DitadoPendente& d)
{
    const auto s = static_cast<long long>(std::lround(d.duracao));
    return QStringLiteral("Tentar de novo: %1 (%2:%3) — %4")
        .arg(d.quando.toLocalTime().toString(QStringLiteral("dd/MM HH:mm")))
        .arg(s / 60)
        .arg(s % 60, 2, 10, QLatin1Char('0'))
        .arg(d.erro.size() > 60 ? d.erro.left(59) + u'…' : d.erro); // a server's whole message would widen the menu
}

void MenuPendentes::atualizar()
{
    clear();
    const QList<DitadoPendente> lista = m_pendentes.listar();
    setTitle(QStringLiteral("Ditados pendentes (%1)").arg(lista.size()));
    menuAction()->setVisible(!lista.isEmpty());
    for (const DitadoPendente& d : lista)
        addAction(rotulo(d), this, [this, d] { m_retentar(d); });
}

} // namespace sonvo::ui
