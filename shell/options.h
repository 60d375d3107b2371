// The option scan of command words and the tests commands make on options.
#pragma once

#include "shell/words.h"

// Takes options out of the plain words (quoted words are never scanned): in
// a word the first '/' ends the argument part; the letter after it is the
// option, its own text runs to the next '/' or '='; '=' gives the option an
// argument, the rest of the word; a further '/' starts the next option of
// the same word. "/-" stops the scan. Words emptied by the scan are removed.
// At most 256 options are kept.
void ScanOptions(CWords& words, COptions& options);

// The first option whose letter is one of `letters`, or null. A letter
// counts exactly as written: "Ss" takes both cases, "S" only the capital.
const SOption* FindOption(const COptions& options, const wchar_t* letters);
inline bool HasOption(const COptions& options, const wchar_t* letters) {
    return FindOption(options, letters) != nullptr;
}
// For mode strings like "EeDdPp": the position of the first matching option's
// letter, halved; -1 when none.
int OptionMode(const COptions& options, const wchar_t* letters);

// Words joined by blanks, from `first` on; quoted words keep the language's
// quote around them when `keepQuotes` is set.
Text JoinWords(const CWords& words, size_t first = 0, bool keepQuotes = false);
