// The file item's paths through tables, on the table's public operations.
#include "items/file_tables.h"

#include <algorithm>

#include "expr/numeric_args.h"
#include "items/shell_file.h"
#include "items/shell_table.h"
#include "shell/options.h"
#include "shell/rc_codes.h"

int AppendTableRows(void* object, const std::vector<Text>& rows) {
    auto* table = static_cast<CShellTable*>(object);
    CItemSection hold(table->m_cs);
    for (const Text& text : rows) {
        const long row = table->AppendRows(1);
        if (row < 0) return RC_CANNOT_GROW_TABLE;
        if (const int code = table->SetRowText(row, text)) return code;
    }
    return 0;
}

int TableRowTexts(void* object, std::vector<Text>& rows) {
    auto* table = static_cast<CShellTable*>(object);
    CItemSection hold(table->m_cs);
    const long count = table->GetRows();
    for (long visible = 0; visible < count; ++visible) {
        const long row = table->GetRowIndex(visible);
        if (row >= 0) rows.push_back(table->RowText(row, true));
    }
    return 0;
}

int RecordIntoTable(void* object, const SRecord& record) {
    auto* table = static_cast<CShellTable*>(object);
    CItemSection hold(table->m_cs);
    table->DeleteAllRows();
    const int fields = std::min(table->GetFields(false), record.cols);
    for (int r = 0; r < record.rows; ++r) {
        const long row = table->AppendRows(1);
        if (row < 0) return RC_CANNOT_GROW_TABLE;
        for (int c = 0; c < fields; ++c) {
            const double value = record.data[static_cast<size_t>(c) * record.rows + r];
            if (const int code = table->SetNumber(row, c, value)) return code;
        }
    }
    return 0;
}

int TableIntoRecord(void* object, SRecord& record) {
    auto* table = static_cast<CShellTable*>(object);
    CItemSection hold(table->m_cs);
    const long rows = table->GetRows();
    const int cols = table->GetFields(false);
    record.rows = static_cast<int>(rows);
    record.cols = cols;
    record.data.assign(static_cast<size_t>(rows) * static_cast<size_t>(cols), 0.0);
    for (long visible = 0; visible < rows; ++visible) {
        const long row = table->GetRowIndex(visible);
        for (int c = 0; c < cols; ++c) {
            double value = 0;
            if (row >= 0 && table->GetNumber(row, c, value))
                record
                    .data[static_cast<size_t>(c) * static_cast<size_t>(rows) + static_cast<size_t>(visible)] =
                    value;
        }
    }
    return 0;
}

int TableEntryText(void* object, TextView rowText, const COptions& options, Text& out) {
    auto* table = static_cast<CShellTable*>(object);
    CItemSection hold(table->m_cs);
    long long visible = 0;
    if (!EvalInteger(rowText, visible)) return RC_BAD_ARG2;
    const long row =
        visible < 0 || visible >= table->GetRows() ? -1 : table->GetRowIndex(static_cast<long>(visible));
    if (row < 0) return RC_BAD_ARG2;
    const SOption* cell = FindOption(options, L"Cc");
    if (!cell) cell = FindOption(options, L"Ff");
    if (!cell) {
        out = table->RowText(row, true);
        return 0;
    }
    const int field = table->FindField(cell->text);
    if (field < 0) return RC_BAD_ARG3;
    table->GetCell(row, field, out);
    return 0;
}
