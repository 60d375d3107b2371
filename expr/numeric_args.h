// Numeric arguments: every command argument that stands for a number is read
// by this small scalar evaluator, never by a plain conversion, so that a macro
// may write `SET t 2*3 x 1`. Doubles only, no shell, no tables.
#pragma once

#include "base/text.h"

// The text as a double; names (constants, functions) are allowed. False on
// failure with the code in `error` when given; a missing text gives 238.
bool EvalNumber(TextView text, double& value, int* error = nullptr);
// The text as an integer; names are not allowed, and a fraction gives 154.
bool EvalInteger(TextView text, long long& value, int* error = nullptr);
