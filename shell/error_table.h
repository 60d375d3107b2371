// The return codes of the language: one table of messages shared by the whole
// program, the warning set, the silent twins, and the mapping of file-system
// failures onto codes.
#pragma once

#include "base/text.h"
#include "shell/rc_codes.h"

// Codes 0..485 have entries; entry 0 has no text of its own.
constexpr int kErrorCount = 486;

// For 0 the fixed text about code 0; for 1..485 the entry, word for word;
// for anything else the text for unknown codes.
const Text& ErrorText(int code);
void ErrorText(int code, Text& out);

// True for 0 and the codes marked (w) in the table (15 among them). Codes
// outside the table are errors.
bool IsWarning(int code);
bool IsError(int code);

// The warning twin a command reports under its silent option, or `fallback`
// when the code has none in the twin table.
int SilentTwin(int code, int fallback);

// A Windows system error number (the table speaks in those) to a
// code, in its silent form if `silent`; unlisted numbers give `fallback`.
int MapSystemError(unsigned long systemError, bool silent, int fallback);

// A Linux errno to the Windows condition it stands for, then MapSystemError.
// Errno values without a counterpart in the table give `fallback`.
int MapErrno(int err, bool silent, int fallback);

// The code for an invalid argument at 1-based `position`: 63+n for n up to
// 30; under the silent option 362+n for n up to 8; beyond that 4.
int ArgumentError(int position, bool silent);
