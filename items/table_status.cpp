// t[...] reads, t[i,f] := value writes, and the commands FIND and TAGS.
#include <algorithm>
#include <cmath>

#include "base/subcommand_table.h"
#include "expr/numeric_args.h"
#include "items/table_kind.h"
#include "numeric/matrix.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

Text Flag(bool on) {
    return on ? L"1" : L"0";
}

// The attributes of one field, t[!FIELDS field !NAME].
using FieldAttributeHandler = Text (*)(const CShellTableField& f);
constexpr SSubcommand<FieldAttributeHandler> kFieldAttributes[] = {
    {L"TYPE",
     [](const CShellTableField& f) -> Text {
         static constexpr const wchar_t* kTypeNames[] = {L"", L"NAME", L"STRING", L"INT", L"NUM"};
         return (f.m_nType >= 0 && f.m_nType <= 4) ? kTypeNames[f.m_nType] : L"";
     }},
    {L"NAME", [](const CShellTableField& f) { return f.m_sName; }},
    {L"VISIBLE", [](const CShellTableField& f) { return Flag(f.m_bVisible); }},
    {L"SCALE", [](const CShellTableField& f) { return DoubleText(f.m_dScale); }},
    {L"FORMAT", [](const CShellTableField& f) { return f.m_sFormat; }},
    {L"MMODE", [](const CShellTableField& f) { return Flag(f.m_bMissing); }},
    {L"MVALUE", [](const CShellTableField& f) { return DoubleText(f.m_dMissing); }},
    {L"MSYMBOL", [](const CShellTableField& f) { return f.m_sMissing; }},
    {L"HEADER", [](const CShellTableField& f) { return f.m_sHeader.empty() ? f.m_sName : f.m_sHeader; }},
    {L"WIDTH", [](const CShellTableField& f) { return DoubleText(f.m_dWidth); }},
    {L"ALIGN", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_ALIGN); }},
    {L"SORTABLE", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_SORTABLE); }},
    {L"EDITABLE", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_EDITABLE); }},
    {L"VTABLE", [](const CShellTableField& f) { return f.m_sVTable; }},
    {L"VFIELD", [](const CShellTableField& f) { return IntText(f.m_nVField); }},
    {L"VONLY", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_VONLY); }},
    {L"VDEFAULT", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_VDEFAULT); }},
    {L"VUSERDEFAULT", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_VUSERDEFAULT); }},
    {L"MULTIROW", [](const CShellTableField& f) { return Flag(f.m_nFlags & FIELD_MULTIROW); }},
};
const CSubcommandTable<FieldAttributeHandler> g_fieldAttributes(L"TABLE FIELD ATTRIBUTES", kFieldAttributes);

bool RowNumber(const Text& text, long& row) {
    long long v = 0;
    if (text.empty() || !EvalInteger(text, v)) return false;
    row = static_cast<long>(v);
    return true;
}

bool IsAll(const Text& text) {
    return text == L"*";
}

// The table-wide attributes t[!NAME ...], and TAGGED of a row, t[row, !TAGGED].
struct STableQuery {
    CShell& shell;
    CShellTable& t;
    const std::vector<Text>& args;
    long row; // -1 for the table-wide form
};
using TableAttributeHandler = Text (*)(STableQuery& q);

// A field flag of the field the second word names.
Text FieldFlag(STableQuery& q, int bit) {
    if (q.args.size() < 2) return {};
    const int field = q.t.FindField(q.args[1]);
    return field < 0 ? Text() : Flag(q.t.Field(field).m_nFlags & bit);
}

// !FIELDS: the count; with a field its definition; with a field attribute that attribute.
Text FieldsAttribute(STableQuery& q) {
    if (q.args.size() < 2) return IntText(q.t.m_nFields);
    const int field = q.t.FindField(q.args[1]);
    if (field < 0) return {};
    if (q.args.size() < 3) return q.t.FieldDefinition(field);
    const TextView word = q.args[2][0] == L'!' ? TextView(q.args[2]).substr(1) : TextView(q.args[2]);
    const auto* attribute = g_fieldAttributes.Find(word);
    return attribute ? attribute->handler(q.t.Field(field)) : Text();
}

Text MemoryAttribute(STableQuery& q) {
    long long all = 0, visible = 0;
    q.t.MemoryEstimate(all, visible);
    return Format(L"%d %d", static_cast<int>(all), static_cast<int>(visible));
}

enum : unsigned { ATTRIBUTE_OF_ROW = 1 }; // also read as t[row, !NAME]

