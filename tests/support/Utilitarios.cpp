#include "support/Utilitarios.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFile>
#include <QThread>
#include <QtEndian>

#include <cmath>
#include <sys/stat.h>

namespace sonvo::teste {

QByteArray wavSintetico(int taxa, int canais, double segundos)
{
    const qint64 quadros = static_cast<qint64>(taxa * segundos);
    const qint64 bytesDados = quadros * canais * 4;
    QByteArray w;
    w.reserve(44 + bytesDados);
    auto u32 = [&](quint32 v) { char b[4]; qToLittleEndian(v, b); w.append(b, 4); };
    auto u16 = [&](quint16 v) { char b[2]; qToLittleEndian(v, b); w.append(b, 2); };
    w += "RIFF"; u32(static_cast<quint32>(36 + bytesDados)); w += "WAVE";
    w += "fmt "; u32(16); u16(3 /* IEEE float */); u16(static_cast<quint16>(canais));
    u32(static_cast<quint32>(taxa)); u32(static_cast<quint32>(taxa * canais * 4));
    u16(static_cast<quint16>(canais * 4)); u16(32);
    w += "data"; u32(static_cast<quint32>(bytesDados));
    for (qint64 i = 0; i < quadros; ++i) {
        const float v = 0.5f * static_cast<float>(std::sin(2.0 * M_PI * 440.0 * static_cast<double>(i) / taxa));
        for (int c = 0; c < canais; ++c) {
            char b[4];
            qToLittleEndian(v, b);
            w.append(b, 4);
        }
    }
    return w;
}

bool gravarArquivo(const QString& caminho, const QByteArray& dados)
{
    QFile f(caminho);
    return f.open(QIODevice::WriteOnly | QIODevice::Truncate) && f.write(dados) == dados.size();
}

QByteArray lerArquivo(const QString& caminho)
{
    QFile f(caminho);
    return f.open(QIODevice::ReadOnly) ? f.readAll() : QByteArray();
}

int modoDe(const QString& caminho)
{
    struct stat st {};
    if (::stat(QFile::encodeName(caminho).constData(), &st) != 0)
        return -1;
    return static_cast<int>(st.st_mode & 0777);
}

bool girarAte(const std::function<bool()>& cond, int prazoMs)
{
    QElapsedTimer t;
    t.start();
    while (!cond()) {
        if (t.elapsed() > prazoMs)
            return false;
        QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
        QThread::msleep(2);
    }
    return true;
}

void girarPor(int ms)
{
    girarAte([] { return false; }, ms);
}

} // namespace sonvo::teste
