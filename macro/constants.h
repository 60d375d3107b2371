// The keyword lists that KVOCONSTANTS hands to macros: one list for each area
// of the language, by name. A list whose words are the keywords of a
// sub-command table is read from that table (CSubcommandRegistry), so the
// two cannot disagree; the lists kept here are those of areas without a
// table in this program (colours, window styles, the layers not built yet),
// so a macro sees the same words in every build.
#pragma once

#include <cstddef>

struct SConstantList {
    const wchar_t* name;
    const wchar_t* const* words; // null-ended; null: the registered table of that name
};

// The lists in the order of KVOCONSTANTS' keywords; `count` receives their number.
const SConstantList* ConstantLists(size_t& count);
// The KVOCONSTANTS keywords themselves, null-ended.
const wchar_t* const* ConstantKeywords();
