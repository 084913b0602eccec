#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

#include <atomic>
#include <memory>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QProgressBar;
class QTimer;
class QLabel;

namespace sonvo {
class Configuracoes;
class EntradaAudio;
}

namespace sonvo::ui {

class TabelaTeclaDeColar;

// The operation mode: a preset that sets the four switches, the switches one by one, and the mode
// they make together; how the hotkey works, the microphone and the paste key per application.
class PaginaComportamento : public QWidget {
    Q_OBJECT
public:
    // rotulosAtalhos: the hotkeys as this session names them, for the modes' descriptions.
    // microfone: an input of the page's own, for the level meter while the page is shown.
    PaginaComportamento(Configuracoes& config, QStringList rotulosAtalhos, EntradaAudio* microfone = nullptr,
                        QWidget* parent = nullptr);
    ~PaginaComportamento() override;
    void recarregar();

    QList<QAbstractButton*> botoesModo() const;
    QCheckBox* interruptor(const QString& chave) const;
    QLabel* modoAtual() const { return m_modoAtual; }
    QLabel* descricaoModo() const { return m_descricaoModo; }
    QComboBox* modoAtalho() const { return m_modoAtalho; }
    QComboBox* microfones() const { return m_microfones; }
    QProgressBar* nivel() const { return m_nivel; }
    TabelaTeclaDeColar* teclaDeColar() const { return m_teclaDeColar; }

protected:
    void showEvent(QShowEvent* e) override;
    void hideEvent(QHideEvent* e) override;

private:
    Configuracoes& m_config;
    QStringList m_rotulosAtalhos;
    QButtonGroup* m_modos = nullptr;
    QList<QCheckBox*> m_interruptores;
    QLabel* m_modoAtual = nullptr;
    QLabel* m_descricaoModo = nullptr;
    QComboBox* m_modoAtalho = nullptr;
    void medir();

    EntradaAudio* m_microfone = nullptr;
    QComboBox* m_microfones = nullptr;
    QProgressBar* m_nivel = nullptr;
    QTimer* m_leitura = nullptr;
    std::shared_ptr<std::atomic<float>> m_ultimoNivel = std::make_shared<std::atomic<float>>(0.0f);
    TabelaTeclaDeColar* m_teclaDeColar = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
