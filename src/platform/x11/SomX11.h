#pragma once

#include "platform/Janelas.h"
#include "platform/x11/ConexaoX11.h"

#include <memory>

namespace sonvo::x11 {

// The sound theme's "complete" event through libcanberra, played off the main thread (opening
// the sound server can take a while); the X bell when it cannot be played.
class SomX11 : public SomEvento {
public:
    explicit SomX11(std::shared_ptr<ConexaoX11> x);
    ~SomX11() override;
    void tocarConclusao() override;

    struct Estado;

private:
    std::shared_ptr<Estado> m_estado;
};

} // namespace sonvo::x11
