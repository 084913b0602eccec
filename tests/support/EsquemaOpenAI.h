#pragma once

#include "support/ServidorTeste.h"

#include <QStringList>

namespace sonvo::teste {

// Checks a multipart transcription request against OpenAI's published description of
// CreateTranscriptionRequest (tests/dados/openai). Returns the violations; empty means valid.
QStringList violacoesTranscricao(const QList<ParteMultipart>& partes);

} // namespace sonvo::teste
