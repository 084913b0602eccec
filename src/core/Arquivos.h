#pragma once

#include "core/Resultado.h"

#include <QByteArray>
#include <QDateTime>
#include <QJsonDocument>
#include <QString>

#include <optional>

namespace sonvo {

// Where Sonvo keeps things. Read from the environment on every call, so tests and the
// command line can point XDG_DATA_HOME / XDG_CONFIG_HOME at temporary folders.
namespace Caminhos {
QString baseDados();     // $XDG_DATA_HOME, else ~/.local/share
QString pastaDados();    // baseDados()/Sonvo, created with mode 0700 when missing
QString pastaAntiga();   // baseDados()/Vozel, the product's former folder (never created)
QString arquivoConfig(); // $XDG_CONFIG_HOME/Sonvo/Sonvo.conf
// Creates the folder (and its parents) when missing; the folder itself gets 0700.
void garantirPasta(const QString& pasta);
} // namespace Caminhos

struct ErroArquivo {
    int codigo = 0;    // errno
    QString descricao; // Portuguese description of the cause
    bool naoExiste() const;
};

namespace Arquivos {

// Portuguese text for a system error number.
QString descricaoErro(int codigo);

bool existe(const QString& caminho);

// Reads a whole file.
Resultado<QByteArray, ErroArquivo> ler(const QString& caminho);
// Reads a whole file onto the end of `destino` (no intermediate copy); on failure `destino` is
// left as it was.
std::optional<ErroArquivo> lerAnexando(const QString& caminho, QByteArray& destino);

// Writes through a temporary file in the same folder and renames it into place, so a reader sees
// the old or the new file, never a torn one. The file ends with mode 0600.
std::optional<ErroArquivo> gravarAtomico(const QString& caminho, const QByteArray& dados);

// Moves a file into place with mode 0600. Within one file system a rename; across two, a copy to a
// temporary file beside the destination, synced and renamed, then the source removed: the
// destination is never seen half-written.
std::optional<ErroArquivo> moverAtomico(const QString& origem, const QString& destino);

// Keeps a file that is about to be replaced because it could not be decoded, beside it, as
// "<name>.corrupt-<UTC time>". Returns the new path, or nothing when the rename failed.
std::optional<QString> preservarCorrompido(const QString& caminho, const QDateTime& agora);

// Where a write to `caminho` must land: a file reached through a symbolic link (a notes vault, a
// synced folder) is updated where it really lives, since replacing the link would leave it behind.
QString destinoDeGravacao(const QString& caminho);
} // namespace Arquivos

namespace Json {
// Pretty-printed; QJsonObject keeps its keys sorted.
QByteArray bonito(const QJsonDocument& doc);
QString dataIso(const QDateTime& quando);               // 2025-03-01T14:05:09Z
std::optional<QDateTime> lerDataIso(const QString& texto); // UTC, with or without fraction
} // namespace Json

} // namespace sonvo
