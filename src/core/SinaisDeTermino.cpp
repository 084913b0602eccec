#include "core/SinaisDeTermino.h"

#include <QSocketNotifier>

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace sonvo {

namespace {
int g_tubo[2] = {-1, -1};

void aoReceberSinal(int)
{
    const char c = 1;
    [[maybe_unused]] const auto n = ::write(g_tubo[1], &c, 1); // async-signal-safe
}
} // namespace

SinaisDeTermino::SinaisDeTermino(QObject* parent) : QObject(parent)
{
    if (::pipe2(g_tubo, O_CLOEXEC | O_NONBLOCK) != 0)
        return; // without the pipe the signals keep their default: the process just ends
    m_notificador = std::make_unique<QSocketNotifier>(g_tubo[0], QSocketNotifier::Read);
    connect(m_notificador.get(), &QSocketNotifier::activated, this, [this] {
        char c[16];
        while (::read(g_tubo[0], c, sizeof c) > 0) {
        }
        Q_EMIT recebido();
    });
    std::signal(SIGINT, aoReceberSinal);
    std::signal(SIGTERM, aoReceberSinal);
}

SinaisDeTermino::~SinaisDeTermino()
{
    if (!m_notificador)
        return;
    std::signal(SIGINT, SIG_DFL);
    std::signal(SIGTERM, SIG_DFL);
    m_notificador.reset();
    ::close(g_tubo[0]);
    ::close(g_tubo[1]);
    g_tubo[0] = g_tubo[1] = -1;
}

} // namespace sonvo
