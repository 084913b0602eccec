#include "core/Arquivos.h"

#include <QDir>
#include <QFileInfo>
#include <QTimeZone>

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace sonvo {

namespace {
QString envOu(const char* nome, const QString& padrao)
{
    const QByteArray v = qgetenv(nome);
    // XDG says a relative path is invalid and must be ignored.
    if (v.isEmpty() || !v.startsWith('/'))
        return padrao;
    return QString::fromLocal8Bit(v);
}

ErroArquivo erroDe(int codigo)
{
    return ErroArquivo{codigo, Arquivos::descricaoErro(codigo)};
}
} // namespace

bool ErroArquivo::naoExiste() const
{
    return codigo == ENOENT;
}

QString Caminhos::baseDados()
{
    return envOu("XDG_DATA_HOME", QDir::homePath() + QStringLiteral("/.local/share"));
}

QString Caminhos::pastaDados()
{
    const QString pasta = baseDados() + QStringLiteral("/Sonvo");
    garantirPasta(pasta);
    return pasta;
}

QString Caminhos::pastaAntiga()
{
    return baseDados() + QStringLiteral("/Vozel");
}

QString Caminhos::arquivoConfig()
{
    return envOu("XDG_CONFIG_HOME", QDir::homePath() + QStringLiteral("/.config")) + QStringLiteral("/Sonvo/Sonvo.conf");
}

void Caminhos::garantirPasta(const QString& pasta)
{
    const QByteArray nome = QFile::encodeName(pasta);
    struct stat st {};
    if (::stat(nome.constData(), &st) == 0)
        return;
    QDir().mkpath(QFileInfo(pasta).absolutePath());
    // Errors are left for the read or write that follows to report.
    if (::mkdir(nome.constData(), 0700) == 0)
        ::chmod(nome.constData(), 0700);
}

QString Arquivos::descricaoErro(int codigo)
{
    switch (codigo) {
    case ENOENT: return QStringLiteral("arquivo ou pasta inexistente");
    case EACCES:
    case EPERM: return QStringLiteral("permissão negada");
    case EISDIR: return QStringLiteral("é uma pasta");
    case ENOTDIR: return QStringLiteral("não é uma pasta");
    case ENOSPC: return QStringLiteral("sem espaço no disco");
    case EROFS: return QStringLiteral("sistema de arquivos somente leitura");
    case EDQUOT: return QStringLiteral("cota de disco excedida");
    case ELOOP: return QStringLiteral("link simbólico não permitido");
    case EIO: return QStringLiteral("erro de entrada e saída");
    case EMFILE:
    case ENFILE: return QStringLiteral("arquivos abertos demais");
    case ENAMETOOLONG: return QStringLiteral("nome longo demais");
    case EFBIG: return QStringLiteral("arquivo grande demais");
    default: return QString::fromLocal8Bit(std::strerror(codigo));
    }
}

bool Arquivos::existe(const QString& caminho)
{
    struct stat st {};
    return ::lstat(QFile::encodeName(caminho).constData(), &st) == 0;
}

Resultado<QByteArray, ErroArquivo> Arquivos::ler(const QString& caminho)
{
    QByteArray dados;
    if (auto erro = lerAnexando(caminho, dados))
        return *erro;
    return dados;
}

std::optional<ErroArquivo> Arquivos::lerAnexando(const QString& caminho, QByteArray& destino)
{
    const QByteArray nome = QFile::encodeName(caminho);
    const int fd = ::open(nome.constData(), O_RDONLY | O_CLOEXEC);
    if (fd < 0)
        return erroDe(errno);
    const qsizetype tamanhoOriginal = destino.size();
    auto falhar = [&](int e) {
        ::close(fd);
        destino.truncate(tamanhoOriginal);
        return erroDe(e);
    };
    struct stat st {};
    if (::fstat(fd, &st) != 0)
        return falhar(errno);
    if (S_ISDIR(st.st_mode))
        return falhar(EISDIR);
    if (S_ISREG(st.st_mode) && st.st_size > 0 && destino.capacity() - tamanhoOriginal < st.st_size)
        destino.reserve(tamanhoOriginal + static_cast<qsizetype>(st.st_size));
    for (;;) {
        // Fill the room already reserved in place; past it (a file that grew, a pipe) go in blocks.
        const qsizetype antes = destino.size();
        const qsizetype livre = destino.capacity() - antes;
        ssize_t n = 0;
        if (livre > 0) {
            destino.resize(antes + livre);
            n = ::read(fd, destino.data() + antes, static_cast<size_t>(livre));
            destino.resize(antes + std::max<ssize_t>(n, 0));
        } else {
            char bloco[65536];
            n = ::read(fd, bloco, sizeof bloco);
            if (n > 0)
                destino.append(bloco, n);
        }
        if (n == 0)
            break;
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return falhar(errno);
        }
    }
    ::close(fd);
    return std::nullopt;
}

