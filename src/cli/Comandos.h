#pragma once

#include "cli/Cli.h"

namespace sonvo::cli {

QCoro::Task<int> comandoChave(Contexto& ctx);
QCoro::Task<int> comandoConfig(Contexto& ctx);
QCoro::Task<int> comandoServico(Contexto& ctx);
QCoro::Task<int> comandoTranscrever(Contexto& ctx);
QCoro::Task<int> comandoCorrigir(Contexto& ctx);
QCoro::Task<int> comandoVocabulario(Contexto& ctx);
QCoro::Task<int> comandoHistorico(Contexto& ctx);
QCoro::Task<int> comandoTransformar(Contexto& ctx);
QCoro::Task<int> comandoDitar(Contexto& ctx);
QCoro::Task<int> comandoMicrofones(Contexto& ctx);
QCoro::Task<int> comandoPendentes(Contexto& ctx);
QCoro::Task<int> comandoRetentar(Contexto& ctx);
QCoro::Task<int> comandoDescartar(Contexto& ctx);
QCoro::Task<int> comandoIntencao(Contexto& ctx);
QCoro::Task<int> comandoAuditar(Contexto& ctx);
QCoro::Task<int> comandoSugestoes(Contexto& ctx);
QCoro::Task<int> comandoAlternar(Contexto& ctx);
QCoro::Task<int> comandoIniciar(Contexto& ctx);
QCoro::Task<int> comandoParar(Contexto& ctx);
QCoro::Task<int> comandoAutoinicio(Contexto& ctx);

} // namespace sonvo::cli
