#pragma once

#include <QWidget>

class QComboBox;
class QPushButton;
class QTableWidget;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The paste key per application: a table of application ids and their choice, saved at every
// change. Rows without an id are not saved.
class TabelaTeclaDeColar : public QWidget {
    Q_OBJECT
public:
    explicit TabelaTeclaDeColar(Configuracoes& config, QWidget* parent = nullptr);
    void recarregar();

    QTableWidget* tabela() const { return m_tabela; }
    QComboBox* escolha(int linha) const;
    QPushButton* botaoAdicionar() const { return m_adicionar; }
    QPushButton* botaoRemover() const { return m_remover; }

private:
    void adicionarLinha(const QString& app, const QString& valor);
    void gravar();

    Configuracoes& m_config;
    QTableWidget* m_tabela = nullptr;
    QPushButton* m_adicionar = nullptr;
    QPushButton* m_remover = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
