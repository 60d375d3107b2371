// The table side of LIST, KVOCONSTANTS, TRANSLATE /T, INTERPRET /T and its
// history, MSG MENU /T and EMSG: everything through the table's own contract.
#include "macro/commands_tables.h"

#include "expr/numeric_args.h"
#include "items/shell_table.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

// The visible row named by `row` (an integer expression, empty for the first); -1 when bad.
long VisibleRow(const CShellTable& table, TextView row) {
    long long n = 0;
    if (!row.empty() && !EvalInteger(row, n)) return -1;
    if (n < 0 || n >= table.GetRows()) return -1;
    return table.GetRowIndex(static_cast<long>(n));
}

} // namespace

int AppendTableEntries(CShell& shell, TextView name, const std::vector<Text>& texts, TextView fieldText,
                       bool clearFirst) {
    CShellTable* table = CShellTable::Find(shell, name);
    if (!table) return RC_BAD_ARG1;
    CItemSection section(table->m_cs);
    int field = 0;
    if (!fieldText.empty()) {
        field = table->FindField(fieldText);
        if (field < 0) return RC_BAD_ARG2;
    }
    if (clearFirst) table->DeleteAllRows();
    for (const Text& text : texts) {
        const long row = table->AppendRows(1);
        if (row < 0) return RC_NO_MEMORY;
        const int rc = table->SetCell(row, field, text);
        if (rc != 0) return rc;
    }
    return 0;
}

int TableRowText(CShell& shell, TextView name, TextView rowText, Text& out) {
    CShellTable* table = CShellTable::Find(shell, name);
    if (!table) return RC_BAD_ARG1;
    CItemSection section(table->m_cs);
    const long row = VisibleRow(*table, rowText);
    if (row < 0) return RC_BAD_ARG2;
    out = table->RowText(row, false);
    return 0;
}

int TableFirstFields(CShell& shell, TextView name, std::vector<Text>& out) {
    CShellTable* table = CShellTable::Find(shell, name);
    if (!table) return RC_BAD_ARG1;
    CItemSection section(table->m_cs);
    out.clear();
    for (long v = 0, rows = table->GetRows(); v < rows; ++v) {
        Text cell;
        table->GetCell(table->GetRowIndex(v), 0, cell);
        out.push_back(std::move(cell));
    }
    return 0;
}

int AddHistoryEntry(CShell& shell, TextView name, const Text& text) {
    CShellTable* table = CShellTable::Find(shell, name);
    if (!table) return RC_BAD_ARG1;
    CItemSection section(table->m_cs);
    table->SetAllTags(false);
    for (long row = table->m_nRows - 1; row >= 0; --row) {
        Text cell;
        if (table->GetCell(row, 0, cell) && cell == text) table->DeleteRow(row);
    }
    const long row = table->AppendRows(1);
    if (row < 0) return RC_NO_MEMORY;
    const int rc = table->SetCell(row, 0, text);
    table->SetAllTags(false);
    return rc;
}
