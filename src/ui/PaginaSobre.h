#pragma once

#include "platform/Plataforma.h"

#include <QCoroTask>
#include <QWidget>

#include <functional>

class QComboBox;

namespace sonvo {
class Configuracoes;
}

namespace sonvo::ui {

// The version, where Sonvo keeps its files (each with a button that opens it), the application
// icon, how to dictate, and how each service works in this session.
class PaginaSobre : public QWidget {
    Q_OBJECT
public:
    PaginaSobre(Configuracoes& config, const QString& pastaDados, const QString& arquivoLog,
                std::function<void(const QString&)> abrirArquivo, std::function<void()> aplicarIcone,
                std::function<QCoro::Task<QList<FormaServico>>()> diagnosticar, QWidget* parent = nullptr);

    QComboBox* escolhaIcone() const { return m_icone; }

private:
    QWidget* linhaComBotao(const QString& caminho);
    QCoro::Task<> preencherDiagnostico(std::function<QCoro::Task<QList<FormaServico>>()> diagnosticar);

    Configuracoes& m_config;
    std::function<void(const QString&)> m_abrirArquivo;
    std::function<void()> m_aplicarIcone;
    QComboBox* m_icone = nullptr;
};

} // namespace sonvo::ui
