#pragma once

#include <QObject>

#include <memory>

class QSocketNotifier;

namespace sonvo {

// Turns SIGINT and SIGTERM (Ctrl-C, the session ending) into a Qt signal on the thread that made
// this object: the handler only writes a byte to a pipe. One at a time; the default handlers come
// back when it is destroyed.
class SinaisDeTermino : public QObject {
    Q_OBJECT
public:
    explicit SinaisDeTermino(QObject* parent = nullptr);
    ~SinaisDeTermino() override;

Q_SIGNALS:
    void recebido();

private:
    std::unique_ptr<QSocketNotifier> m_notificador;
};

} // namespace sonvo
