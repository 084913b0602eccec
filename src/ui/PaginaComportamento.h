#pragma once

#include <QList>
#include <QStringList>
#include <QWidget>

class QAbstractButton;
class QButtonGroup;
class QCheckBox;
class QComboBox;
class QLabel;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The operation mode: a preset that sets the four switches, the switches one by one, and the mode
// they make together.
class PaginaComportamento : public QWidget {
    Q_OBJECT
public:
    // rotulosAtalhos: the hotkeys as this session names them, for the modes' descriptions.
    PaginaComportamento(Configuracoes& config, QStringList rotulosAtalhos, QWidget* parent = nullptr);
    void recarregar();

    QList<QAbstractButton*> botoesModo() const;
    QCheckBox* interruptor(const QString& chave) const;
    QLabel* modoAtual() const { return m_modoAtual; }
    QLabel* descricaoModo() const { return m_descricaoModo; }
    QComboBox* modoAtalho() const { return m_modoAtalho; }

private:
    Configuracoes& m_config;
    QStringList m_rotulosAtalhos;
    QButtonGroup* m_modos = nullptr;
    QList<QCheckBox*> m_interruptores;
    QLabel* m_modoAtual = nullptr;
    QLabel* m_descricaoModo = nullptr;
    QComboBox* m_modoAtalho = nullptr;
    bool m_carregando = false;
};

} // namespace sonvo::ui
