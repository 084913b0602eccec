#pragma once

#include "vocabulary/VocabularyService.h"

#include <QWidget>

#include <functional>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QListWidget;
class QNetworkAccessManager;
class QPushButton;
class QStackedWidget;
class QTableWidget;

namespace sonvo {
struct AuditSugestao;
class Configuracoes;
class VocabularyAuditService;
}

namespace sonvo::ui {

// The preferences window: keys and provider, quick actions, vocabulary (global, per application,
// priority terms, audit), behaviour, about. Every pane reads the settings and files afresh when
// shown and writes at once: there is no "apply" to forget.
class Preferencias : public QWidget {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        VocabularyService& vocabulario;
        VocabularyAuditService& auditoria;
        QString pastaDados;
        QString arquivoLog;
        // Opens a file or folder in the user's own application (tests record it instead).
        std::function<void(const QString&)> abrirArquivo;
        // The application icon follows "iconVariant".
        std::function<void()> aplicarIcone;
    };
    explicit Preferencias(Dependencias deps, QWidget* parent = nullptr);

    static const QStringList& secoes(); // "chaves", "acoes", "vocabulario", "comportamento", "sobre"
    void mostrarSecao(const QString& id);
    QString secaoAtual() const;
    void recarregar();

    // What the panes hold, for the tests and for screen readers alike.
    QLineEdit* campoChave(int provedor) const { return m_chave[provedor]; }
    QPushButton* botaoSalvarChave(int provedor) const { return m_salvarChave[provedor]; }
    QLabel* mensagemChave(int provedor) const { return m_msgChave[provedor]; }
    QComboBox* escolhaProvedor() const { return m_provedor; }
    QLineEdit* campoEndpoint(int provedor) const { return m_endpoint[provedor]; }
    QLabel* mensagemEndpoints() const { return m_msgEndpoints; }
    QListWidget* listaAcoes() const { return m_acoes; }
    QPushButton* botaoRemoverAcao() const { return m_removerAcao; }
    QComboBox* acoesDisponiveis() const { return m_disponiveis; }
    QPushButton* botaoAdicionarAcao() const { return m_adicionarAcao; }
    QTableWidget* tabelaGlobal() const { return m_tabelaGlobal; }
    QLineEdit* campoOuvido() const { return m_ouvido; }
    QLineEdit* campoEscrever() const { return m_escrever; }
    QPushButton* botaoAdicionarCorrecao() const { return m_adicionarCorrecao; }
    QLabel* mensagemVocabulario() const { return m_msgVocab; }
    QLabel* whitelist() const { return m_whitelist; }
    QComboBox* appsComVocabulario() const { return m_apps; }
    QTableWidget* tabelaPorApp() const { return m_porApp; }
    QLineEdit* campoApp() const { return m_appNovo; }
    QLineEdit* campoOuvidoApp() const { return m_ouvidoApp; }
    QLineEdit* campoEscreverApp() const { return m_escreverApp; }
    QPushButton* botaoAdicionarPorApp() const { return m_adicionarPorApp; }
    QPushButton* botaoRemoverPorApp() const { return m_removerPorApp; }
    QLabel* termosPrioritarios() const { return m_termos; }
    QPushButton* botaoExecutarAuditoria() const { return m_executar; }
    QCheckBox* auditoriaDiaria() const { return m_diaria; }
    QTableWidget* sugestoes() const { return m_sugestoes; }
    QLabel* mensagemAuditoria() const { return m_msgAuditoria; }
    QList<QAbstractButton*> botoesModo() const;
    QCheckBox* interruptor(const QString& chave) const;
    QLabel* modoAtual() const { return m_modoAtual; }

private:
    QWidget* paginaChaves();
    QWidget* paginaAcoes();
    QWidget* paginaVocabulario();
    QWidget* paginaComportamento();
    QWidget* paginaSobre();

    void salvarChave(int provedor);
    void salvarEndpoints();
    void carregarAcoes();
    void salvarOrdemDasAcoes();
    void carregarGlobal();
    void carregarPorApp();
    void carregarAuditoria();
    void carregarComportamento();
    void executarAuditoria();
    void decidirSugestao(const AuditSugestao& sugestao, bool aprovar);

    Dependencias m_d;
    QListWidget* m_nav = nullptr;
    QStackedWidget* m_paginas = nullptr;
    QLineEdit* m_chave[2]{};
    QPushButton* m_salvarChave[2]{};
    QLabel* m_msgChave[2]{};
    QComboBox* m_provedor = nullptr;
    QLineEdit* m_endpoint[2]{};
    QLabel* m_msgEndpoints = nullptr;
    QListWidget* m_acoes = nullptr;
    QPushButton* m_removerAcao = nullptr;
    QComboBox* m_disponiveis = nullptr;
    QPushButton* m_adicionarAcao = nullptr;
    QTableWidget* m_tabelaGlobal = nullptr;
    VocabularioSnapshot m_global; // vocabulary.md as last read
    QLineEdit* m_ouvido = nullptr;
    QLineEdit* m_escrever = nullptr;
    QPushButton* m_adicionarCorrecao = nullptr;
    QLabel* m_msgVocab = nullptr;
    QLabel* m_whitelist = nullptr;
    QComboBox* m_apps = nullptr;
    QTableWidget* m_porApp = nullptr;
    QLineEdit* m_appNovo = nullptr;
    QLineEdit* m_ouvidoApp = nullptr;
    QLineEdit* m_escreverApp = nullptr;
    QPushButton* m_adicionarPorApp = nullptr;
    QPushButton* m_removerPorApp = nullptr;
    QLabel* m_msgPorApp = nullptr;
    QLabel* m_termos = nullptr;
    QPushButton* m_executar = nullptr;
    QCheckBox* m_diaria = nullptr;
    QLabel* m_ultimaAuditoria = nullptr;
    QTableWidget* m_sugestoes = nullptr;
    QLabel* m_msgAuditoria = nullptr;
    QButtonGroup* m_modos = nullptr;
    QList<QCheckBox*> m_interruptores;
    QLabel* m_modoAtual = nullptr;
    QLabel* m_descricaoModo = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
