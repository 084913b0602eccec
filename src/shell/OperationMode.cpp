#include "shell/OperationMode.h"

#include "core/Configuracoes.h"
#include "core/Log.h"

namespace sonvo {

QString OperationModes::rawValue(OperationMode m)
{
    switch (m) {
    case OperationMode::full: return QStringLiteral("full");
    case OperationMode::minimal: return QStringLiteral("minimal");
    case OperationMode::stealth: return QStringLiteral("stealth");
    case OperationMode::custom: return QStringLiteral("custom");
    }
    return {};
}

QString OperationModes::descricao(OperationMode m, const QStringList& rotulosAtalhos)
{
    switch (m) {
    case OperationMode::full:
        return QStringLiteral("Action menu + intent modal + streaming + selection context — modo mais rico, mostra tudo");
    case OperationMode::minimal:
        return QStringLiteral("Action menu + intent modal + selection context — sem streaming progressivo");
    case OperationMode::stealth:
        return QStringLiteral("Paste direto, zero modais — pegada visual mínima, ") + rotulosAtalhos.join(QStringLiteral(" e "))
               + QStringLiteral(" fazem a mesma coisa");
    case OperationMode::custom:
        return QStringLiteral("Configuração customizada — toggles abaixo divergem dos presets");
    }
    return {};
}

OperationMode OperationModes::currentOperationMode(const Configuracoes& config)
{
    const bool a = config.booleano(Interruptores::actionMenu);
    const bool i = config.booleano(Interruptores::intentModal);
    const bool s = config.booleano(Interruptores::streaming);
    const bool c = config.booleano(Interruptores::selecao);
    if (a)
        return i && c ? (s ? OperationMode::full : OperationMode::minimal) : OperationMode::custom;
    return !i && !s && !c ? OperationMode::stealth : OperationMode::custom;
}

void OperationModes::applyOperationPreset(Configuracoes& config, OperationMode m)
{
    auto escrever = [&](bool a, bool i, bool s, bool c) {
        config.definir(Interruptores::actionMenu, a);
        config.definir(Interruptores::intentModal, i);
        config.definir(Interruptores::streaming, s);
        config.definir(Interruptores::selecao, c);
    };
    switch (m) {
    case OperationMode::full: escrever(true, true, true, true); break;
    case OperationMode::minimal: escrever(true, true, false, true); break;
    case OperationMode::stealth: escrever(false, false, false, false); break;
    case OperationMode::custom: break;
    }
    config.definir(QStringLiteral("operationMode"), rawValue(m));
    Log::tag("Phase7", QStringLiteral("applyOperationPreset(%@)"), {rawValue(m)});
}

} // namespace sonvo
