#include "platform/null/PlataformaNula.h"
#include "platform/Sessao.h"

namespace sonvo {

Resultado<FormatoAudio, QString> EntradaAudioNula::formato()
{
    return QStringLiteral("nenhum dispositivo de entrada de áudio");
}

std::optional<QString> EntradaAudioNula::iniciar(Bloco)
{
    return QStringLiteral("nenhum dispositivo de entrada de áudio");
}

std::optional<ClipboardSnapshot> AreaTransferenciaNula::instantaneo(Selecao selecao)
{
    if (selecao != Selecao::clipboard || m_conteudo.items.isEmpty())
        return std::nullopt;
    ClipboardSnapshot s;
    for (const auto& item : m_conteudo.items) {
        QList<ClipboardSnapshot::Item> filtrado;
        for (const auto& par : item)
            if (!par.type.startsWith(QStringLiteral("org.nspasteboard.")))
                filtrado.append(par);
        s.items.append(filtrado);
    }
    return s;
}

void AreaTransferenciaNula::escreverTexto(const QString& texto, bool transitorio, Selecao selecao)
{
    if (selecao != Selecao::clipboard)
        return;
    QList<ClipboardSnapshot::Item> item;
    if (transitorio)
        item.append({QString::fromLatin1(tipoTransitorio), QByteArray()});
    item.append({QStringLiteral("text/plain"), texto.toUtf8()});
    m_conteudo.items = {item};
}

void AreaTransferenciaNula::restaurar(const ClipboardSnapshot& s, Selecao selecao)
{
    if (selecao != Selecao::clipboard)
        return;
    m_conteudo.items = {{{QString::fromLatin1(tipoRestaurado), QByteArray()}}};
    m_conteudo.items.append(s.items);
}

QCoro::Task<bool> AreaTransferenciaNula::aguardarLeitura(std::chrono::milliseconds)
{
    co_return false;
}

QCoro::Task<bool> JanelasNulas::ativar(AppJanela, std::chrono::milliseconds)
{
    co_return false;
}

QCoro::Task<bool> TeclasNulas::colar(TeclaColar)
{
    co_return false;
}

QString TeclasNulas::forma() const
{
    return Formas::descrever(FormaColar::nenhuma);
}

namespace {
const QString kSemServidor = QStringLiteral("não há servidor de notificações");
}

QCoro::Task<bool> NotificacoesNulas::solicitarAutorizacao(QString* erro)
{
    if (erro)
        *erro = kSemServidor;
    co_return false;
}

QCoro::Task<bool> NotificacoesNulas::autorizado()
{
    co_return false;
}

QCoro::Task<std::optional<QString>> NotificacoesNulas::adicionar(PedidoNotificacao)
{
    co_return kSemServidor;
}

Plataforma criarPlataformaNula()
{
    return Plataforma{std::make_unique<EntradaAudioNula>(),    std::make_unique<AreaTransferenciaNula>(),
                      std::make_unique<TeclasNulas>(),         std::make_unique<JanelasNulas>(),
                      std::make_unique<SomNulo>(),             std::make_unique<AtalhosNulos>(),
                      std::make_unique<NotificacoesNulas>(),   {}};
}

} // namespace sonvo
