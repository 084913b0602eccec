#pragma once

#include "platform/ControleRemoto.h"

namespace sonvo {

// The running Sonvo on the session bus: service and interface "br.com.sonvo.Sonvo", object "/".
class ControleRemotoDBus : public ControleRemoto {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "br.com.sonvo.Sonvo")
public:
    static constexpr const char* kServico = "br.com.sonvo.Sonvo";
    static constexpr int kPrazoMs = 5000;

    using ControleRemoto::ControleRemoto;
    ~ControleRemotoDBus() override;
    std::optional<QString> publicar() override;

public Q_SLOTS:
    Q_SCRIPTABLE void Alternar(bool menu);
    Q_SCRIPTABLE void Iniciar(bool menu);
    Q_SCRIPTABLE bool Parar();
    Q_SCRIPTABLE void OutraInstancia();

private:
    bool m_publicado = false;
};

} // namespace sonvo
