#pragma once

#include <QGroupBox>
#include <QNetworkAccessManager>

class QComboBox;
class QLabel;
class QLineEdit;
class QPushButton;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The "Transcrição" section of the keys page: the service (a preset that fills the address and
// the model, both editable), its key, the upload format, and a button that tries it.
class SecaoTranscricao : public QGroupBox {
    Q_OBJECT
public:
    SecaoTranscricao(Configuracoes& config, QString pastaDados, QWidget* parent = nullptr);
    void recarregar();

    QComboBox* escolhaServico() const { return m_servico; }
    QLineEdit* campoEndereco() const { return m_endereco; }
    QComboBox* escolhaModelo() const { return m_modelo; }
    QLineEdit* campoChave() const { return m_chave; }
    QComboBox* escolhaEnvio() const { return m_envio; }
    QPushButton* botaoSalvar() const { return m_salvar; }
    QPushButton* botaoTestar() const { return m_testar; }
    QLabel* mensagem() const { return m_msg; }

private:
    void aoEscolherServico();
    bool salvar();
    void testar();

    Configuracoes& m_config;
    QString m_pastaDados;
    QNetworkAccessManager m_rede;
    QComboBox* m_servico = nullptr;
    QLineEdit* m_endereco = nullptr;
    QComboBox* m_modelo = nullptr;
    QLabel* m_rotuloChave = nullptr;
    QLineEdit* m_chave = nullptr;
    QComboBox* m_envio = nullptr;
    QPushButton* m_salvar = nullptr;
    QPushButton* m_testar = nullptr;
    QLabel* m_msg = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
