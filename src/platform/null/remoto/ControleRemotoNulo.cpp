#include "platform/ControleRemoto.h"

namespace sonvo {

// A build without a session bus: nothing can reach the running Sonvo.
namespace {
const QString kSemCanal = QStringLiteral("Este sistema não oferece como falar com o Sonvo aberto.");

class ControleRemotoNulo : public ControleRemoto {
public:
    std::optional<QString> publicar() override { return kSemCanal; }
};

QCoro::Task<std::optional<QString>> semCanal()
{
    co_return kSemCanal;
}
} // namespace

QCoro::Task<std::optional<QString>> ClienteRemoto::alternar(bool)
{
    return semCanal();
}

QCoro::Task<std::optional<QString>> ClienteRemoto::avisarOutraInstancia()
{
    return semCanal();
}

std::unique_ptr<ControleRemoto> criarControleRemoto()
{
    return std::make_unique<ControleRemotoNulo>();
}

} // namespace sonvo
