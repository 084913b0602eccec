#pragma once

#include "dictation/DeteccaoFala.h"
#include "dictation/DitadosPendentes.h"
#include "dictation/FallbackTranscriptionService.h"
#include "dictation/RecordingState.h"
#include "dictation/WhisperService.h"

#include <QObject>
#include <QString>
#include <QCoroTask>

#include <atomic>
#include <chrono>
#include <functional>
#include <optional>

typedef struct sf_private_tag SNDFILE;
class QNetworkAccessManager;

namespace sonvo {

class Configuracoes;
class EntradaAudio;
class Insercao;
class SomEvento;
class TranscriptionHistory;
class VocabularyService;

// Owns one dictation from the moment the microphone opens until the text is inserted (or handed
// to the action menu): records the default input into a temporary WAV, publishes the input level,
// and on stop runs the pipeline: cloud transcription, local fallback, history, vocabulary,
// insertion, Tier 2 proposal, completion sound. Every failure ends as RecordingState::error.
// Lives on the main thread; only the audio callback runs elsewhere.
class SpeechManager : public QObject {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        QNetworkAccessManager& rede;
        QString pastaDados;
        EntradaAudio& audio;
        Insercao& insercao;
        SomEvento& som;
        VocabularyService& vocabulario;
        TranscriptionHistory& historico;
        // Where recordings are made; "gravacoes" in the data folder unless a test says otherwise.
        QString pastaTemporaria;
        // How the local recogniser is found (tests substitute their own).
        std::function<std::optional<FallbackTranscriptionService::Reconhecedor>()> localizarReconhecedor;
        std::chrono::milliseconds prazoNuvem = std::chrono::seconds(60);
        std::chrono::milliseconds prazoLocal = std::chrono::minutes(2);
        // Where a failed dictation's audio is kept for a retry; without it the audio is deleted.
        DitadosPendentes* pendentes = nullptr;
    };

    // Over this a WAV would not fit the service's 25 MB limit with its multipart frame: it goes as Ogg/Opus.
    static constexpr qint64 kLimiteEnvioWav = 24'000'000;
    static constexpr const char* kSemFala = "Nenhuma fala detectada";

    explicit SpeechManager(Dependencias deps, QObject* parent = nullptr);
    ~SpeechManager() override;

    RecordingState recordingState() const { return m_estado; }
    float audioLevel() const { return m_nivel; }
    const std::optional<QString>& ultimaTranscricao() const { return m_ultima; }
    std::optional<QString> currentAudioFileURL() const { return m_arquivoAtual; }

    // Written by the caller before each start.
    bool pularInsercao = false;
    std::optional<QString> contextoBundleID;
    std::optional<QString> atalhoUsado; // kept with a failed dictation

    void startRecording();
    // The microphone of "microfone" when it is there; the system's default otherwise.
    void escolherMicrofone();
    void stopRecording();
    // The toggle every trigger uses: recording stops, transcribing ignores, anything else starts.
    void alternar();
    // Runs the pipeline on an existing WAV, which becomes this dictation's temporary file (and is
    // deleted at the end like any other): the command line hands it a copy of the user's file.
    void transcreverArquivo(const QString& wav);
    // Runs the pipeline again on a kept dictation: removed once it succeeds (or turns out to be
    // silence), its error updated when it fails again. False while a dictation is under way.
    bool retentar(const DitadoPendente& pendente);

Q_SIGNALS:
    void recordingStateChanged(const sonvo::RecordingState& estado);
    void audioLevelChanged(float nivel);
    void ultimaTranscricaoChanged(const std::optional<QString>& texto);
    // After a direct insertion: a transcribed word close to one the user keeps inserting.
    void candidatoTier2(const QString& ouvido, const QString& escrever, int ocorrencias);
    // A failed dictation's audio was kept (emitted before the error state).
    void ditadoGuardado(const sonvo::DitadoPendente& pendente);

private:
    void definirEstado(RecordingState e);
    void definirNivel(float n);
    void removerArquivoTemporario();
    // Where this dictation's audio ends: deleted (or its kept copy removed), or kept with the error.
    void descartarAudio();
    void guardarAudio(const QString& erro);
    void falhar(const QString& erro);
    void fecharArquivo();
    QCoro::Task<> pipeline(QString arquivo);
    QCoro::Task<> tentarFallback(QString arquivo, QString motivo);
    QCoro::Task<> aoConcluirTranscricao(QString texto);

    Dependencias m_deps;
    RecordingState m_estado;
    float m_nivel = 0.0f;
    std::optional<QString> m_ultima;
    std::optional<QString> m_arquivoAtual;
    std::optional<QString> m_pendente;        // the kept dictation being retried
    std::optional<AnaliseFala> m_analise;     // this dictation's audio, when it could be read
    std::optional<QString> m_prompt;          // what the cloud was given, if anything
    SNDFILE* m_wav = nullptr; // written on the audio thread while recording
    int m_canais = 0;
    quint64 m_gravacao = 0; // which recording a posted level belongs to
};

} // namespace sonvo
