#pragma once

#include "app/Configuracoes.h"
#include "app/Log.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyService.h"

#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

namespace sonvo::teste {

// A vocabulary service over a temporary data folder and settings file; log lines land in the
// environment's log file so tests can read them back.
struct BaseVocab : ::testing::Test {
    AmbienteTemporario amb;
    QString pasta = amb.pastaDados();
    Configuracoes config{amb.arquivoConfig()};
    VocabularyService vocab{pasta, config};

    void SetUp() override
    {
        QDir().mkpath(pasta);
        ASSERT_TRUE(Log::enviarParaArquivo(amb.arquivoLog()));
    }
    QString log() const { return QString::fromUtf8(amb.lerLog()); }
    void escreverGlobal(const QByteArray& texto) { ASSERT_TRUE(gravarArquivo(vocab.arquivoGlobal(), texto)); }
    void escreverPorApp(const QByteArray& json) { ASSERT_TRUE(gravarArquivo(vocab.arquivoPorApp(), json)); }
    // Files named "<nome>.corrupt-*" beside `nome` in the data folder.
    QStringList guardados(const QString& nome) const
    {
        return QDir(pasta).entryList({nome + QStringLiteral(".corrupt-*")}, QDir::Files | QDir::Dirs | QDir::NoDotAndDotDot);
    }
};

inline QMap<QString, QString> mapa(std::initializer_list<std::pair<QString, QString>> pares)
{
    QMap<QString, QString> m;
    for (const auto& [k, v] : pares)
        m.insert(k, v);
    return m;
}

} // namespace sonvo::teste
