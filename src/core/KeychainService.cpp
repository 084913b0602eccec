#include "core/KeychainService.h"

#include "core/Arquivos.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QJsonParseError>

namespace sonvo {

QString KeychainService::KeychainErro::descricao() const
{
    switch (caso) {
    case Caso::statusInesperado: return QStringLiteral("Status inesperado do armazenamento de chaves");
    case Caso::ioFalhou: return QStringLiteral("Falha de E/S: ") + texto;
    case Caso::itemNaoEncontrado: return QStringLiteral("Chave não encontrada");
    case Caso::formatoInvalido: return QStringLiteral("Formato inválido");
    }
    return {};
}

KeychainService::KeychainService(QString pasta) : m_pasta(std::move(pasta)) {}

QString KeychainService::arquivo() const
{
    return m_pasta + QStringLiteral("/credentials.json");
}

Resultado<KeychainService::Mapa, KeychainService::KeychainErro> KeychainService::carregar() const
{
    const auto lido = Arquivos::ler(arquivo());
    if (!lido) {
        if (lido.erro().naoExiste())
            return Mapa{};
        return KeychainErro{KeychainErro::Caso::ioFalhou, QStringLiteral("ler: ") + lido.erro().descricao};
    }
    QJsonParseError erro{};
    const QJsonDocument doc = QJsonDocument::fromJson(lido.valor(), &erro);
    if (erro.error != QJsonParseError::NoError)
        return KeychainErro{KeychainErro::Caso::ioFalhou, QStringLiteral("ler: ") + erro.errorString()};
    if (!doc.isObject())
        return Mapa{};
    Mapa mapa;
    const QJsonObject obj = doc.object();
    for (auto it = obj.begin(); it != obj.end(); ++it) {
        if (!it.value().isString())
            return Mapa{}; // one member of another type spoils the whole file
        mapa.insert(it.key(), it.value().toString());
    }
    return mapa;
}

std::optional<KeychainService::KeychainErro> KeychainService::gravar(const Mapa& mapa) const
{
    Caminhos::garantirPasta(m_pasta);
    QJsonObject obj;
    for (auto it = mapa.begin(); it != mapa.end(); ++it)
        obj.insert(it.key(), it.value());
    const QByteArray json = QJsonDocument(obj).toJson(QJsonDocument::Compact);
    if (const auto erro = Arquivos::gravarAtomico(arquivo(), json))
        return KeychainErro{KeychainErro::Caso::ioFalhou, QStringLiteral("gravar: ") + erro->descricao};
    return std::nullopt;
}

std::optional<KeychainService::KeychainErro> KeychainService::salvarChave(const QString& conta, const QString& texto) const
{
    auto mapa = carregar();
    if (!mapa)
        return mapa.erro();
    if (texto.isEmpty())
        mapa.valor().remove(conta);
    else
        mapa.valor().insert(conta, texto);
    return gravar(mapa.valor());
}

std::optional<QString> KeychainService::chave(const QString& conta) const
{
    const auto mapa = carregar();
    if (!mapa)
        return std::nullopt;
    const QString v = mapa.valor().value(conta);
    if (v.isEmpty())
        return std::nullopt;
    return v;
}

} // namespace sonvo
