#pragma once

#include "support/ServidorTeste.h"

#include <QStringList>

namespace sonvo::teste {

// Checks a multipart transcription request against OpenAI's published description of
// CreateTranscriptionRequest (tests/dados/openai). Returns the violations; empty means valid.
QStringList violacoesTranscricao(const QList<ParteMultipart>& partes);

// Validates a JSON request body against a named schema of the same description with a real JSON
// Schema validator (ajv, installed by the test script). Returns the violations; empty means valid.
QStringList violacoesJson(const QByteArray& corpo, const QString& esquema);

} // namespace sonvo::teste
