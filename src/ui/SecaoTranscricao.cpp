#include "ui/SecaoTranscricao.h"

#include "core/Configuracoes.h"
#include "core/Endpoints.h"
#include "core/KeychainService.h"
#include "dictation/ServicoTranscricao.h"
#include "dictation/TesteTranscricao.h"
#include "ui/CamposPreferencias.h"

#include <QComboBox>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPointer>
#include <QPushButton>

#include <algorithm>

namespace sonvo::ui {

namespace {
using Preset = ServicoTranscricao::Preset;
const Preset kPresets[] = {Preset::openai, Preset::groq, Preset::proprio};

Preset presetDoIndice(int i)
{
    return kPresets[std::clamp(i, 0, 2)];
}
} // namespace

SecaoTranscricao::SecaoTranscricao(Configuracoes& config, QString pastaDados, QWidget* parent)
    : QGroupBox(QStringLiteral("Transcrição"), parent), m_config(config), m_pastaDados(std::move(pastaDados))
{
    auto* form = new QFormLayout(this);
    m_servico = new QComboBox(this);
    for (Preset p : kPresets)
        m_servico->addItem(ServicoTranscricao::nome(p), ServicoTranscricao::rawValue(p));
    form->addRow(QStringLiteral("Serviço:"), m_servico);
    m_endereco = new QLineEdit(this);
    form->addRow(QStringLiteral("Endereço:"), m_endereco);
    m_modelo = new QComboBox(this);
    m_modelo->setEditable(true); // any model the server knows
    m_modelo->addItems({QStringLiteral("whisper-1"), QStringLiteral("gpt-4o-transcribe"), QStringLiteral("gpt-4o-mini-transcribe"),
                        QStringLiteral("whisper-large-v3-turbo")});
    form->addRow(QStringLiteral("Modelo:"), m_modelo);
    m_chave = new QLineEdit(this);
    m_chave->setEchoMode(QLineEdit::Password);
    m_rotuloChave = new QLabel(QStringLiteral("Chave:"), this);
    form->addRow(m_rotuloChave, m_chave);
    m_envio = new QComboBox(this);
    m_envio->addItem(ServicoTranscricao::descricaoEnvio(false), QStringLiteral("wav"));
    m_envio->addItem(ServicoTranscricao::descricaoEnvio(true), QStringLiteral("opus"));
    form->addRow(QStringLiteral("Envio de áudio:"), m_envio);
    auto* botoes = new QHBoxLayout;
    m_salvar = new QPushButton(QStringLiteral("Salvar"), this);
    m_testar = new QPushButton(QStringLiteral("Testar"), this);
    botoes->addWidget(m_salvar);
    botoes->addWidget(m_testar);
    botoes->addStretch();
    form->addRow(botoes);
    m_msg = new QLabel(this);
    m_msg->setWordWrap(true);
    form->addRow(m_msg);
    form->addRow(CamposPreferencias::ajuda(
        QStringLiteral("Groq e servidores próprios falam a mesma API da OpenAI. O envio compacto (Opus, 16 kHz) "
                       "manda uma fração dos bytes; gravações acima de 24 MB vão compactas de qualquer jeito."),
        this));

    connect(m_servico, &QComboBox::currentIndexChanged, this, &SecaoTranscricao::aoEscolherServico);
    connect(m_salvar, &QPushButton::clicked, this, [this] {
        if (salvar())
            m_msg->setText(QStringLiteral("Transcrição salva."));
    });
    connect(m_testar, &QPushButton::clicked, this, &SecaoTranscricao::testar);
    recarregar();
}

void SecaoTranscricao::recarregar()
{
    m_carregando = true;
    const ServicoTranscricao s = ServicoTranscricao::ler(m_config);
    m_servico->setCurrentIndex(static_cast<int>(std::find(std::begin(kPresets), std::end(kPresets), s.preset) - std::begin(kPresets)));
    m_endereco->setText(m_config.texto(QStringLiteral("transcricaoURL")).value_or(QString()));
    m_modelo->setCurrentText(s.modelo);
    m_envio->setCurrentIndex(s.compacto ? 1 : 0);
    aoEscolherServico(); // the placeholder and the key field, keeping what was saved
    m_carregando = false;
}

void SecaoTranscricao::aoEscolherServico()
{
    const Preset p = presetDoIndice(m_servico->currentIndex());
    // The preset fills the address (shown as the placeholder when empty) and the model.
    m_endereco->setPlaceholderText(ServicoTranscricao::urlPadrao(p));
    if (!m_carregando) {
        m_endereco->clear();
        m_modelo->setCurrentText(ServicoTranscricao::modeloPadrao(p));
    }
    // OpenAI's key is the one above; the others have their own.
    const bool propria = p != Preset::openai;
    m_rotuloChave->setVisible(propria);
    m_chave->setVisible(propria);
    m_chave->clear();
    const bool temChave = KeychainService(m_pastaDados).chave(ServicoTranscricao::contaDe(p)).has_value();
    m_chave->setPlaceholderText(p == Preset::proprio && !temChave ? QStringLiteral("Opcional: só se o seu servidor pedir")
                                                                  : CamposPreferencias::dicaDaChave(temChave));
}

bool SecaoTranscricao::salvar()
{
    const Preset p = presetDoIndice(m_servico->currentIndex());
    const QString endereco = m_endereco->text().trimmed();
    if (!endereco.isEmpty()) {
        if (const auto erro = Endpoints::erroDeEndereco(endereco)) {
            m_msg->setText(*erro);
            return false;
        }
    }
    const QString modelo = m_modelo->currentText().trimmed();
    m_config.definir(QStringLiteral("transcricaoServico"), ServicoTranscricao::rawValue(p));
    if (endereco.isEmpty())
        m_config.remover(QStringLiteral("transcricaoURL"));
    else
        m_config.definir(QStringLiteral("transcricaoURL"), endereco);
    if (modelo.isEmpty() || modelo == ServicoTranscricao::modeloPadrao(p))
        m_config.remover(QStringLiteral("transcricaoModelo"));
    else
        m_config.definir(QStringLiteral("transcricaoModelo"), modelo);
    m_config.definir(QStringLiteral("envioAudio"), m_envio->currentData().toString());
    if (!m_config.sincronizar()) {
        m_msg->setText(QStringLiteral("Não foi possível gravar as configurações."));
        return false;
    }
    if (p != Preset::openai && !m_chave->text().isEmpty()) {
        if (KeychainService(m_pastaDados).salvarChave(ServicoTranscricao::contaDe(p), m_chave->text())) {
            m_msg->setText(QStringLiteral("Não foi possível salvar a chave ") + ServicoTranscricao::nome(p));
            return false;
        }
        m_chave->clear();
        m_chave->setPlaceholderText(CamposPreferencias::dicaDaChave(true));
    }
    return true;
}

void SecaoTranscricao::testar()
{
    if (!salvar())
        return;
    m_testar->setEnabled(false);
    m_msg->setText(QStringLiteral("Testando…"));
    [](QPointer<SecaoTranscricao> self, QNetworkAccessManager& rede, const Configuracoes& config, QString pasta) -> QCoro::Task<> {
        const ResultadoTeste r = co_await testarServicoTranscricao(rede, config, pasta);
        if (!self)
            co_return;
        self->m_msg->setText(r.texto);
        self->m_testar->setEnabled(true);
    }(this, m_rede, m_config, m_pastaDados);
}

} // namespace sonvo::ui
