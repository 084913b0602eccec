#include "dictation/SpeechManager.h"

#include "core/Arquivos.h"
#include "core/Configuracoes.h"
#include "core/KeychainService.h"
#include "core/Log.h"
#include "core/TextoUnicode.h"
#include "dictation/ConversorWav.h"
#include "dictation/Insercao.h"
#include "dictation/NivelAudio.h"
#include "dictation/ServicoTranscricao.h"
#include "dictation/TranscriptionHistory.h"
#include "platform/EntradaAudio.h"
#include "platform/Janelas.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QPointer>
#include <QUuid>
#include <QtConcurrent/QtConcurrentRun>
#include <QCoroFuture>

#include <algorithm>

#include <sndfile.h>

namespace sonvo {

SpeechManager::SpeechManager(Dependencias deps, QObject* parent) : QObject(parent), m_deps(std::move(deps))
{
    qRegisterMetaType<sonvo::RecordingState>();
    // Recordings live beside the pending ones: keeping a failed one is a rename, never a copy of
    // hundreds of megabytes from a tmpfs /tmp on the main thread.
    if (m_deps.pastaTemporaria.isEmpty()) {
        m_deps.pastaTemporaria = m_deps.pastaDados + QStringLiteral("/gravacoes");
        Caminhos::garantirPasta(m_deps.pastaTemporaria);
    }
}

SpeechManager::~SpeechManager()
{
    m_deps.audio.parar();
    fecharArquivo();
    // Quitting (or the session ending) during a transcription keeps the words for later.
    if (m_estado.caso == RecordingState::Caso::transcribing && !m_pendente)
        guardarAudio(QStringLiteral("O Sonvo foi fechado antes de terminar a transcrição"));
    removerArquivoTemporario();
}

void SpeechManager::definirEstado(RecordingState e)
{
    m_estado = std::move(e);
    Q_EMIT recordingStateChanged(m_estado);
}

void SpeechManager::definirNivel(float n)
{
    m_nivel = n;
    Q_EMIT audioLevelChanged(n);
}

void SpeechManager::fecharArquivo()
{
    if (m_wav) {
        sf_close(m_wav); // writes the final header
        m_wav = nullptr;
    }
}

void SpeechManager::removerArquivoTemporario()
{
    // A kept dictation's audio is only ever removed through descartarAudio.
    if (m_arquivoAtual && !m_pendente)
        QFile::remove(*m_arquivoAtual);
    m_arquivoAtual.reset();
    fecharArquivo();
}

void SpeechManager::descartarAudio()
{
    if (m_pendente && m_deps.pendentes) {
        m_deps.pendentes->remover(*m_pendente);
        Log::tag("Pendentes", QStringLiteral("ditado pendente concluído e removido: %@"), {*m_pendente});
    }
    removerArquivoTemporario();
    m_pendente.reset();
}

void SpeechManager::guardarAudio(const QString& erro)
{
    if (m_pendente) {
        if (m_deps.pendentes)
            m_deps.pendentes->atualizarErro(*m_pendente, erro);
        m_arquivoAtual.reset();
        m_pendente.reset();
        return;
    }
    if (!m_deps.pendentes || !m_arquivoAtual || !QFileInfo::exists(*m_arquivoAtual)) {
        removerArquivoTemporario();
        return;
    }
    DitadoPendente dados;
    dados.app = contextoBundleID;
    dados.erro = erro;
    dados.atalho = atalhoUsado;
    const auto guardado = m_deps.pendentes->guardar(*m_arquivoAtual, dados);
    if (!guardado) {
        // Left where it was recorded: better a stray file than lost words.
        Log::tag("Pendentes", QStringLiteral("não foi possível guardar o áudio (%@), mantido em %@"),
                 {guardado.erro(), *m_arquivoAtual});
        m_arquivoAtual.reset();
        return;
    }
    m_arquivoAtual.reset();
    Log::tag("Pendentes", QStringLiteral("ditado guardado para tentar de novo: %@"), {guardado.valor().id});
    Q_EMIT ditadoGuardado(guardado.valor());
}

void SpeechManager::falhar(const QString& erro)
{
    guardarAudio(erro);
    definirEstado(RecordingState::error(erro));
}

void SpeechManager::alternar()
{
    switch (m_estado.caso) {
    case RecordingState::Caso::recording: stopRecording(); break;
    case RecordingState::Caso::transcribing: break; // a press while transcribing is ignored
    case RecordingState::Caso::idle:
    case RecordingState::Caso::completed:
    case RecordingState::Caso::error: startRecording(); break;
    }
}

void SpeechManager::escolherMicrofone()
{
    const QString nome = m_deps.config.texto(QStringLiteral("microfone")).value_or(QString());
    if (nome.isEmpty()) {
        m_deps.audio.escolher(QString());
        return;
    }
    const QList<DispositivoEntrada> presentes = m_deps.audio.dispositivos();
    const bool presente = std::any_of(presentes.begin(), presentes.end(), [&](const DispositivoEntrada& d) { return d.nome == nome; });
    if (!presente)
        Log::tag("Speech", QStringLiteral("microfone %@ ausente — usando o padrão do sistema"), {nome});
    m_deps.audio.escolher(presente ? nome : QString());
}

void SpeechManager::startRecording()
{
    escolherMicrofone();
    const QString caminho = m_deps.pastaTemporaria + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()
        + QStringLiteral(".wav");
    const auto formato = m_deps.audio.formato();
    if (!formato) {
        definirEstado(RecordingState::error(QStringLiteral("Erro no áudio: ") + formato.erro()));
        return;
    }
    // The device's own format, untouched: no resampling, no down-mixing.
    SF_INFO info{};
    info.samplerate = formato.valor().taxa;
    info.channels = formato.valor().canais;
    info.format = SF_FORMAT_WAV | SF_FORMAT_FLOAT;
    SNDFILE* wav = sf_open(QFile::encodeName(caminho).constData(), SFM_WRITE, &info);
    if (!wav) {
        definirEstado(RecordingState::error(QStringLiteral("Erro ao criar arquivo de áudio: ")
                                            + QString::fromUtf8(sf_strerror(nullptr))));
        return;
    }
    m_wav = wav;
    m_arquivoAtual = caminho;
    m_canais = formato.valor().canais;

    const QPointer<SpeechManager> self(this);
    const int canais = m_canais;
    const quint64 gravacao = ++m_gravacao;
    const auto erro = m_deps.audio.iniciar([this, self, wav, canais, gravacao](const float* dados, unsigned long quadros) {
        // Audio thread: the file is ours until parar() returns; a failed write is not worth a word.
        sf_writef_float(wav, dados, static_cast<sf_count_t>(quadros));
        const float nivel = nivelDoBuffer(dados, quadros, canais);
        QMetaObject::invokeMethod(
            this, [self, nivel, gravacao] {
                // A level posted just before the stop arrives after it: the level stays 0 then.
                if (self && self->m_gravacao == gravacao && self->m_estado.caso == RecordingState::Caso::recording)
                    self->definirNivel(nivel);
            },
            Qt::QueuedConnection);
    });
    if (erro) {
        m_deps.audio.parar();
        definirNivel(0.0f);
        removerArquivoTemporario();
        definirEstado(RecordingState::error(QStringLiteral("Erro no áudio: ") + *erro));
        return;
    }
    definirEstado(RecordingState::recording());
}

void SpeechManager::stopRecording()
{
    m_deps.audio.parar();
    definirNivel(0.0f);
    fecharArquivo();
    if (!m_arquivoAtual) {
        definirEstado(RecordingState::error(QStringLiteral("Arquivo de áudio ausente")));
        return;
    }
    definirEstado(RecordingState::transcribing());
    pipeline(*m_arquivoAtual);
}

void SpeechManager::transcreverArquivo(const QString& wav)
{
    m_arquivoAtual = wav;
    definirEstado(RecordingState::transcribing());
    pipeline(wav);
}

bool SpeechManager::retentar(const DitadoPendente& pendente)
{
    if (m_estado.caso == RecordingState::Caso::recording || m_estado.caso == RecordingState::Caso::transcribing)
        return false;
    if (!QFileInfo::exists(pendente.audio)) { // discarded meanwhile (from the command line, say)
        Log::tag("Pendentes", QStringLiteral("ditado pendente não existe mais: %@"), {pendente.id});
        return false;
    }
    Log::tag("Pendentes", QStringLiteral("tentando de novo: %@"), {pendente.id});
    m_pendente = pendente.id;
    m_arquivoAtual = pendente.audio;
    definirEstado(RecordingState::transcribing());
    pipeline(pendente.audio);
    return true;
}

QCoro::Task<> SpeechManager::pipeline(QString arquivo)
{
    const QPointer<SpeechManager> self(this);
    m_prompt.reset();
    // A 20-minute recording is read off the main thread. The future is named first: g++ 12
    // destroys a temporary inside a co_await expression twice.
    QFuture<std::optional<AnaliseFala>> analise = QtConcurrent::run([arquivo]() -> std::optional<AnaliseFala> {
        auto a = analisarFala(arquivo);
        return a ? std::optional(a.valor()) : std::nullopt;
    });
    std::optional<AnaliseFala> analisada = co_await analise;
    if (!self)
        co_return;
    m_analise = analisada;
    if (m_analise && !m_analise->temFala()) {
        Log::tag("Speech", QStringLiteral("sem fala: %.2f s de áudio, %.2f s acima do limiar"),
                 {m_analise->duracao, m_analise->segundosComFala});
        descartarAudio();
        definirEstado(RecordingState::error(QString::fromUtf8(kSemFala)));
        co_return;
    }
    const KeychainService chaves(m_deps.pastaDados);
    const auto mapa = chaves.carregar();
    if (!mapa) {
        falhar(QStringLiteral("Erro: ") + mapa.erro().descricao());
        co_return;
    }
    const ServicoTranscricao servico = ServicoTranscricao::ler(m_deps.config);
    const QString chave = mapa.valor().value(servico.contaChave);
    if (chave.isEmpty() && !servico.chaveOpcional()) {
        co_await tentarFallback(arquivo, QStringLiteral("API key não configurada"));
        co_return;
    }
    m_prompt = m_deps.vocabulario.priorityTermsAsPrompt(contextoBundleID);
    // Compact when the user asks or when the WAV would be over the service's size limit; the WAV
    // stays for the local fallback and for a retry.
    QString envio = arquivo;
    const qint64 tamanho = QFileInfo(arquivo).size();
    if (servico.compacto || tamanho > kLimiteEnvioWav) {
        const QString compacto = m_deps.pastaTemporaria + u'/' + QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper()
            + QStringLiteral(".ogg");
        QFuture<std::optional<QString>> conversao = QtConcurrent::run(converterParaOpus, arquivo, compacto);
        const std::optional<QString> erro = co_await conversao;
        if (!self) {
            QFile::remove(compacto);
            co_return;
        }
        if (erro) {
            QFile::remove(compacto);
            Log::tag("Speech", QStringLiteral("falha ao compactar o áudio (%@) — enviando o WAV"), {*erro});
        } else {
            envio = compacto;
            Log::tag("Speech", QStringLiteral("áudio compactado para envio: %d → %d bytes (Ogg/Opus)"),
                     {static_cast<long long>(tamanho), static_cast<long long>(QFileInfo(compacto).size())});
        }
    }
    // A slow uplink gets the time a long upload needs: 1 s more per 125 kB (1 Mbit/s).
    const auto prazo = m_deps.prazoNuvem + std::chrono::milliseconds(QFileInfo(envio).size() / 125);
    WhisperService whisper(m_deps.rede, servico.endpoint(), prazo, servico.modelo);
    const auto r = co_await whisper.transcrever(envio, chave, m_prompt);
    if (envio != arquivo)
        QFile::remove(envio);
    if (!self)
        co_return;
    if (r.ok()) {
        co_await aoConcluirTranscricao(r.valor());
        co_return;
    }
    if (deveUsarFallback(r.erro())) {
        co_await tentarFallback(arquivo, descricao(r.erro()));
        co_return;
    }
    falhar(descricao(r.erro()));
}

QCoro::Task<> SpeechManager::tentarFallback(QString arquivo, QString motivo)
{
    const QPointer<SpeechManager> self(this);
    Log::simples(QStringLiteral("ativando fallback SFSpeechRecognizer (%@)"), {motivo});
    FallbackTranscriptionService local(m_deps.localizarReconhecedor ? m_deps.localizarReconhecedor()
                                                                    : FallbackTranscriptionService::localizar(m_deps.config, m_deps.pastaDados),
                                       m_deps.prazoLocal);
    if (!local.disponivel()) {
        falhar(QStringLiteral("Transcrição indisponível (sem conexão e sem reconhecimento local)"));
        co_return;
    }
    const auto r = co_await local.transcrever(arquivo);
    if (!self)
        co_return;
    if (!r) {
        falhar(QStringLiteral("Erro na transcrição local: ") + r.erro().descricao);
        co_return;
    }
    co_await aoConcluirTranscricao(r.valor());
}

QCoro::Task<> SpeechManager::aoConcluirTranscricao(QString texto)
{
    const QPointer<SpeechManager> self(this);
    const AnaliseFala analise = m_analise.value_or(AnaliseFala{0.0, 1e9});
    if (pareceAlucinacao(texto, m_prompt, analise)) {
        Log::tag("Speech", QStringLiteral("transcrição descartada (resposta típica de silêncio): '%@'"), {texto});
        descartarAudio();
        definirEstado(RecordingState::error(QString::fromUtf8(kSemFala)));
        co_return;
    }
    descartarAudio();
    m_deps.historico.append(texto, contextoBundleID);
    const QString corrigido = m_deps.vocabulario.aplicarCorrecoes(texto, contextoBundleID);
    Log::tag("Speech", QStringLiteral("vocab bruto.count=%d corrigido.count=%d app=%@"),
             {static_cast<long long>(TextoUnicode::contarGrafemas(texto)),
              static_cast<long long>(TextoUnicode::contarGrafemas(corrigido)), contextoBundleID});
    m_ultima = corrigido;
    Q_EMIT ultimaTranscricaoChanged(m_ultima);

    if (!pularInsercao) {
        Log::tag("Speech", QStringLiteral("inserção direta (pularInsercao=false)"));
        co_await m_deps.insercao.inserir(corrigido);
        if (!self)
            co_return;
        const QList<SugestaoFuzzy> sugestoes = m_deps.insercao.sugerirCorrecaoFuzzy(corrigido);
        if (!sugestoes.isEmpty()) {
            const SugestaoFuzzy& s = sugestoes.first();
            Log::tag("Vocab/Tier2", QStringLiteral("propondo toast: '%@' → '%@' (%dx)"),
                     {s.palavraTranscrita, s.sugestao, s.ocorrenciasNoBuffer});
            Q_EMIT candidatoTier2(s.palavraTranscrita, s.sugestao, s.ocorrenciasNoBuffer);
        }
        definirEstado(RecordingState::completed());
    } else {
        Log::tag("Speech", QStringLiteral("inserção adiada (action menu)"));
        definirEstado(RecordingState::completed());
    }
    m_deps.som.tocarConclusao();
}

} // namespace sonvo
