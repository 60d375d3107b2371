// The one text normalisation of both evaluators (CExEval and the numeric
// arguments): blanks and tabs go at both ends, and every run of them between
// two other characters becomes one blank. The parsers therefore never skip
// more than one blank where a token may start.
#pragma once

#include "base/text.h"

// Writes the normalised `text` into `out`, whose capacity is kept.
void NormalizeExpression(TextView text, Text& out);
