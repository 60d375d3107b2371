// The macro compiler: the lines of one [MACRO] or [CLASS] section become a
// CMacroCode whose control structure is resolved to line numbers and whose
// text is cut into pieces ready for substitution.
#pragma once

#include <vector>

#include "macro/code.h"

struct SSourceLine {
    Text text;      // already in the internal alphabet (ConvertSourceLine)
    int number = 0; // zero-based line number in the source file
};

struct SCompileOptions {
    // Warnings only go to the log (instead of stopping the compilation) when
    // IgnoreLoaderWarnings was defined or the source is a library file.
    bool ignoreWarnings = false;
    // Zero-based line of the section header, for the messages and lines made
    // from the header's arguments; -1: the line in front of the first line.
    int headerLine = -1;
};

// `headerWords`: the words of the section header after the keyword: the
// name, then the argument words ("arg" or "arg=default"); for a class the
// name and the parent. Messages are appended to `log`, one per line.
// The section's lines end at the first line that starts with '['.
bool Compile(CMacroCode& code, const std::vector<Text>& headerWords, const std::vector<SSourceLine>& lines,
             const SCompileOptions& options, std::vector<Text>& log);

// Cuts one text (internal alphabet) into the pieces of a line, with the same
// rules the compiler uses; the runtime uses it for lines made at run time
// (RUN on an idle shell, INTERPRET). False with a message on failure.
// The kind already set in `line.flags` is kept: only a statement (kind 0) is
// bound to a built-in command, and a control line may have no assignment.
bool CompileLineText(TextView text, CCodeLine& line, Text& message);

// A line made at run time from source text (a RUN on an idle shell, INTERPRET):
// converted to the internal alphabet, and like any line of a macro it may be
// a GOTO or an EXIT.
bool CompileRunTimeLine(TextView sourceText, CCodeLine& line, Text& message);
