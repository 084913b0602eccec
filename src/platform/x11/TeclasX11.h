#pragma once

#include "platform/Janelas.h"

#include <memory>

typedef struct _XDisplay Display;

namespace sonvo::x11 {

// Synthetic keys through the XTEST extension, on a connection of their own (Xlib, which XTest
// needs). Only valid keycodes are ever sent, so no X error can reach Xlib's default handler.
class TeclasX11 : public TeclasSinteticas {
public:
    // Nothing when there is no display or it lacks XTEST.
    static std::unique_ptr<TeclasX11> criar();
    ~TeclasX11() override;
    TeclasX11(const TeclasX11&) = delete;
    TeclasX11& operator=(const TeclasX11&) = delete;

    void soltarModificadores() override;
    QCoro::Task<bool> colar(TeclaColar tecla) override;
    QString forma() const override;
    QCoro::Task<bool> aguardarSoltura(std::chrono::milliseconds limite) override;

private:
    explicit TeclasX11(Display* d) : m_d(d) {}
    Display* m_d;
};

} // namespace sonvo::x11
