#pragma once

#include "platform/Plataforma.h"

namespace sonvo {

class EntradaAudioNula : public EntradaAudio {
public:
    Resultado<FormatoAudio, QString> formato() override;
    std::optional<QString> iniciar(Bloco bloco) override;
    void parar() override {}
};

// Keeps what is written to the clipboard in memory; nobody else ever reads it. No primary selection.
class AreaTransferenciaNula : public AreaTransferencia {
public:
    std::optional<ClipboardSnapshot> instantaneo(Selecao selecao) override;
    void escreverTexto(const QString& texto, bool transitorio, Selecao selecao) override;
    void restaurar(const ClipboardSnapshot& s, Selecao selecao) override;
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override;
    std::optional<QString> textoSelecionado(const AppJanela&) override { return std::nullopt; }

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
    QCoro::Task<bool> colar(TeclaColar) override;
    QString forma() const override;
};

class SomNulo : public SomEvento {
public:
    void tocarConclusao() override {}
};

class AtalhosNulos : public AtalhosGlobais {
public:
    static constexpr int kSemSuporte = -1;
    int instalarTratador() override { return kSemSuporte; }
    int registrar(const AtalhoGlobal&) override { return kSemSuporte; }
    void removerRegistros() override {}
    bool instalarMonitor(const QList<AtalhoGlobal>&) override { return false; }
    void removerMonitor() override {}
};

class NotificacoesNulas : public NotificacoesUsuario {
public:
    QCoro::Task<bool> solicitarAutorizacao(QString* erro) override;
    QCoro::Task<bool> autorizado() override;
    void registrarCategorias(const QList<CategoriaNotificacao>&) override {}
    QCoro::Task<std::optional<QString>> adicionar(PedidoNotificacao) override;
};

} // namespace sonvo
