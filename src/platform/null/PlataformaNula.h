#pragma once

#include "platform/Plataforma.h"

namespace sonvo {

class EntradaAudioNula : public EntradaAudio {
public:
    Resultado<FormatoAudio, QString> formato() override;
    std::optional<QString> iniciar(Bloco bloco) override;
    void parar() override {}
};

// Keeps what is written in memory; nobody else ever reads it.
class AreaTransferenciaNula : public AreaTransferencia {
public:
    std::optional<ClipboardSnapshot> instantaneo() override;
    void escreverTexto(const QString& texto, bool transitorio) override;
    void restaurar(const ClipboardSnapshot& s) override;
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override;

private:
    ClipboardSnapshot m_conteudo;
};

class JanelasNulas : public Janelas {
public:
    std::optional<AppJanela> daFrente() override { return std::nullopt; }
    QList<AppJanela> normaisEmOrdem() override { return {}; }
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override;
    bool acessoConcedido() override { return false; }
};

class TeclasNulas : public TeclasSinteticas {
public:
    void soltarModificadores() override {}
    bool colar(bool) override { return false; }
};

class SomNulo : public SomEvento {
public:
    void tocarConclusao() override {}
};

} // namespace sonvo
