#pragma once

#include "core/Configuracoes.h"
#include "core/Log.h"
#include "support/Ambiente.h"
#include "support/Utilitarios.h"
#include "vocabulary/VocabularyService.h"

#include <QDateTime>
#include <QDir>
#include <QFileInfo>
#include <gtest/gtest.h>

namespace sonvo::teste {

using namespace Qt::StringLiterals;
using Mapa = QMap<QString, QString>;
inline const QDateTime kAgora(QDate(2025, 3, 1), QTime(14, 5, 9), Qt::UTC);

// The vocabulary over a temporary data folder and settings file (log lines go to a file, not the test output).
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
    QString global() const { return vocab.documento().arquivo(); }
    QString porApp() const { return vocab.porApp().arquivo(); }
    void escreverGlobal(const QByteArray& texto) { ASSERT_TRUE(gravarArquivo(global(), texto)); }
    void escreverPorApp(const QByteArray& json) { ASSERT_TRUE(gravarArquivo(porApp(), json)); }
    QStringList guardados() const { return QDir(pasta).entryList({u"vocabulary-by-app.json.corrupt-*"_s}, QDir::Files); }
};

} // namespace sonvo::teste