constexpr SSubcommand<TableAttributeHandler> kTableAttributes[] = {
    {L"IO", [](STableQuery& q) { return Flag(q.t.m_bNamedIO); }},
    {L"LSEP", [](STableQuery& q) { return q.t.m_sLSep; }},
    {L"VSEP", [](STableQuery& q) { return q.t.m_sVSep; }},
    {L"NUMFORMAT", [](STableQuery& q) { return q.t.m_sNumFormat; }},
    {L"INTFORMAT", [](STableQuery& q) { return q.t.m_sIntFormat; }},
    {L"EXTENDED", [](STableQuery& q) { return Flag(q.t.m_nKind & TABLE_EXTENDED); }},
    {L"DIRECTORY", [](STableQuery& q) { return Flag(q.t.m_nKind & TABLE_DIRECTORY); }},
    {L"PARAMETER", [](STableQuery& q) { return Flag(q.t.m_nKind & TABLE_PARAMETER); }},
    {L"RANGED", [](STableQuery& q) { return Flag(q.t.m_bRanged); }},
    {L"SHELL", [](STableQuery& q) { return q.shell.IdText(); }},
    {L"FIELDS", FieldsAttribute},
    {L"USERS", [](STableQuery& q) { return IntText(q.t.m_nShare); }},
    {L"NROW", [](STableQuery& q) { return IntText(q.t.GetRows()); }},
    {L"NCOL", [](STableQuery& q) { return IntText(q.t.GetFields(false)); }},
    {L"STARTSZ", [](STableQuery& q) { return IntText(q.t.m_nStartSize); }},
    {L"CHUNKSZ", [](STableQuery& q) { return IntText(q.t.m_nChunkSize); }},
    {L"MEMORY", MemoryAttribute},
    {L"SORT", [](STableQuery& q) { return q.t.m_sSort; }},
    {L"TAGGED", [](STableQuery& q) { return q.row < 0 ? Text() : Flag(q.t.IsTagged(q.row)); }, 0,
     ATTRIBUTE_OF_ROW},
    {L"EDITABLE", [](STableQuery& q) { return FieldFlag(q, FIELD_EDITABLE); }},
    {L"VUSERDEFAULT", [](STableQuery& q) { return FieldFlag(q, FIELD_VUSERDEFAULT); }},
    {L"MULTIROW", [](STableQuery& q) { return FieldFlag(q, FIELD_MULTIROW); }},
};
const CSubcommandTable<TableAttributeHandler> g_tableAttributes(L"TABLE ATTRIBUTES", kTableAttributes);

// "!word" as an attribute; null for anything else.
const SSubcommand<TableAttributeHandler>* Attribute(const Text& word) {
    if (word.size() < 2 || word[0] != L'!') return nullptr;
    return g_tableAttributes.Find(TextView(word).substr(1));
}

// ~t[]: what kind of table, how many rows, and whether only the tagged ones show.
Text StatusLine(const CShellTable& t) {
    const wchar_t* visible = t.m_bRanged ? L"tagged" : L"all";
    const int rows = static_cast<int>(t.GetRows());
    if (t.m_nKind == TABLE_PLAIN) return Format(L"type=simple, size=%d, visible=%s", rows, visible);
    const wchar_t* type = (t.m_nKind & TABLE_DIRECTORY)   ? L"directory"
                          : (t.m_nKind & TABLE_PARAMETER) ? L"parameter"
                                                          : L"extended";
    return Format(L"type=%s, fields=%d, size=%d, visible=%s", type, t.m_nFields, rows, visible);
}

