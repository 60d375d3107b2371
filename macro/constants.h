// The keyword lists that KVOCONSTANTS hands to macros: one list for each area
// of the language, by name. The lists of layers that are not built into this
// program are kept here all the same, so a macro sees the same words in every
// build.
#pragma once

#include <cstddef>

struct SConstantList {
    const wchar_t* name;
    const wchar_t* const* words; // null-ended
};

// The lists in the order of KVOCONSTANTS' keywords; `count` receives their number.
const SConstantList* ConstantLists(size_t& count);
// The KVOCONSTANTS keywords themselves, null-ended.
const wchar_t* const* ConstantKeywords();
