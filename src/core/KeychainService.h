#pragma once

#include "core/Resultado.h"

#include <QMap>
#include <QString>

#include <optional>

namespace sonvo {

// The API keys: despite the name, a small JSON file ("credentials.json", account -> key) with
// owner-only permissions in the data folder. Read afresh for every request; no cache.
class KeychainService {
public:
    struct KeychainErro {
        enum class Caso { statusInesperado, ioFalhou, itemNaoEncontrado, formatoInvalido };
        Caso caso;
        QString texto; // ioFalhou: "ler: " or "gravar: " + the cause
        bool operator==(const KeychainErro&) const = default;
        QString descricao() const;
    };
    using Mapa = QMap<QString, QString>;

    explicit KeychainService(QString pasta); // the data folder
    QString arquivo() const;

    // A missing file is an empty map; content that parses but is not an object of strings too.
    Resultado<Mapa, KeychainErro> carregar() const;
    // Sorted keys, compact, atomic; the folder is created 0700 and the file ends 0600.
    std::optional<KeychainErro> gravar(const Mapa& mapa) const;

    // As the settings pane saves: empty text removes only that account; otherwise stored as typed.
    std::optional<KeychainErro> salvarChave(const QString& conta, const QString& texto) const;

    // The key for a request: a missing account, an empty value or a load failure are all "no key".
    std::optional<QString> chave(const QString& conta) const;

private:
    QString m_pasta;
};

} // namespace sonvo
