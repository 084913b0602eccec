#pragma once

#include "ui/PaginaAcoes.h"
#include "ui/PaginaChaves.h"
#include "ui/PaginaComportamento.h"
#include "ui/PaginaSobre.h"
#include "ui/PaginaVocabulario.h"

#include <QStringList>
#include <QWidget>

#include <functional>

class QListWidget;
class QStackedWidget;

namespace sonvo {
class Configuracoes;
class VocabularyAuditService;
class VocabularyService;
}

namespace sonvo::ui {

// The preferences window: the list of sections and one page per section (keys and provider,
// quick actions, vocabulary, behaviour, about). Every page reads the settings and files afresh
// when shown and writes at once: there is no "apply" to forget.
class Preferencias : public QWidget {
    Q_OBJECT
public:
    struct Dependencias {
        Configuracoes& config;
        VocabularyService& vocabulario;
        VocabularyAuditService& auditoria;
        QString pastaDados;
        QString arquivoLog;
        // Opens a file or folder in the user's own application (tests record it instead).
        std::function<void(const QString&)> abrirArquivo;
        // The application icon follows "iconVariant".
        std::function<void()> aplicarIcone;
        // The hotkeys as this session names them ("Super+Shift+R", "Super+Shift+T").
        QStringList rotulosAtalhos;
        // How each service works in this session (the lines of `sonvo diagnostico`).
        std::function<QCoro::Task<QList<FormaServico>>()> diagnosticar;
        // An input of the preferences' own, for the microphone's level meter.
        EntradaAudio* microfone = nullptr;
    };
    explicit Preferencias(Dependencias deps, QWidget* parent = nullptr);

    static const QStringList& secoes(); // "chaves", "acoes", "vocabulario", "comportamento", "sobre"
    void mostrarSecao(const QString& id);
    QString secaoAtual() const;
    // The files may have changed in an editor or through the command line since the last look.
    void recarregar();

    PaginaChaves* chaves() const { return m_chaves; }
    PaginaAcoes* acoes() const { return m_acoes; }
    PaginaVocabulario* vocabulario() const { return m_vocabulario; }
    PaginaComportamento* comportamento() const { return m_comportamento; }
    PaginaSobre* sobre() const { return m_sobre; }

private:
    QListWidget* m_nav = nullptr;
    QStackedWidget* m_paginas = nullptr;
    PaginaChaves* m_chaves = nullptr;
    PaginaAcoes* m_acoes = nullptr;
    PaginaVocabulario* m_vocabulario = nullptr;
    PaginaComportamento* m_comportamento = nullptr;
    PaginaSobre* m_sobre = nullptr;
};

} // namespace sonvo::ui