Text TableStatus(CShell& shell, CShellTable& t, const std::vector<Text>& args) {
    CItemSection hold(t.m_cs);
    if (args.empty() || (args.size() == 1 && args[0].empty())) return StatusLine(t);
    if (const auto* attribute = Attribute(args[0])) {
        STableQuery query{shell, t, args, -1};
        return attribute->handler(query);
    }
    const bool plain = t.m_nKind == TABLE_PLAIN;
    if (args.size() == 1) {
        if (IsAll(args[0]))
            return NewNumberName(shell, [&] {
                Matrix m;
                t.ToValue(-1, -1, m);
                return m;
            }());
        if (!(t.m_nMode & 1)) {
            const int field = t.FindField(args[0]);
            return field < 0 ? Text() : t.FieldDefinition(field);
        }
        long index = 0;
        if (!RowNumber(args[0], index)) return {};
        const long row = t.GetRowIndex(index);
        if (row < 0) return {};
        if (plain) {
            Text cell;
            t.GetCell(row, 0, cell);
            return cell;
        }
        return t.RowText(row, (t.m_nMode & 4) != 0);
    }
    const Text& second = args[1];
    if (IsAll(args[0])) {
        Matrix m;
        if (IsAll(second)) {
            t.ToValue(-1, -1, m);
        } else {
            const int field = t.FindField(second);
            if (field < 0 || !t.ToValue(-1, field, m)) return {};
        }
        return NewNumberName(shell, m);
    }
    long index = 0;
    if (!RowNumber(args[0], index)) return {};
    const long row = t.GetRowIndex(index);
    if (row < 0) return {};
    if (const auto* attribute = Attribute(second); attribute && (attribute->options & ATTRIBUTE_OF_ROW)) {
        STableQuery query{shell, t, args, row};
        return attribute->handler(query);
    }
    if (IsAll(second)) {
        Matrix m;
        if (!t.ToValue(index, -1, m)) return {};
        return NewNumberName(shell, m);
    }
    const int field = t.FindField(second);
    if (field < 0) return {};
    Text cell;
    t.GetCell(row, field, cell);
    return cell;
}

} // namespace

Text NewNumberName(CShell& shell, const Matrix& value) {
    CItemKind* numbers = CItemKindRegistry::Find(KIND_NUMBER);
    if (!numbers) return {};
    Text name;
    if (!shell.MakeItemName(L"", name, KIND_NUMBER)) return {};
    void* object = numbers->NewFromMatrix(shell, value);
    if (!object) return {};
    shell.AddItem(name, object,
                  WithItemLevel(static_cast<uint32_t>(KIND_NUMBER) | ITEM_TEMPORARY, shell.m_level));
    return name;
}

bool ValueOfText(CShell& shell, TextView text, Matrix& out) {
    const Text name = Trim(text);
    if (name.empty()) return false;
    if (CShell::ItemEntry* e = shell.FindItem(name)) {
        CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
        return kind && kind->ToMatrix(e->value, {}, out);
    }
    const size_t dot = name.find(L'.');
    if (dot != Text::npos) {
        if (CShell::ItemEntry* e = shell.FindItem(TextView(name).substr(0, dot))) {
            CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
            if (kind && kind->ToMatrix(e->value, TextView(name).substr(dot + 1), out)) return true;
        }
    }
    double value = 0;
    if (!ParseWholeDouble(name, value) && !EvalNumber(name, value)) return false;
    out.SetScalar(value);
    return true;
}

int CTableKind::Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) {
    out = TableStatus(shell, AsTable(object), args);
    return 0;
}

// t[i,f] := value ----------------------------------------------------------------------------------

int CTableKind::AssignElement(CShell& shell, void* object, TextView argsText, TextView valueText) {
    CShellTable& t = AsTable(object);
    Matrix value;
    if (!ValueOfText(shell, valueText, value)) return RC_TYPE_MISMATCH;
    std::vector<Text> args;
    size_t start = 0;
    for (;;) {
        const size_t comma = argsText.find(L',', start);
        args.push_back(
            Trim(argsText.substr(start, comma == TextView::npos ? TextView::npos : comma - start)));
        if (comma == TextView::npos) break;
        start = comma + 1;
    }
    if (args.size() > 2) return RC_BAD_TABLE_INDEX;
    const bool allRows = args[0].empty() || IsAll(args[0]);
    long index = 0;
    if (!allRows && !RowNumber(args[0], index)) return RC_BAD_TABLE_INDEX;
    if (!allRows && index < 0) return RC_BAD_TABLE_INDEX;
    int field = -1;
    if (args.size() == 2 && !IsAll(args[1])) {
        field = t.FindField(args[1]);
        if (field < 0) return RC_NO_SUCH_FIELD;
    }
    const bool real = (t.m_nMode & 2) != 0;
    CItemSection hold(t.m_cs);
    if (field >= 0 && allRows) {
        const long rows = std::max<long>(t.GetRows(), value.IsScalar() ? t.GetRows() : value.Rows());
        for (long v = 0; v < rows; ++v) {
            const long row = EnsureTableRow(t, v, real);
            if (row < 0) return RC_BAD_TABLE_INDEX;
            const double x = value.IsScalar() ? value.Scalar() : value.At(static_cast<int>(v), 0);
            if (!value.IsScalar() && v >= value.Rows()) break;
            if (t.SetNumber(row, field, x)) return RC_BAD_TABLE_INDEX;
        }
        return 0;
    }
    if (field >= 0) {
        if (!value.IsScalar()) return RC_BAD_TABLE_INDEX;
        const long row = EnsureTableRow(t, index, real);
        if (row < 0) return RC_BAD_TABLE_INDEX;
        return t.SetNumber(row, field, value.Scalar()) ? RC_BAD_TABLE_INDEX : 0;
    }
    // No field: a row from the value's first column, or the whole table from the value.
    const long firstRow = allRows ? 0 : index;
    const long rows = allRows ? value.Rows() : 1;
    for (long r = 0; r < rows; ++r) {
        const long row = EnsureTableRow(t, firstRow + r, real);
        if (row < 0) return RC_BAD_TABLE_INDEX;
        int column = 0;
        for (int f = 0; f < t.m_nFields; ++f) {
            if (!t.Field(f).Numeric()) continue;
            const int n = allRows ? value.Cols() : value.Rows();
            if (column >= n) break;
            const double x = allRows ? value.At(static_cast<int>(r), column) : value.At(column, 0);
            ++column;
            if (t.SetNumber(row, f, x)) return RC_BAD_TABLE_INDEX;
        }
    }
    return 0;
}

