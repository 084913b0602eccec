#pragma once

// The one set of fakes of the platform services and the panels. Each records what it was asked;
// those given a Diario also write every call into it, so a test sees the order across services.
#include "dictation/Insercao.h"
#include "platform/AreaTransferencia.h"
#include "platform/Atalhos.h"
#include "platform/EntradaAudio.h"
#include "platform/Janelas.h"
#include "platform/Notificacoes.h"
#include "shell/Paineis.h"

#include <QHash>

#include <functional>
#include <vector>
#include <QStringList>

namespace sonvo::teste {

struct Diario {
    QStringList eventos;
    void operator()(const QString& e) { eventos << e; }
};

class JanelasFalsas : public Janelas {
public:
    Diario* diario = nullptr;
    std::optional<AppJanela> frente;
    QList<AppJanela> normais;
    QList<AppJanela> ativadas;
    bool acesso = true;
    bool ativacaoMudaFrente = true; // false: the window closed or the manager refused

    std::optional<AppJanela> daFrente() override { return anotar(QStringLiteral("daFrente")), frente; }
    QList<AppJanela> normaisEmOrdem() override { return anotar(QStringLiteral("normaisEmOrdem")), normais; }
    QCoro::Task<bool> ativar(AppJanela app, std::chrono::milliseconds limite) override
    {
        anotar(QStringLiteral("ativar %1 %2").arg(app.janela).arg(limite.count()));
        ativadas << app;
        if (ativacaoMudaFrente)
            frente = app;
        co_return ativacaoMudaFrente;
    }
    bool acessoConcedido() override { return anotar(QStringLiteral("acessoConcedido")), acesso; }

private:
    void anotar(const QString& e) { if (diario) (*diario)(e); }
};

class ClipboardFalso : public AreaTransferencia {
public:
    Diario* diario = nullptr;
    std::optional<ClipboardSnapshot> conteudo; // what instantaneo() answers
    bool lido = true;                          // what aguardarLeitura() answers
    QString texto;
    bool transitorio = false;
    std::optional<ClipboardSnapshot> restaurado;
    std::optional<QString> selecao;
    int leiturasDaSelecao = 0;
    // The primary selection: the same facts, written in the diary with "PRIMARY".
    bool primariaExiste = true;
    std::optional<ClipboardSnapshot> conteudoPrimaria, restauradoPrimaria;

    bool temPrimaria() const override { return primariaExiste; }
    std::optional<ClipboardSnapshot> instantaneo(Selecao s) override
    {
        anotar(QStringLiteral("instantaneo") + nome(s));
        return s == Selecao::primaria ? conteudoPrimaria : conteudo;
    }
    void escreverTexto(const QString& t, bool trans, Selecao s) override
    {
        anotar(QStringLiteral("escrever%1 '%2' transitorio=%3").arg(nome(s), t).arg(trans));
        if (s == Selecao::clipboard)
            texto = t;
        transitorio = trans;
    }
    void restaurar(const ClipboardSnapshot& c, Selecao s) override
    {
        QStringList itens;
        for (const auto& item : c.items) {
            QStringList pares;
            for (const auto& p : item)
                pares << p.type + u'=' + QString::fromUtf8(p.data);
            itens << pares.join(u',');
        }
        anotar(QStringLiteral("restaurar") + nome(s) + u' ' + itens.join(u'|'));
        (s == Selecao::primaria ? restauradoPrimaria : restaurado) = c;
    }
    QCoro::Task<bool> aguardarLeitura(std::chrono::milliseconds limite) override
    {
        anotar(QStringLiteral("aguardarLeitura %1").arg(limite.count()));
        co_return lido;
    }
    std::optional<QString> textoSelecionado(const AppJanela&) override { return ++leiturasDaSelecao, selecao; }

private:
    static QString nome(Selecao s) { return s == Selecao::primaria ? QStringLiteral(" PRIMARY") : QString(); }
    void anotar(const QString& e) { if (diario) (*diario)(e); }
};

class TeclasFalsas : public TeclasSinteticas {
public:
    Diario* diario = nullptr;
    bool enviou = true;
    void soltarModificadores() override { anotar(QStringLiteral("soltarModificadores")); }
    QCoro::Task<bool> colar(TeclaColar tecla) override
    {
        const char* nomes[] = {"Ctrl+V", "Ctrl+Shift+V", "Shift+Insert"};
        anotar(QStringLiteral("colar ") + QLatin1String(nomes[int(tecla)]));
        co_return enviou;
    }
    QString forma() const override { return QStringLiteral("teclas falsas"); }

private:
    void anotar(const QString& e) { if (diario) (*diario)(e); }
};

// Insertion that only records what it was given, and where it would have gone (the application
// `frente` reports as being in front at that moment).
class InsercaoGravada : public Insercao {
public:
    std::function<std::optional<QString>()> frente;
    QList<QPair<QString, std::optional<QString>>> insercoes;
    QList<SugestaoFuzzy> sugestoes; // what the Tier 2 search answers
    QCoro::Task<> inserir(QString texto) override
    {
        insercoes << qMakePair(texto, frente ? frente() : std::nullopt);
        co_return;
    }
    QList<SugestaoFuzzy> sugerirCorrecaoFuzzy(const QString&) override { return sugestoes; }
    QStringList textos() const
    {
        QStringList t;
        for (const auto& i : insercoes)
            t << i.first;
        return t;
    }
};

class SomContado : public SomEvento {
public:
    int vezes = 0;
    void tocarConclusao() override { ++vezes; }
};

// A microphone that records silence (or one buffer at `amplitude`) when present, and says there
// is none otherwise.
class MicrofoneMudo : public EntradaAudio {
public:
    bool presente = false;
    float amplitude = 0;
    QList<DispositivoEntrada> lista;
    QString escolhido;
    Resultado<FormatoAudio, QString> formato() override { return presente ? Resultado<FormatoAudio, QString>(FormatoAudio{48000, 1}) : erro(); }
    std::optional<QString> iniciar(Bloco bloco) override
    {
        const std::vector<float> buffer(1024, amplitude);
        if (presente && amplitude > 0)
            bloco(buffer.data(), buffer.size());
        return presente ? std::nullopt : std::optional(erro());
    }
    void parar() override {}
    QList<DispositivoEntrada> dispositivos() override { return lista; }
    void escolher(const QString& nome) override { escolhido = nome; }
    static QString erro() { return QStringLiteral("nenhum dispositivo de entrada de áudio"); }
};

class AtalhosFalsos : public AtalhosGlobais {
public:
    int statusTratador = 0;
    QHash<int, int> statusPorId; // id → status of its registration (absent: 0)
    int monitores = 0;

