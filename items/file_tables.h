// The file item's paths through tables: LOAD and SAVE of text and section
// files, records into and out of tables, LIST into a table, and READ from a
// table entry. `table` is the object of a TABLE item entry (a CShellTable).
// Every function returns a code of the error table, 0 on success.
#pragma once

#include <vector>

#include "base/text.h"
#include "shell/words.h"

struct SRecord;

// Appends each text as a new row through the table's row text rule.
int AppendTableRows(void* table, const std::vector<Text>& rows);
// The visible rows of the table in storage form.
int TableRowTexts(void* table, std::vector<Text>& rows);
// The table gets the record: its rows replaced by the record's rows, one
// column per field (fields the table lacks are left out).
int RecordIntoTable(void* table, const SRecord& record);
// The numbers of the table's visible rows, one column per field; cells that
// are no number count as 0.
int TableIntoRecord(void* table, SRecord& record);
// READ's table source: the visible row `row` in storage form, or with /C col
// or /F field one cell of it.
int TableEntryText(void* table, TextView row, const COptions& options, Text& out);