// FIND table value field? start? and TAGS table list? ------------------------------------------

namespace {

// The first visible row from `start` whose cell in `field` is the value (case ignored; numeric
// fields by value); its visible index, or 194.
int FindCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    result.clear();
    CShellTable* t = CShellTable::Find(shell, args[0].text);
    if (!t) return RC_TABLE_OR_NUMBER_EXPECTED;
    CItemSection hold(t->m_cs);
    int field = 0;
    if (args.size() > 2 && !args[2].text.empty() && args[2].text != L"*") {
        field = t->FindField(args[2].text);
        if (field < 0) return RC_NO_SUCH_FIELD;
    }
    long start = 0;
    if (args.size() > 3 && !RowNumber(args[3].text, start)) return RC_BAD_TABLE_INDEX;
    if (start < 0) start = 0;
    const Text& wanted = args[1].text;
    double number = 0;
    const bool numeric = t->Field(field).Numeric() || t->IsParameter();
    const bool haveNumber = numeric && (ParseWholeDouble(wanted, number) || EvalNumber(wanted, number));
    Text cell;
    for (long v = start; v < t->GetRows(); ++v) {
        const long row = t->GetRowIndex(v);
        bool hit = false;
        if (numeric) {
            double x = 0;
            hit = haveNumber && t->GetNumber(row, field, x) && x == number;
        } else {
            t->GetCell(row, field, cell);
            hit = EqualNoCase(cell, wanted);
        }
        if (hit) {
            result = IntText(v);
            return 0;
        }
    }
    return RC_NO_SUCH_ENTRY;
}

// Without a list: the real numbers of the tagged rows. With one: exactly those rows are tagged.
int TagsCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    result.clear();
    CShellTable* t = CShellTable::Find(shell, args[0].text);
    if (!t) return RC_TABLE_OR_NUMBER_EXPECTED;
    CItemSection hold(t->m_cs);
    if (args.size() < 2) {
        for (long r = 0; r < t->m_nRows; ++r) {
            if (!t->IsTagged(r)) continue;
            if (!result.empty()) result += L' ';
            result += IntText(r);
        }
        return 0;
    }
    std::vector<long> rows;
    for (size_t k = 1; k < args.size(); ++k) {
        const Text& list = args[k].text;
        size_t i = 0;
        while (i < list.size()) {
            while (i < list.size() && (list[i] == L' ' || list[i] == L'\t')) ++i;
            size_t end = i;
            while (end < list.size() && list[end] != L' ' && list[end] != L'\t') ++end;
            if (end > i) {
                long row = 0;
                if (!RowNumber(list.substr(i, end - i), row) || row < 0 || row >= t->m_nRows)
                    return RC_TABLE_INDEX_OUT_OF_RANGE;
                rows.push_back(row);
            }
            i = end;
        }
    }
    t->SetAllTags(false);
    for (long row : rows) t->SetTag(row, true);
    result = IntText(t->m_nTagged);
    return 0;
}

// The command table counts the table and the value for FIND, the table for TAGS.
static constexpr CCommandRow kTableCommands[] = {
    {.name = L"FIND", .handler = FindCommand, .minArgs = 2},
    {.name = L"TAGS", .handler = TagsCommand, .minArgs = 1},
};

} // namespace

void RegisterTableCommands() {
    CCommandRegistry::Register(kTableCommands, std::size(kTableCommands));
}
