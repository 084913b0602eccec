#include "ui/PaginaChaves.h"

#include "ai/AIProvider.h"
#include "core/Configuracoes.h"
#include "core/Endpoints.h"
#include "core/KeychainService.h"
#include "ui/CamposPreferencias.h"
#include "ui/SecaoTranscricao.h"

#include <QComboBox>
#include <QFormLayout>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QVBoxLayout>

namespace sonvo::ui {

namespace {
const AIProviderID kProvedores[2] = {AIProviderID::openai, AIProviderID::anthropic};
const char* const kNomes[2] = {"OpenAI", "Anthropic"};
const char* const kChavesEndpoint[2] = {"openaiBaseURL", "anthropicBaseURL"};
const char* const kVariaveisEndpoint[2] = {"SONVO_OPENAI_BASE_URL", "SONVO_ANTHROPIC_BASE_URL"};

} // namespace

PaginaChaves::PaginaChaves(Configuracoes& config, QString pastaDados, QWidget* parent)
    : QWidget(parent), m_config(config), m_pastaDados(std::move(pastaDados))
{
    using CamposPreferencias::ajuda;
    auto* v = new QVBoxLayout(this);
    for (int i = 0; i < 2; ++i) {
        const QString nome = QString::fromLatin1(kNomes[i]);
        auto* g = new QGroupBox(QStringLiteral("Chave da ") + nome, this);
        auto* gl = new QVBoxLayout(g);
        auto* linha = new QHBoxLayout;
        m_chave[i] = new QLineEdit(g);
        m_chave[i]->setEchoMode(QLineEdit::Password);
        m_chave[i]->setAccessibleName(QStringLiteral("Chave da ") + nome);
        m_salvarChave[i] = new QPushButton(QStringLiteral("Salvar"), g);
        linha->addWidget(m_chave[i], 1);
        linha->addWidget(m_salvarChave[i]);
        gl->addLayout(linha);
        m_msgChave[i] = new QLabel(g);
        gl->addWidget(m_msgChave[i]);
        gl->addWidget(ajuda(i == 0 ? QStringLiteral("Usada na transcrição e, se escolhida abaixo, nas ações de IA. "
                                                    "Salvar com o campo vazio remove a chave.")
                                   : QStringLiteral("Usada nas ações de IA quando a Anthropic é o provedor. "
                                                    "Salvar com o campo vazio remove a chave."),
                            g));
        connect(m_salvarChave[i], &QPushButton::clicked, this, [this, i] { salvarChave(i); });
        connect(m_chave[i], &QLineEdit::returnPressed, this, [this, i] { salvarChave(i); });
        v->addWidget(g);
    }

    auto* g = new QGroupBox(QStringLiteral("Provedor das ações de IA"), this);
    auto* gl = new QVBoxLayout(g);
    m_provedor = new QComboBox(g);
    for (AIProviderID id : Provedores::todos)
        m_provedor->addItem(Provedores::displayName(id), Provedores::rawValue(id));
    connect(m_provedor, &QComboBox::currentIndexChanged, this, [this](int i) {
        if (m_carregando || i < 0)
            return;
        m_config.definir(QStringLiteral("aiProvider"), m_provedor->itemData(i).toString());
        m_config.sincronizar();
    });
    gl->addWidget(m_provedor);
    v->addWidget(g);

    auto* e = new QGroupBox(QStringLiteral("Endereços dos serviços"), this);
    auto* form = new QFormLayout(e);
    for (int i = 0; i < 2; ++i) {
        m_endpoint[i] = new QLineEdit(e);
        m_endpoint[i]->setPlaceholderText(i == 0 ? QStringLiteral("https://api.openai.com")
                                                 : QStringLiteral("https://api.anthropic.com"));
        form->addRow(QString::fromLatin1(kNomes[i]) + u':', m_endpoint[i]);
    }
    m_salvarEndpoints = new QPushButton(QStringLiteral("Salvar endereços"), e);
    m_salvarEndpoints->setObjectName(QStringLiteral("salvarEndpoints"));
    connect(m_salvarEndpoints, &QPushButton::clicked, this, &PaginaChaves::salvarEndpoints);
    m_msgEndpoints = new QLabel(e);
    m_msgEndpoints->setWordWrap(true);
    form->addRow(m_salvarEndpoints, m_msgEndpoints);
    form->addRow(ajuda(QStringLiteral("Vazio usa o endereço oficial. Um servidor compatível ou um gateway podem "
                                      "ter um caminho próprio (http://127.0.0.1:8080/proxy)."),
                       e));
    v->addWidget(e);
    m_transcricao = new SecaoTranscricao(m_config, m_pastaDados, this);
    v->addWidget(m_transcricao);
    v->addStretch();
}

void PaginaChaves::recarregar()
{
    m_carregando = true;
    const KeychainService chaves(m_pastaDados);
    for (int i = 0; i < 2; ++i) {
        m_chave[i]->clear();
        m_chave[i]->setPlaceholderText(CamposPreferencias::dicaDaChave(chaves.chave(Provedores::contaChave(kProvedores[i])).has_value()));
        m_endpoint[i]->setText(m_config.texto(QString::fromLatin1(kChavesEndpoint[i])).value_or(QString()));
    }
    m_provedor->setCurrentIndex(AIService::currentProviderID(m_config) == AIProviderID::anthropic ? 1 : 0);
    m_transcricao->recarregar();
    m_carregando = false;
}

void PaginaChaves::salvarChave(int i)
{
    const KeychainService chaves(m_pastaDados);
    const QString texto = m_chave[i]->text();
    if (chaves.salvarChave(Provedores::contaChave(kProvedores[i]), texto)) {
        m_msgChave[i]->setText(Provedores::mensagemErroSalvar(kProvedores[i]));
        return;
    }
    m_msgChave[i]->setText(QStringLiteral("Chave ") + QString::fromLatin1(kNomes[i])
                           + (texto.isEmpty() ? QStringLiteral(" removida") : QStringLiteral(" salva")));
    m_chave[i]->clear();
    m_chave[i]->setPlaceholderText(CamposPreferencias::dicaDaChave(!texto.isEmpty()));
}

void PaginaChaves::salvarEndpoints()
{
    // Nothing is written unless both addresses are good.
    for (int i = 0; i < 2; ++i) {
        const QString t = m_endpoint[i]->text().trimmed();
        if (t.isEmpty())
            continue;
        if (const auto erro = Endpoints::erroDeEndereco(t)) {
            m_msgEndpoints->setText(*erro);
            return;
        }
    }
    QStringList avisos;
    for (int i = 0; i < 2; ++i) {
        const QString chave = QString::fromLatin1(kChavesEndpoint[i]);
        const QString t = m_endpoint[i]->text().trimmed();
        if (t.isEmpty())
            m_config.remover(chave);
        else
            m_config.definir(chave, t);
        if (!qEnvironmentVariableIsEmpty(kVariaveisEndpoint[i]))
            avisos << QStringLiteral("A variável %1 está definida e vale mais que este campo.")
                          .arg(QString::fromLatin1(kVariaveisEndpoint[i]));
    }
    m_msgEndpoints->setText(m_config.sincronizar() ? (QStringList{QStringLiteral("Endereços salvos.")} + avisos).join(u' ')
                                                   : QStringLiteral("Não foi possível gravar as configurações."));
}

} // namespace sonvo::ui
