#include "dictation/DitadosPendentes.h"

#include "core/Arquivos.h"
#include "core/Log.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonObject>
#include <QRandomGenerator>

#include <sndfile.h>

namespace sonvo {

namespace {
const QString kExtensaoAudio = QStringLiteral(".wav");
const QString kExtensaoDados = QStringLiteral(".json");

double duracaoDe(const QString& audio)
{
    SF_INFO info{};
    SNDFILE* f = sf_open(QFile::encodeName(audio).constData(), SFM_READ, &info);
    if (!f)
        return 0.0;
    sf_close(f);
    return info.samplerate > 0 ? static_cast<double>(info.frames) / info.samplerate : 0.0;
}

std::optional<QString> textoOpcional(const QJsonObject& o, const char* chave)
{
    const QJsonValue v = o.value(QLatin1String(chave));
    return v.isString() ? std::optional(v.toString()) : std::nullopt;
}
} // namespace

DitadosPendentes::DitadosPendentes(const QString& pastaDados, std::function<QDateTime()> relogio)
    : m_pasta(pastaDados + QStringLiteral("/pendentes")), m_relogio(std::move(relogio))
{
    if (!m_relogio)
        m_relogio = [] { return QDateTime::currentDateTimeUtc(); };
}

Resultado<DitadoPendente, QString> DitadosPendentes::guardar(const QString& audio, DitadoPendente dados)
{
    Caminhos::garantirPasta(m_pasta);
    if (!dados.quando.isValid())
        dados.quando = m_relogio();
    dados.id = dados.quando.toUTC().toString(QStringLiteral("yyyyMMdd'T'HHmmsszzz'Z'")) + u'-'
        + QString::number(QRandomGenerator::global()->generate(), 16).rightJustified(8, u'0');
    dados.audio = m_pasta + u'/' + dados.id + kExtensaoAudio;
    dados.duracao = duracaoDe(audio);
    QJsonObject o{{QStringLiteral("quando"), Json::dataIso(dados.quando)},
                  {QStringLiteral("erro"), dados.erro},
                  {QStringLiteral("duracao"), dados.duracao}};
    if (dados.app)
        o.insert(QStringLiteral("app"), *dados.app);
    if (dados.atalho)
        o.insert(QStringLiteral("atalho"), *dados.atalho);
    // The description first: a listing (driven by the audio files) never finds the audio without it.
    const QString json = m_pasta + u'/' + dados.id + kExtensaoDados;
    if (const auto erro = Arquivos::gravarAtomico(json, Json::bonito(QJsonDocument(o))))
        Log::tag("Pendentes", QStringLiteral("falha ao gravar a descrição de %@: %@"), {dados.id, erro->descricao});
    if (const auto erro = Arquivos::moverAtomico(audio, dados.audio)) {
        QFile::remove(json);
        return erro->descricao;
    }
    aplicarLimites(dados.id);
    return dados;
}

QList<DitadoPendente> DitadosPendentes::listar() const
{
    QList<DitadoPendente> lista;
    const QFileInfoList audios = QDir(m_pasta).entryInfoList({QStringLiteral("*") + kExtensaoAudio}, QDir::Files);
    for (const QFileInfo& info : audios) {
        DitadoPendente d;
        d.id = info.completeBaseName();
        d.audio = info.absoluteFilePath();
        const auto json = Arquivos::ler(m_pasta + u'/' + d.id + kExtensaoDados);
        const QJsonObject o = json ? QJsonDocument::fromJson(json.valor()).object() : QJsonObject();
        d.quando = Json::lerDataIso(o.value(QStringLiteral("quando")).toString()).value_or(info.lastModified().toUTC());
        d.app = textoOpcional(o, "app");
        d.erro = o.value(QStringLiteral("erro")).toString();
        d.atalho = textoOpcional(o, "atalho");
        d.duracao = o.contains(QStringLiteral("duracao")) ? o.value(QStringLiteral("duracao")).toDouble() : duracaoDe(d.audio);
        lista << d;
    }
    std::sort(lista.begin(), lista.end(), [](const DitadoPendente& a, const DitadoPendente& b) {
        return a.quando != b.quando ? a.quando > b.quando : a.id > b.id;
    });
    return lista;
}

std::optional<DitadoPendente> DitadosPendentes::porId(const QString& id) const
{
    for (const DitadoPendente& d : listar())
        if (d.id == id)
            return d;
    return std::nullopt;
}

void DitadosPendentes::atualizarErro(const QString& id, const QString& erro)
{
    if (!QFileInfo::exists(m_pasta + u'/' + id + kExtensaoAudio))
        return; // discarded meanwhile: no description without its audio
    const QString caminho = m_pasta + u'/' + id + kExtensaoDados;
    const auto json = Arquivos::ler(caminho);
    QJsonObject o = json ? QJsonDocument::fromJson(json.valor()).object() : QJsonObject();
    o.insert(QStringLiteral("erro"), erro);
    Arquivos::gravarAtomico(caminho, Json::bonito(QJsonDocument(o)));
}

bool DitadosPendentes::remover(const QString& id)
{
    const bool audio = QFile::remove(m_pasta + u'/' + id + kExtensaoAudio);
    QFile::remove(m_pasta + u'/' + id + kExtensaoDados);
    return audio;
}

void DitadosPendentes::aplicarLimites(const QString& manter)
{
    QList<DitadoPendente> lista = listar();
    qint64 bytes = 0;
    for (const DitadoPendente& d : lista)
        bytes += QFileInfo(d.audio).size();
    // Oldest first; the dictation just kept stays even when it alone is over the limit.
    while (!lista.isEmpty() && (lista.size() > kMaximo || bytes > kBytesMaximos) && lista.last().id != manter) {
        const DitadoPendente velho = lista.takeLast();
        bytes -= QFileInfo(velho.audio).size();
        remover(velho.id);
        Log::tag("Pendentes", QStringLiteral("ditado pendente mais antigo descartado (limite de %d ditados ou %d MB): %@"),
                 {kMaximo, static_cast<long long>(kBytesMaximos / 1000 / 1000), velho.id});
    }
}

} // namespace sonvo
