#pragma once

#include "cli/Cli.h"

namespace sonvo::cli {

QCoro::Task<int> comandoChave(Contexto& ctx);
QCoro::Task<int> comandoConfig(Contexto& ctx);
QCoro::Task<int> comandoTranscrever(Contexto& ctx);

} // namespace sonvo::cli
