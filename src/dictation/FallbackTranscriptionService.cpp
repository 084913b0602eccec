#include "dictation/FallbackTranscriptionService.h"

#include "core/Configuracoes.h"
#include "dictation/ConversorWav.h"

#include <QDir>
#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QUuid>
#include <QCoroProcess>

#include <memory>

namespace sonvo {

namespace {
using Erro = FallbackTranscriptionService::FallbackErro;

bool executavel(const QString& caminho)
{
    const QFileInfo info(caminho);
    return info.isFile() && info.isExecutable();
}
} // namespace

std::optional<FallbackTranscriptionService::Reconhecedor>
FallbackTranscriptionService::localizar(const Configuracoes& config, const QString& pastaDados)
{
    QString programa = config.texto(QStringLiteral("whisperCliPath")).value_or(QString()).trimmed();
    if (programa.isEmpty())
        programa = QStandardPaths::findExecutable(QStringLiteral("whisper-cli"));
    if (programa.isEmpty() || !executavel(programa))
        return std::nullopt;

    QString modelo = config.texto(QStringLiteral("whisperModelPath")).value_or(QString()).trimmed();
    if (modelo.isEmpty()) {
        const QStringList achados = QDir(pastaDados + QStringLiteral("/models"))
                                        .entryList({QStringLiteral("ggml-*.bin")}, QDir::Files | QDir::Readable, QDir::Name);
        if (!achados.isEmpty())
            modelo = pastaDados + QStringLiteral("/models/") + achados.first();
    }
    if (modelo.isEmpty() || !QFileInfo(modelo).isFile())
        return std::nullopt;
    return Reconhecedor{programa, modelo};
}

FallbackTranscriptionService::FallbackTranscriptionService(std::optional<Reconhecedor> reconhecedor,
                                                           std::chrono::milliseconds prazo)
    : m_reconhecedor(std::move(reconhecedor)), m_prazo(prazo)
{
}

QCoro::Task<Resultado<QString, FallbackTranscriptionService::FallbackErro>>
FallbackTranscriptionService::transcrever(QString arquivo)
{
    if (!m_reconhecedor)
        co_return Erro{Erro::Caso::recognizerIndisponivel, QStringLiteral("reconhecimento local indisponível")};

    // The recogniser gets its own 16 kHz mono copy, removed whatever happens.
    const QString convertido = QDir::tempPath() + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()
        + QStringLiteral("-16k.wav");
    const std::unique_ptr<const QString, void (*)(const QString*)> remover(&convertido, [](const QString* c) { QFile::remove(*c); });
    if (const auto erro = converterParaReconhecimento(arquivo, convertido))
        co_return Erro{Erro::Caso::falhou, QStringLiteral("não foi possível ler o áudio (") + *erro + u')'};

    QProcess processo;
    processo.setProgram(m_reconhecedor->programa);
    processo.setArguments({QStringLiteral("-m"), m_reconhecedor->modelo, QStringLiteral("-l"), QStringLiteral("pt"),
                           QStringLiteral("-f"), convertido, QStringLiteral("-nt"), QStringLiteral("-np")});
    processo.setStandardInputFile(QProcess::nullDevice());
    if (!co_await qCoro(processo).start())
        co_return Erro{Erro::Caso::falhou, QStringLiteral("não foi possível executar ") + m_reconhecedor->programa};
    if (!co_await qCoro(processo).waitForFinished(m_prazo)) {
        processo.kill();
        co_await qCoro(processo).waitForFinished(std::chrono::seconds(5));
        co_return Erro{Erro::Caso::falhou, QStringLiteral("o reconhecimento local demorou demais")};
    }
    if (processo.exitStatus() != QProcess::NormalExit || processo.exitCode() != 0)
        co_return Erro{Erro::Caso::falhou,
                       QStringLiteral("o reconhecedor local terminou com erro (código %1)").arg(processo.exitCode())};

    // One segment per line, each with a leading blank: the text is the segments joined.
    QStringList segmentos;
    for (const QString& linha : QString::fromUtf8(processo.readAllStandardOutput()).split(u'\n'))
        if (!linha.trimmed().isEmpty())
            segmentos << linha.trimmed();
    co_return segmentos.join(u' ');
}

} // namespace sonvo
