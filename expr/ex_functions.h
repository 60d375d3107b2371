// The function library of expressions: one process-wide table of named
// functions on Matrix values. Every function has one form: the argument
// count, the argument slots and the result slot; false makes the evaluator
// fail with code 33 ("eval function failed"). The evaluator checks the
// argument counts of the table before it calls, so a function only sees a
// count within them.
#pragma once

#include <cstdint>

#include "base/text.h"
#include "numeric/matrix.h"

using ExFunction = bool (*)(int argc, Matrix* args[], Matrix& result);

struct SExFunction {
    const wchar_t* name;
    ExFunction function;
    int minArgs;
    int maxArgs;  // -1 stands for 64
    // Bit n set: argument n (from 0) is an output argument and must be an
    // l-value (a variable or a table); the function marks the slots it wrote
    // with Matrix::SetChanged, and the evaluator stores those back.
    uint64_t outputArgs = 0;
};

// Exact name, ignoring case; null when there is none.
const SExFunction* FindExFunction(TextView name);
// All entries, sorted by name (case-insensitive).
const SExFunction* ExFunctions(size_t& count);
