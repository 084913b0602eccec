#include "ApoioDesktop.h"

#include "platform/x11/JanelasX11.h"

#include <QBuffer>
#include <QFile>
#include <QImage>

#include <gtest/gtest.h>

#include <sndfile.h>

#include <cmath>
#include <vector>

namespace sonvo::teste::desktop {

ResultadoProcesso rodar(const QString& programa, const QStringList& args, int prazoMs)
{
    QProcess p;
    p.start(programa, args);
    p.closeWriteChannel();
    ResultadoProcesso r;
    r.terminou = p.waitForStarted(5000) && girarAte([&] { return p.state() == QProcess::NotRunning; }, prazoMs);
    if (!r.terminou) {
        p.kill();
        p.waitForFinished(2000);
        return r;
    }
    r.codigo = p.exitStatus() == QProcess::NormalExit ? p.exitCode() : -1;
    r.saida = p.readAllStandardOutput();
    return r;
}

Auxiliar::Auxiliar(const QString& programa, const QStringList& args)
{
    auto env = QProcessEnvironment::systemEnvironment();
    env.insert("ASAN_OPTIONS"_t, "detect_leaks=0"_t);
    m_processo.setProcessEnvironment(env);
    m_processo.start(programa, args);
    m_pronto = m_processo.waitForStarted(5000)
        && girarAte([&] { return m_processo.canReadLine() || m_processo.state() == QProcess::NotRunning; }, 10000)
        && m_processo.readLine().trimmed() == "pronto";
}

Auxiliar::~Auxiliar()
{
    if (m_processo.state() == QProcess::NotRunning)
        return;
    m_processo.terminate();
    if (!m_processo.waitForFinished(3000)) {
        m_processo.kill();
        m_processo.waitForFinished(3000);
    }
}

std::unique_ptr<Auxiliar> abrirAlvo(const QString& saida, const QStringList& extra)
{
    auto alvo = std::make_unique<Auxiliar>(QStringLiteral(SONVO_ALVO_TEXTO), QStringList{"--saida"_t, saida} + extra);
    x11::JanelasX11 janelas(x11::ConexaoX11::abrir());
    EXPECT_TRUE(alvo->pronto() && girarAte([&] {
        const auto f = janelas.daFrente();
        return f && f->pid == alvo->pid();
    })) << "the target did not come to the front";
    return alvo;
}

QByteArray ClipboardDoUsuario::pngDeTeste()
{
    QImage img(96, 64, QImage::Format_ARGB32);
    for (int y = 0; y < img.height(); ++y)
        for (int x = 0; x < img.width(); ++x)
            img.setPixel(x, y, qRgba(x * 2, y * 3, (x * y) % 256, 200));
    QByteArray png;
    QBuffer b(&png);
    b.open(QIODevice::WriteOnly);
    img.save(&b, "PNG");
    return png;
}

std::unique_ptr<Auxiliar> ClipboardDoUsuario::servir(const QString& pasta) const
{
    QStringList args = selecao == "primary"_t ? QStringList{"--primaria"_t} : QStringList();
    for (const auto& [tipo, dados] : {std::pair{"text/plain", texto}, std::pair{"text/html", html}, std::pair{"image/png", png}}) {
        const QString arquivo = pasta + u'/' + selecao + u'-' + QString::fromLatin1(tipo).replace(u'/', u'-');
        gravarArquivo(arquivo, dados);
        args << QString::fromLatin1(tipo) + u'=' + arquivo;
    }
    auto dono = std::make_unique<Auxiliar>(QStringLiteral(SONVO_DONO_CLIPBOARD), args);
    EXPECT_TRUE(dono->pronto());
    return dono;
}

void ClipboardDoUsuario::conferir() const
{
    EXPECT_EQ(lerClipboard("text/plain"_t, selecao), texto);
    EXPECT_EQ(lerClipboard("UTF8_STRING"_t, selecao), texto);
    EXPECT_EQ(lerClipboard("text/html"_t, selecao), html);
    EXPECT_TRUE(lerClipboard("image/png"_t, selecao) == png) << "the picture differs";
    const QList<QByteArray> alvos = lerClipboard("TARGETS"_t, selecao).split('\n');
    EXPECT_TRUE(alvos.contains("org.nspasteboard.RestoredType"));
    EXPECT_FALSE(alvos.contains("org.nspasteboard.TransientType") || alvos.contains("x-kde-passwordManagerHint"));
}

Trecho trechoFalado(const QString& wav)
{
    SF_INFO info{};
    SNDFILE* f = sf_open(QFile::encodeName(wav).constData(), SFM_READ, &info);
    if (!f)
        return {};
    std::vector<float> amostras(static_cast<size_t>(info.frames * info.channels));
    sf_readf_float(f, amostras.data(), info.frames);
    sf_close(f);
    const auto energia = [&](sf_count_t de, sf_count_t ate) {
        double soma = 0;
        for (sf_count_t i = de; i < ate; ++i)
            soma += std::pow(amostras[static_cast<size_t>(i * info.channels)], 2);
        return soma;
    };
    const sf_count_t janela = info.samplerate / 100;
    sf_count_t primeiro = -1, ultimo = -1;
    for (sf_count_t i = 0; janela > 0 && i + janela <= info.frames; i += janela)
        if (std::sqrt(energia(i, i + janela) / double(janela)) > 0.01) {
            primeiro = primeiro < 0 ? i : primeiro;
            ultimo = i + janela;
        }
    Trecho t{info.samplerate, info.channels};
    if (primeiro >= 0) {
        t.segundos = double(ultimo - primeiro) / info.samplerate;
        t.rms = std::sqrt(energia(primeiro, ultimo) / double(ultimo - primeiro));
    }
    return t;
}

} // namespace sonvo::teste::desktop
