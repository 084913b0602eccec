#pragma once

#include <QWidget>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

class SecaoTranscricao;

// The keys of the two providers, which of them the AI actions use, and the services' addresses.
// Provider 0 is OpenAI, 1 is Anthropic.
class PaginaChaves : public QWidget {
    Q_OBJECT
public:
    PaginaChaves(Configuracoes& config, QString pastaDados, QWidget* parent = nullptr);
    void recarregar();

    QLineEdit* campoChave(int provedor) const { return m_chave[provedor]; }
    QPushButton* botaoSalvarChave(int provedor) const { return m_salvarChave[provedor]; }
    QLabel* mensagemChave(int provedor) const { return m_msgChave[provedor]; }
    QComboBox* escolhaProvedor() const { return m_provedor; }
    QLineEdit* campoEndpoint(int provedor) const { return m_endpoint[provedor]; }
    QPushButton* botaoSalvarEndpoints() const { return m_salvarEndpoints; }
    QLabel* mensagemEndpoints() const { return m_msgEndpoints; }
    SecaoTranscricao* transcricao() const { return m_transcricao; }

private:
    void salvarChave(int provedor);
    void salvarEndpoints();

    Configuracoes& m_config;
    QString m_pastaDados;
    QLineEdit* m_chave[2]{};
    QPushButton* m_salvarChave[2]{};
    QLabel* m_msgChave[2]{};
    QComboBox* m_provedor = nullptr;
    QLineEdit* m_endpoint[2]{};
    QPushButton* m_salvarEndpoints = nullptr;
    QLabel* m_msgEndpoints = nullptr;
    SecaoTranscricao* m_transcricao = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
