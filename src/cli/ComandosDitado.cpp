#include "cli/Comandos.h"
#include "core/Arquivos.h"
#include "core/SinaisDeTermino.h"
#include "dictation/DitadosPendentes.h"
#include "dictation/Insercao.h"
#include "dictation/SpeechManager.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/Plataforma.h"
#include "platform/null/PlataformaNula.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSocketNotifier>
#include <QUuid>
#include <QCoroSignal>

#include <algorithm>
#include <cmath>

#include <cstdio>
#include <unistd.h>

namespace sonvo::cli {

namespace {

// The command line prints the text instead of pasting it.
class SemInsercao : public Insercao {
public:
    QCoro::Task<> inserir(QString) override { co_return; }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return {}; }
};

struct Opcoes {
    std::optional<QString> app;
    bool ok = true;
};

Opcoes lerApp(Contexto& ctx)
{
    Opcoes o;
    o.app = ctx.args.opcao(QStringLiteral("--app"));
    if (ctx.args.faltouValor()) {
        erroDeUso(QStringLiteral("Falta o valor de --app"));
        o.ok = false;
    }
    return o;
}

// Runs a dictation to its end and prints its text (or its error). With `guardarFalhas` a failed
// dictation's audio is kept among the pending ones.
class Ditado {
public:
    Ditado(Contexto& ctx, EntradaAudio& audio, const std::optional<QString>& app, bool guardarFalhas)
        : m_pasta(Caminhos::pastaDados()), m_vocab(m_pasta, ctx.config), m_historico(m_pasta), m_pendentes(m_pasta),
          m_speech(SpeechManager::Dependencias{ctx.config, ctx.rede, m_pasta, audio, m_insercao, m_som, m_vocab, m_historico,
                                               QString(), nullptr, std::chrono::seconds(60), std::chrono::minutes(2),
                                               guardarFalhas ? &m_pendentes : nullptr})
    {
        m_speech.pularInsercao = true;
        m_speech.contextoBundleID = app;
        m_speech.atalhoUsado = QStringLiteral("sonvo ditar");
    }
    SpeechManager& speech() { return m_speech; }

    QCoro::Task<int> aguardarFim()
    {
        while (m_speech.recordingState().caso == RecordingState::Caso::transcribing)
            co_await qCoro(&m_speech, &SpeechManager::recordingStateChanged);
        const RecordingState e = m_speech.recordingState();
        if (e.ehErro()) {
            escreverErro(e.mensagem);
            co_return falha;
        }
        escreverSaida(m_speech.ultimaTranscricao().value_or(QString()) + u'\n');
        co_return sucesso;
    }

private:
    QString m_pasta;
    VocabularyService m_vocab;
    TranscriptionHistory m_historico;
    DitadosPendentes m_pendentes;
    SemInsercao m_insercao;
    SomNulo m_som;
    SpeechManager m_speech;
};

} // namespace

QCoro::Task<int> comandoTranscrever(Contexto& ctx)
{
    const Opcoes o = lerApp(ctx);
    if (!o.ok)
        co_return uso;
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    if (pos.size() != 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo transcrever ARQUIVO [--app ID]"));

    // The pipeline deletes its WAV when it ends: it gets a copy, never the user's file.
    const QString copia = QDir::tempPath() + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()
        + QStringLiteral(".wav");
    if (!QFile::copy(pos.first(), copia)) {
        // An unreadable file is what a failed network would be: the local fallback decides.
        QFile::remove(copia);
    }
    EntradaAudioNula semMicrofone;
    Ditado ditado(ctx, semMicrofone, o.app, false);
    ditado.speech().transcreverArquivo(copia);
    co_return co_await ditado.aguardarFim();
}

namespace {
// "N" of the pending list (1 is the newest); usage error otherwise.
std::optional<DitadoPendente> escolherPendente(const QList<DitadoPendente>& lista, const QString& n)
{
    bool ok = false;
    const int i = n.toInt(&ok);
    if (!ok || i < 1 || i > lista.size())
        return std::nullopt;
    return lista.at(i - 1);
}

QString minutos(double segundos)
{
    const auto s = static_cast<long long>(std::lround(segundos));
    return QStringLiteral("%1:%2").arg(s / 60).arg(s % 60, 2, 10, QLatin1Char('0'));
}
} // namespace

QCoro::Task<int> comandoPendentes(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("Uso: sonvo pendentes"));
    const QList<DitadoPendente> lista = DitadosPendentes(Caminhos::pastaDados()).listar();
    if (lista.isEmpty()) {
        escreverSaida(QStringLiteral("Nenhum ditado pendente\n"));
        co_return sucesso;
    }
    QString saida;
    for (qsizetype i = 0; i < lista.size(); ++i) {
        const DitadoPendente& d = lista.at(i);
        saida += QStringLiteral("%1  %2  %3  %4\n")
                     .arg(i + 1)
                     .arg(d.quando.toLocalTime().toString(QStringLiteral("dd/MM/yyyy HH:mm")), minutos(d.duracao), d.erro);
    }
    escreverSaida(saida);
    co_return sucesso;
}

