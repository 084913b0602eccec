#include "core/Configuracoes.h"

#include <QJsonDocument>
#include <QJsonObject>

namespace sonvo {

Configuracoes::Configuracoes(const QString& arquivo)
    : m_s(std::make_unique<QSettings>(arquivo, QSettings::IniFormat))
{
}

QVariantMap Configuracoes::padroesDoApp()
{
    return {
        {QStringLiteral("operationMode"), QStringLiteral("full")},
        {Interruptores::actionMenu, true},
        {Interruptores::intentModal, true},
        {Interruptores::streaming, true},
        {Interruptores::selecao, true},
        {QStringLiteral("iconVariant"), QStringLiteral("dark")},
    };
}

void Configuracoes::registrarPadroes(const QVariantMap& padroes)
{
    for (auto it = padroes.begin(); it != padroes.end(); ++it)
        m_padroes.insert(it.key(), it.value());
}

QString Configuracoes::arquivo() const
{
    return m_s->fileName();
}

bool Configuracoes::contem(const QString& chave) const
{
    // Another process (the command line, the user's editor) may have changed the file.
    m_s->sync();
    return m_s->contains(chave);
}

QVariant Configuracoes::valor(const QString& chave) const
{
    if (contem(chave))
        return m_s->value(chave);
    return m_padroes.value(chave);
}

std::optional<QString> Configuracoes::texto(const QString& chave) const
{
    const QVariant v = valor(chave);
    if (!v.isValid() || v.typeId() == QMetaType::QStringList)
        return std::nullopt;
    return v.toString();
}

bool Configuracoes::booleano(const QString& chave, bool seAusente) const
{
    const QVariant v = valor(chave);
    if (!v.isValid())
        return seAusente;
    if (v.typeId() == QMetaType::Bool)
        return v.toBool();
    // From the INI file a bool reads back as the text "true" / "false".
    const QString s = v.toString().trimmed().toLower();
    if (s == u"true" || s == u"1" || s == u"yes")
        return true;
    if (s == u"false" || s == u"0" || s == u"no")
        return false;
    return seAusente;
}

std::optional<double> Configuracoes::real(const QString& chave) const
{
    const QVariant v = valor(chave);
    if (!v.isValid())
        return std::nullopt;
    bool ok = false;
    const double d = v.toString().toDouble(&ok);
    if (ok)
        return d;
    if (v.canConvert<double>())
        return v.toDouble();
    return std::nullopt;
}

std::optional<QStringList> Configuracoes::lista(const QString& chave) const
{
    const QVariant v = valor(chave);
    if (!v.isValid()) {
        // QSettings stores an empty list as an invalid value.
        if (contem(chave))
            return QStringList{};
        return std::nullopt;
    }
    if (v.typeId() == QMetaType::QStringList)
        return v.toStringList();
    if (v.typeId() == QMetaType::QVariantList)
        return v.toStringList();
    // ...and a one-item list as a plain string.
    return QStringList{v.toString()};
}

QByteArray Configuracoes::dados(const QString& chave) const
{
    const QVariant v = valor(chave);
    if (!v.isValid())
        return {};
    if (v.typeId() == QMetaType::QByteArray)
        return v.toByteArray();
    return v.toString().toUtf8();
}

void Configuracoes::definir(const QString& chave, const QVariant& valor)
{
    m_s->setValue(chave, valor);
    m_s->sync();
}

void Configuracoes::remover(const QString& chave)
{
    m_s->remove(chave);
    m_s->sync();
}

QStringList Configuracoes::chavesDefinidas() const
{
    m_s->sync();
    return m_s->allKeys();
}

bool Configuracoes::sincronizar()
{
    m_s->sync();
    return m_s->status() == QSettings::NoError;
}

QMap<QString, QString> TeclaDeColar::ler(const Configuracoes& config)
{
    QMap<QString, QString> escolhas;
    const QJsonObject o = QJsonDocument::fromJson(config.dados(chave)).object();
    for (auto it = o.begin(); it != o.end(); ++it)
        escolhas.insert(it.key(), it.value().toString());
    return escolhas;
}

void TeclaDeColar::gravar(Configuracoes& config, const QMap<QString, QString>& escolhas)
{
    QJsonObject o;
    for (auto it = escolhas.begin(); it != escolhas.end(); ++it)
        if (const QString id = it.key().trimmed(); !id.isEmpty())
            o.insert(id, it.value());
    config.definir(chave, QJsonDocument(o).toJson(QJsonDocument::Compact));
}

std::optional<QString> TeclaDeColar::escolhida(const Configuracoes& config, const QString& app)
{
    const QMap<QString, QString> escolhas = ler(config);
    for (auto it = escolhas.begin(); it != escolhas.end(); ++it) {
        const bool conhecida = it.value() == ctrlV || it.value() == ctrlShiftV || it.value() == shiftInsert;
        if (conhecida && it.key().compare(app, Qt::CaseInsensitive) == 0)
            return it.value();
    }
    return std::nullopt;
}

} // namespace sonvo