    int instalarTratador() override { return statusTratador; }
    int registrar(const AtalhoGlobal& a) override { return statusPorId.value(a.id, 0); }
    void removerRegistros() override {}
    bool instalarMonitor(const QList<AtalhoGlobal>&) override { return ++monitores, true; }
    void removerMonitor() override {}
};

class NotificacoesFalsas : public NotificacoesUsuario {
public:
    bool autorizada = true;
    std::optional<QString> erroAoAdicionar;
    QList<CategoriaNotificacao> categorias;
    QList<PedidoNotificacao> pedidos;

    QCoro::Task<bool> solicitarAutorizacao(QString*) override { co_return autorizada; }
    QCoro::Task<bool> autorizado() override { co_return autorizada; }
    void registrarCategorias(const QList<CategoriaNotificacao>& c) override { categorias = c; }
    QCoro::Task<std::optional<QString>> adicionar(PedidoNotificacao p) override
    {
        pedidos << p;
        std::optional<QString> erro = erroAoAdicionar; // the member must survive for the next call
        co_return erro;
    }
};

class PaineisFalsos : public PaineisFlutuantes {
public:
    QStringList chamadas;
    EventosMenu menu;
    EventosIntencao modal;
    bool menuAberto = false;
    bool modalAberto = false;
    bool ocupado = false;
    QList<QuickAction> acoesOferecidas;
    std::optional<QuickAction> acaoDoModal;
    QList<QPair<QString, QString>> alertas;

    void showPanelAnimated() override { chamadas << QStringLiteral("mostrar gravação"); }
    void hidePanelAnimated() override { chamadas << QStringLiteral("esconder gravação"); }
    void showProcessingPanelAnimated() override { chamadas << QStringLiteral("mostrar processamento"); }
    void hideProcessingPanelAnimated() override { chamadas << QStringLiteral("esconder processamento"); }
    void abrirMenuAcoes(const QList<QuickAction>& acoes, EventosMenu ev) override
    {
        acoesOferecidas = acoes;
        menu = std::move(ev);
        menuAberto = true;
    }
    void fecharMenuAcoes() override { menuAberto = false; }
    bool menuAcoesVisivel() const override { return menuAberto; }
    void menuOcupado(bool o) override { ocupado = o; }
    void mostrarGerando(bool g) override { chamadas << (g ? QStringLiteral("gerando") : QStringLiteral("fim gerando")); }
    void abrirModalIntencao(QuickAction acao, EventosIntencao ev) override
    {
        chamadas << QStringLiteral("abrir modal");
        acaoDoModal = acao;
        modal = std::move(ev);
        modalAberto = true;
    }
    void fecharModalIntencao() override { modalAberto = false; }
    bool modalIntencaoVisivel() const override { return modalAberto; }
    void exibirAlerta(const QString& m, const QString& i) override { alertas << qMakePair(m, i); }
};

} // namespace sonvo::teste
