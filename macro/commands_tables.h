// What the commands of this folder do with table items: filling lists into
// a table, reading a row's text, keeping an input history.
#pragma once

#include <vector>

#include "base/text.h"

class CShell;

// Appends one row per text, each text in `field` (an integer expression or a
// field name; empty for the first field). `clearFirst` empties the table before.
// 0, or the code: 64 when `table` names no table of the shell, 65 for a bad field.
int AppendTableEntries(CShell& shell, TextView table, const std::vector<Text>& texts, TextView field,
                       bool clearFirst);
// The formatted text of visible row `row` (an integer expression; empty for row 0).
// 64 when there is no such table, 65 for a bad row.
int TableRowText(CShell& shell, TextView table, TextView row, Text& out);
// The first field of every visible row, as text. 64 when there is no such table.
int TableFirstFields(CShell& shell, TextView table, std::vector<Text>& out);
// An input history: an entry equal to `text` is removed and `text` appended at
// the end; the selection is cleared before and after. 64 when there is no such table.
int AddHistoryEntry(CShell& shell, TextView table, const Text& text);
