// The words of a command line as the dispatcher hands them to a command:
// plain or quoted words, and the options taken out of them.
#pragma once

#include <vector>

#include "base/text.h"

struct SWord {
    enum { Quoted = 1, Plain = 32 };
    int kind = Plain;
    Text text;
};

struct SOption {
    wchar_t letter = 0;
    Text text; // the argument behind '=', empty when none
};

using CWords = std::vector<SWord>;
using COptions = std::vector<SOption>;