std::optional<ErroArquivo> Arquivos::moverAtomico(const QString& origem, const QString& destino)
{
    const QByteArray de = QFile::encodeName(origem);
    const QByteArray para = QFile::encodeName(destino);
    if (::rename(de.constData(), para.constData()) == 0) {
        ::chmod(para.constData(), 0600);
        return std::nullopt;
    }
    if (errno != EXDEV)
        return erroDe(errno);
    const int entrada = ::open(de.constData(), O_RDONLY | O_CLOEXEC);
    if (entrada < 0)
        return erroDe(errno);
    const QFileInfo info(destino);
    QByteArray modelo = QFile::encodeName(info.absolutePath() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".XXXXXX"));
    const int saida = ::mkstemp(modelo.data()); // created 0600
    if (saida < 0) {
        const int e = errno;
        ::close(entrada);
        return erroDe(e);
    }
    auto falhar = [&](int e) {
        ::close(entrada);
        ::close(saida);
        ::unlink(modelo.constData());
        return erroDe(e);
    };
    char bloco[1 << 16];
    for (;;) {
        const ssize_t n = ::read(entrada, bloco, sizeof bloco);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return falhar(errno);
        if (n == 0)
            break;
        for (ssize_t feito = 0; feito < n;) {
            const ssize_t w = ::write(saida, bloco + feito, static_cast<size_t>(n - feito));
            if (w < 0 && errno == EINTR)
                continue;
            if (w < 0)
                return falhar(errno);
            feito += w;
        }
    }
    if (::fsync(saida) != 0)
        return falhar(errno);
    ::close(entrada);
    if (::close(saida) != 0 || ::rename(modelo.constData(), para.constData()) != 0) {
        const int e = errno;
        ::unlink(modelo.constData());
        return erroDe(e);
    }
    ::unlink(de.constData());
    return std::nullopt;
}

std::optional<ErroArquivo> Arquivos::gravarAtomico(const QString& caminho, const QByteArray& dados)
{
    const QFileInfo info(caminho);
    QByteArray modelo = QFile::encodeName(info.absolutePath() + QStringLiteral("/.") + info.fileName() + QStringLiteral(".XXXXXX"));
    const int fd = ::mkstemp(modelo.data()); // created 0600
    if (fd < 0)
        return erroDe(errno);
    auto falhar = [&](int e) {
        ::close(fd);
        ::unlink(modelo.constData());
        return erroDe(e);
    };
    const char* p = dados.constData();
    qsizetype falta = dados.size();
    while (falta > 0) {
        const ssize_t n = ::write(fd, p, static_cast<size_t>(falta));
        if (n < 0) {
            if (errno == EINTR)
                continue;
            return falhar(errno);
        }
        p += n;
        falta -= n;
    }
    if (::fsync(fd) != 0)
        return falhar(errno);
    if (::close(fd) != 0) {
        const int e = errno;
        ::unlink(modelo.constData());
        return erroDe(e);
    }
    const QByteArray destino = QFile::encodeName(caminho);
    if (::rename(modelo.constData(), destino.constData()) != 0) {
        const int e = errno;
        ::unlink(modelo.constData());
        return erroDe(e);
    }
    ::chmod(destino.constData(), 0600);
    return std::nullopt;
}

std::optional<QString> Arquivos::preservarCorrompido(const QString& caminho, const QDateTime& agora)
{
    const QString novo = caminho + QStringLiteral(".corrupt-") + agora.toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmss'Z'"));
    if (::rename(QFile::encodeName(caminho).constData(), QFile::encodeName(novo).constData()) != 0)
        return std::nullopt;
    return novo;
}

QByteArray Json::bonito(const QJsonDocument& doc)
{
    return doc.toJson(QJsonDocument::Indented);
}

QString Json::dataIso(const QDateTime& quando)
{
    return quando.toUTC().toString(QStringLiteral("yyyy-MM-dd'T'HH:mm:ss'Z'"));
}

std::optional<QDateTime> Json::lerDataIso(const QString& texto)
{
    QDateTime d = QDateTime::fromString(texto, Qt::ISODateWithMs);
    if (!d.isValid())
        d = QDateTime::fromString(texto, Qt::ISODate);
    if (!d.isValid())
        return std::nullopt;
    return d.toUTC();
}

QString Arquivos::destinoDeGravacao(const QString& caminho)
{
    const QFileInfo info(caminho);
    if (!info.isSymLink())
        return caminho;
    const QString canonico = info.canonicalFilePath();
    if (!canonico.isEmpty())
        return canonico;
    const QString alvo = info.symLinkTarget();
    return alvo.isEmpty() ? caminho : alvo;
}

} // namespace sonvo
