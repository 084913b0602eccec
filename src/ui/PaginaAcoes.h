#pragma once

#include <QWidget>

class QComboBox;
class QListWidget;
class QPushButton;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The quick actions of the menu, in their order: remove, add, drag to reorder.
class PaginaAcoes : public QWidget {
    Q_OBJECT
public:
    explicit PaginaAcoes(Configuracoes& config, QWidget* parent = nullptr);
    void recarregar();

    QListWidget* listaAcoes() const { return m_acoes; }
    QPushButton* botaoRemoverAcao() const { return m_removerAcao; }
    QComboBox* acoesDisponiveis() const { return m_disponiveis; }
    QPushButton* botaoAdicionarAcao() const { return m_adicionarAcao; }

private:
    void salvarOrdem();

    Configuracoes& m_config;
    QListWidget* m_acoes = nullptr;
    QPushButton* m_removerAcao = nullptr;
    QComboBox* m_disponiveis = nullptr;
    QPushButton* m_adicionarAcao = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
