#pragma once

#include <QWidget>

#include <functional>

class QComboBox;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The version, where Sonvo keeps its files (each with a button that opens it), the application
// icon, and how to dictate.
class PaginaSobre : public QWidget {
    Q_OBJECT
public:
    PaginaSobre(Configuracoes& config, const QString& pastaDados, const QString& arquivoLog,
                std::function<void(const QString&)> abrirArquivo, std::function<void()> aplicarIcone,
                QWidget* parent = nullptr);

    QComboBox* escolhaIcone() const { return m_icone; }

private:
    QWidget* linhaComBotao(const QString& caminho);

    Configuracoes& m_config;
    std::function<void(const QString&)> m_abrirArquivo;
    std::function<void()> m_aplicarIcone;
    QComboBox* m_icone = nullptr;
};

} // namespace sonvo::ui
