// The dispatcher of built-in commands: what all commands have in common.
#pragma once

#include "shell/command_registry.h"

class CShell;

// Options, word count, keyword selector, then the handler; the result text
// by the row's result variable and fail text. `effective` tells whether the
// statement did something (a warning or success).
int Dispatch(CShell& shell, const CCommandRow& row, CWords& words, Text& result, bool& effective);
