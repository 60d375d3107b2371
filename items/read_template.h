// The template of READVAR, READSTR, READ and READTAB: a source text cut into
// variables by a list of variable names and quoted literals.
//   /N  the whole text goes to the only variable
//   /D  all target variables are emptied first
//   /T  parts are kept as they stand (no trimming)
//   /E[=c]  c (default "`") takes the next character as it stands
// A variable before a variable gets the next word, a variable before a
// literal everything up to the literal, the last variable the rest; a
// literal that begins the template is skipped where it is found.
#pragma once

#include "base/text.h"
#include "shell/words.h"

class CShell;

// Assigns the parts of `source` to the variables of `pattern` and sets "#READ"
// to the count of parts assigned ("%d"), which it also returns. A variable the
// text does not reach keeps its value.
int ReadTemplate(CShell& shell, const Text& source, const CWords& pattern, const COptions& options);