QCoro::Task<int> comandoRetentar(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    if (pos.size() > 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo retentar [N]"));
    const QList<DitadoPendente> lista = DitadosPendentes(Caminhos::pastaDados()).listar();
    if (lista.isEmpty()) {
        escreverErro(QStringLiteral("Nenhum ditado pendente"));
        co_return falha;
    }
    const std::optional<DitadoPendente> d = escolherPendente(lista, pos.value(0, QStringLiteral("1")));
    if (!d) {
        escreverErro(QStringLiteral("Não há ditado pendente ") + pos.value(0) + QStringLiteral(" (veja: sonvo pendentes)"));
        co_return falha;
    }
    EntradaAudioNula semMicrofone;
    Ditado ditado(ctx, semMicrofone, d->app, true);
    if (!ditado.speech().retentar(*d)) {
        escreverErro(QStringLiteral("O ditado pendente ") + pos.value(0, QStringLiteral("1")) + QStringLiteral(" não existe mais"));
        co_return falha;
    }
    co_return co_await ditado.aguardarFim();
}

QCoro::Task<int> comandoDescartar(Contexto& ctx)
{
    const bool todos = ctx.args.flag(QStringLiteral("--todos"));
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    const QStringList pos = ctx.args.posicionais();
    if (todos == (pos.size() == 1) || pos.size() > 1)
        co_return erroDeUso(QStringLiteral("Uso: sonvo descartar N|--todos"));
    DitadosPendentes pendentes(Caminhos::pastaDados());
    const QList<DitadoPendente> lista = pendentes.listar();
    if (todos) {
        for (const DitadoPendente& d : lista)
            pendentes.remover(d.id);
        co_return sucesso;
    }
    const std::optional<DitadoPendente> d = escolherPendente(lista, pos.first());
    if (!d) {
        escreverErro(QStringLiteral("Não há ditado pendente ") + pos.first() + QStringLiteral(" (veja: sonvo pendentes)"));
        co_return falha;
    }
    pendentes.remover(d->id);
    co_return sucesso;
}

QCoro::Task<int> comandoMicrofones(Contexto& ctx)
{
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("Uso: sonvo microfones (escolha um com: sonvo config microfone NOME)"));
    const QList<DispositivoEntrada> lista = criarEntradaAudio()->dispositivos();
    if (lista.isEmpty()) {
        escreverErro(QStringLiteral("Nenhum microfone encontrado"));
        co_return falha;
    }
    // The chosen one when it is there, else the default (first), as a dictation would record.
    const QString escolhido = ctx.config.texto(QStringLiteral("microfone")).value_or(QString());
    const bool presente = std::any_of(lista.begin(), lista.end(), [&](const DispositivoEntrada& d) { return d.nome == escolhido; });
    QString saida;
    for (const DispositivoEntrada& d : lista)
        saida += ((presente ? d.nome == escolhido : &d == &lista.first()) ? QStringLiteral("* ") : QStringLiteral("  "))
            + d.descricao + QStringLiteral(" (") + d.nome + QStringLiteral(")\n");
    escreverSaida(saida);
    co_return sucesso;
}

QCoro::Task<int> comandoDitar(Contexto& ctx)
{
    const Opcoes o = lerApp(ctx);
    if (!o.ok)
        co_return uso;
    ctx.args.flag(QStringLiteral("--menu")); // the text is printed either way: nothing to defer to
    if (const auto op = ctx.args.opcaoDesconhecida())
        co_return erroDeUso(QStringLiteral("Opção desconhecida: ") + *op);
    if (!ctx.args.posicionais().isEmpty())
        co_return erroDeUso(QStringLiteral("Uso: sonvo ditar [--app ID] [--menu]"));

    const auto audio = criarEntradaAudio();
    Ditado ditado(ctx, *audio, o.app, true);
    SpeechManager& sm = ditado.speech();
    const bool terminal = ::isatty(STDERR_FILENO);

    sm.startRecording();
    if (sm.recordingState().ehErro()) {
        escreverErro(sm.recordingState().mensagem);
        co_return falha;
    }
    if (terminal)
        std::fputs("Gravando… tecle Enter (ou Ctrl-C) para terminar.\n", stderr);
    QObject::connect(&sm, &SpeechManager::audioLevelChanged, [terminal](float nivel) {
        if (!terminal)
            return;
        const int n = static_cast<int>(nivel * 30.0f + 0.5f);
        const QByteArray barra = QByteArray(n, '#') + QByteArray(30 - n, ' ');
        std::fprintf(stderr, "\r  [%s] ", barra.constData());
        std::fflush(stderr);
    });

    // Enter (or the end of standard input) and Ctrl-C both end the recording.
    auto sinais = std::make_unique<SinaisDeTermino>();
    QSocketNotifier entrada(STDIN_FILENO, QSocketNotifier::Read);
    bool parou = false;
    auto parar = [&] {
        if (parou)
            return;
        parou = true;
        entrada.setEnabled(false);
        if (terminal)
            std::fputs("\r\033[K", stderr);
        sm.stopRecording();
    };
    QObject::connect(&entrada, &QSocketNotifier::activated, [&] {
        char c[256];
        const ssize_t n = ::read(STDIN_FILENO, c, sizeof c);
        if (n <= 0 || std::memchr(c, '\n', static_cast<size_t>(n)))
            parar();
    });
    QObject::connect(sinais.get(), &SinaisDeTermino::recebido, parar);
    if (sm.recordingState().caso == RecordingState::Caso::recording)
        co_await qCoro(&sm, &SpeechManager::recordingStateChanged);
    sinais.reset(); // a second Ctrl-C while transcribing ends the program
    co_return co_await ditado.aguardarFim();
}

} // namespace sonvo::cli
