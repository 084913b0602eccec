#pragma once

#include "vocabulary/VocabularioSnapshot.h"

#include <QTabWidget>

#include <functional>

class QCheckBox;
class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;
class QTableWidget;

namespace sonvo {
struct AuditSugestao;
class Configuracoes;
class VocabularyAuditService;
class VocabularyService;
}

namespace sonvo::ui {

// The vocabulary in four tabs: the global document (vocabulary.md), the per-application store
// (vocabulary-by-app.json), the priority terms, and the audit with its queue of suggestions.
class PaginaVocabulario : public QTabWidget {
    Q_OBJECT
public:
    PaginaVocabulario(VocabularyService& vocabulario, VocabularyAuditService& auditoria, Configuracoes& config,
                      std::function<void(const QString&)> abrirArquivo, QWidget* parent = nullptr);
    void recarregar();

    QTableWidget* tabelaGlobal() const { return m_tabelaGlobal; }
    QLineEdit* campoOuvido() const { return m_ouvido; }
    QLineEdit* campoEscrever() const { return m_escrever; }
    QPushButton* botaoAdicionarCorrecao() const { return m_adicionarCorrecao; }
    QPushButton* botaoAbrirVocabulario() const { return m_abrir; }
    QPushButton* botaoRecarregar() const { return m_recarregar; }
    QLabel* mensagemVocabulario() const { return m_msgVocab; }
    QLabel* whitelist() const { return m_whitelist; }
    QComboBox* appsComVocabulario() const { return m_apps; }
    QTableWidget* tabelaPorApp() const { return m_porApp; }
    QLineEdit* campoApp() const { return m_appNovo; }
    QLineEdit* campoOuvidoApp() const { return m_ouvidoApp; }
    QLineEdit* campoEscreverApp() const { return m_escreverApp; }
    QPushButton* botaoAdicionarPorApp() const { return m_adicionarPorApp; }
    QPushButton* botaoRemoverPorApp() const { return m_removerPorApp; }
    QLabel* mensagemPorApp() const { return m_msgPorApp; }
    QLabel* termosPrioritarios() const { return m_termos; }
    QPushButton* botaoExecutarAuditoria() const { return m_executar; }
    QCheckBox* auditoriaDiaria() const { return m_diaria; }
    QLabel* ultimaAuditoria() const { return m_ultimaAuditoria; }
    QTableWidget* sugestoes() const { return m_sugestoes; }
    QLabel* mensagemAuditoria() const { return m_msgAuditoria; }

private:
    QWidget* abaGlobal();
    QWidget* abaPorApp();
    QWidget* abaTermos();
    QWidget* abaAuditoria();

    void carregarGlobal();
    void carregarPorApp();
    void mostrarApp();
    void adicionarPorApp();
    void removerPorApp();
    void carregarAuditoria();
    void executarAuditoria();
    void decidirSugestao(const AuditSugestao& sugestao, bool aprovar);

    VocabularyService& m_vocabulario;
    VocabularyAuditService& m_auditoria;
    Configuracoes& m_config;
    std::function<void(const QString&)> m_abrirArquivo;
    VocabularioSnapshot m_global; // vocabulary.md as last read
    QTableWidget* m_tabelaGlobal = nullptr;
    QLineEdit* m_ouvido = nullptr;
    QLineEdit* m_escrever = nullptr;
    QPushButton* m_adicionarCorrecao = nullptr;
    QPushButton* m_abrir = nullptr;
    QPushButton* m_recarregar = nullptr;
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
    bool m_carregando = false;
};

} // namespace sonvo::ui
