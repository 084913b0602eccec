#pragma once

#include <functional>

#include <QByteArray>
#include <QCoroTask>
#include <QString>

#include <optional>

namespace sonvo::teste {

// A float32 WAV of a sine at half scale (the format the recorder writes).
QByteArray wavSintetico(int taxa, int canais, double segundos);
bool gravarArquivo(const QString& caminho, const QByteArray& dados);
QByteArray lerArquivo(const QString& caminho);
int modoDe(const QString& caminho); // st_mode & 0777, -1 when missing

// Spins the event loop until the condition holds or the time runs out (tests only).
bool girarAte(const std::function<bool()>& cond, int prazoMs = 5000);
void girarPor(int ms);

// Runs a coroutine to completion from a test (tests may spin an event loop; the application may not).
template <typename T>
T aguardar(QCoro::Task<T>&& tarefa)
{
    std::optional<T> r;
    QCoro::waitFor([&]() -> QCoro::Task<> { r.emplace(co_await std::move(tarefa)); }());
    return std::move(*r);
}

} // namespace sonvo::teste
