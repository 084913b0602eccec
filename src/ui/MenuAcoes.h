#pragma once

#include "shell/Paineis.h"

#include <QList>
#include <QWidget>

class QLabel;
class QPlainTextEdit;
class QPushButton;

namespace sonvo {
class RecordingViewModel;
}

namespace sonvo::ui {

// A floating panel that takes the focus (the user types in it): rounded, dark, frameless.
class PainelFocavel : public QWidget {
    Q_OBJECT
public:
    explicit PainelFocavel(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent*) override;
};

// The action menu: the dictated text, editable, and the user's quick actions. The text is the
// view model's `textoEditadoAtual` in both directions, so a streamed answer grows in place.
class MenuAcoesPainel : public PainelFocavel {
    Q_OBJECT
public:
    MenuAcoesPainel(RecordingViewModel& viewModel, QList<QuickAction> acoes, PaineisFlutuantes::EventosMenu eventos,
                    QWidget* parent = nullptr);
    void definirOcupado(bool ocupado);
    bool ocupado() const { return m_ocupado; }
    QPlainTextEdit* preview() const { return m_preview; }
    QList<QPushButton*> botoesDeAcao() const { return m_botoes; }
    QPushButton* botaoDescartar() const { return m_descartar; }
    static QString simboloDaAcao(QuickAction a);

protected:
    void enterEvent(QEnterEvent*) override;
    void leaveEvent(QEvent*) override;
    void showEvent(QShowEvent*) override;

private:
    void mostrarTexto(const QString& texto);

    RecordingViewModel& m_vm;
    QList<QuickAction> m_acoes;
    PaineisFlutuantes::EventosMenu m_eventos;
    QPlainTextEdit* m_preview = nullptr;
    QLabel* m_estado = nullptr;
    QPushButton* m_descartar = nullptr;
    QList<QPushButton*> m_botoes;
    bool m_ocupado = false;
};

// "Quer formatar como Email?": confirm at once, or see every option.
class ModalIntencao : public PainelFocavel {
    Q_OBJECT
public:
    ModalIntencao(QuickAction acao, PaineisFlutuantes::EventosIntencao eventos, QWidget* parent = nullptr);
    QString pergunta() const;
    QPushButton* botaoConfirmar() const { return m_confirmar; }
    QPushButton* botaoOpcoes() const { return m_opcoes; }

protected:
    void showEvent(QShowEvent*) override;

private:
    QuickAction m_acao;
    PaineisFlutuantes::EventosIntencao m_eventos;
    QLabel* m_pergunta = nullptr;
    QPushButton* m_confirmar = nullptr;
    QPushButton* m_opcoes = nullptr;
};

} // namespace sonvo::ui
