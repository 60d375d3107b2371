// t[...] reads, t[i,f] := value writes, and the commands FIND and TAGS.
#include <algorithm>
#include <cmath>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "items/table_kind.h"
#include "numeric/matrix.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

static constexpr const wchar_t* kAttributeWords[] = {
    L"IO",     L"LSEP",  L"VSEP",   L"NUMFORMAT", L"INTFORMAT",    L"EXTENDED", L"DIRECTORY", L"PARAMETER",
    L"RANGED", L"SHELL", L"FIELDS", L"USERS",     L"NROW",         L"NCOL",     L"STARTSZ",   L"CHUNKSZ",
    L"MEMORY", L"SORT",  L"TAGGED", L"EDITABLE",  L"VUSERDEFAULT", L"MULTIROW", nullptr};
const CKeywordTable kAttributes(kAttributeWords);
enum {
    A_IO,
    A_LSEP,
    A_VSEP,
    A_NUMFORMAT,
    A_INTFORMAT,
    A_EXTENDED,
    A_DIRECTORY,
    A_PARAMETER,
    A_RANGED,
    A_SHELL,
    A_FIELDS,
    A_USERS,
    A_NROW,
    A_NCOL,
    A_STARTSZ,
    A_CHUNKSZ,
    A_MEMORY,
    A_SORT,
    A_TAGGED,
    A_EDITABLE,
    A_VUSERDEFAULT,
    A_MULTIROW
};

static constexpr const wchar_t* kFieldAttributeWords[] = {
    L"TYPE",    L"NAME",   L"VISIBLE",  L"SCALE",        L"FORMAT",   L"MMODE",    L"MVALUE",
    L"MSYMBOL", L"HEADER", L"WIDTH",    L"ALIGN",        L"SORTABLE", L"EDITABLE", L"VTABLE",
    L"VFIELD",  L"VONLY",  L"VDEFAULT", L"VUSERDEFAULT", L"MULTIROW", nullptr};
const CKeywordTable kFieldAttributes(kFieldAttributeWords);

// "!word" as an attribute index; -1 for anything else.
int Attribute(const Text& word) {
    if (word.size() < 2 || word[0] != L'!') return -1;
    return kAttributes.Find(TextView(word).substr(1));
}

Text Flag(bool on) {
    return on ? L"1" : L"0";
}

Text FieldAttribute(const CShellTableField& f, int attribute) {
    static constexpr const wchar_t* kTypeNames[] = {L"", L"NAME", L"STRING", L"INT", L"NUM"};
    switch (attribute) {
    case 0:
        return (f.m_nType >= 0 && f.m_nType <= 4) ? kTypeNames[f.m_nType] : L"";
    case 1:
        return f.m_sName;
    case 2:
        return Flag(f.m_bVisible);
    case 3:
        return DoubleText(f.m_dScale);
    case 4:
        return f.m_sFormat;
    case 5:
        return Flag(f.m_bMissing);
    case 6:
        return DoubleText(f.m_dMissing);
    case 7:
        return f.m_sMissing;
    case 8:
        return f.m_sHeader.empty() ? f.m_sName : f.m_sHeader;
    case 9:
        return DoubleText(f.m_dWidth);
    case 10:
        return Flag(f.m_nFlags & FIELD_ALIGN);
    case 11:
        return Flag(f.m_nFlags & FIELD_SORTABLE);
    case 12:
        return Flag(f.m_nFlags & FIELD_EDITABLE);
    case 13:
        return f.m_sVTable;
    case 14:
        return IntText(f.m_nVField);
    case 15:
        return Flag(f.m_nFlags & FIELD_VONLY);
    case 16:
        return Flag(f.m_nFlags & FIELD_VDEFAULT);
    case 17:
        return Flag(f.m_nFlags & FIELD_VUSERDEFAULT);
    case 18:
        return Flag(f.m_nFlags & FIELD_MULTIROW);
    default:
        return {};
    }
}

bool RowNumber(const Text& text, long& row) {
    long long v = 0;
    if (text.empty() || !EvalInteger(text, v)) return false;
    row = static_cast<long>(v);
    return true;
}

bool IsAll(const Text& text) {
    return text == L"*";
}

// The table-wide attributes.
Text TableAttribute(CShell& shell, CShellTable& t, int attribute, const std::vector<Text>& args) {
    switch (attribute) {
    case A_IO:
        return Flag(t.m_bNamedIO);
    case A_LSEP:
        return t.m_sLSep;
    case A_VSEP:
        return t.m_sVSep;
    case A_NUMFORMAT:
        return t.m_sNumFormat;
    case A_INTFORMAT:
        return t.m_sIntFormat;
    case A_EXTENDED:
        return Flag(t.m_nKind & TABLE_EXTENDED);
    case A_DIRECTORY:
        return Flag(t.m_nKind & TABLE_DIRECTORY);
    case A_PARAMETER:
        return Flag(t.m_nKind & TABLE_PARAMETER);
    case A_RANGED:
        return Flag(t.m_bRanged);
    case A_SHELL:
        return shell.IdText();
    case A_FIELDS: {
        if (args.size() < 2) return IntText(t.m_nFields);
        const int field = t.FindField(args[1]);
        if (field < 0) return {};
        if (args.size() < 3) return t.FieldDefinition(field);
        const int attr =
            kFieldAttributes.Find(args[2][0] == L'!' ? TextView(args[2]).substr(1) : TextView(args[2]));
        return attr < 0 ? Text() : FieldAttribute(t.Field(field), attr);
    }
    case A_USERS:
        return IntText(t.m_nShare);
    case A_NROW:
        return IntText(t.GetRows());
    case A_NCOL:
        return IntText(t.GetFields(false));
    case A_STARTSZ:
        return IntText(t.m_nStartSize);
    case A_CHUNKSZ:
        return IntText(t.m_nChunkSize);
    case A_MEMORY: {
        long long all = 0, visible = 0;
        t.MemoryEstimate(all, visible);
        return Format(L"%d %d", static_cast<int>(all), static_cast<int>(visible));
    }
    case A_SORT:
        return t.m_sSort;
    case A_EDITABLE:
    case A_VUSERDEFAULT:
    case A_MULTIROW: {
        if (args.size() < 2) return {};
        const int field = t.FindField(args[1]);
        if (field < 0) return {};
        const int bit = attribute == A_EDITABLE
                            ? FIELD_EDITABLE
                            : (attribute == A_VUSERDEFAULT ? FIELD_VUSERDEFAULT : FIELD_MULTIROW);
        return Flag(t.Field(field).m_nFlags & bit);
    }
    default:
        return {};
    }
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
    const int attribute = Attribute(args[0]);
    if (attribute >= 0) return TableAttribute(shell, t, attribute, args);
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
    if (Attribute(second) == A_TAGGED) return Flag(t.IsTagged(row));
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
    if (!ValueOfText(shell, valueText, value)) return 96;
    std::vector<Text> args;
    size_t start = 0;
    for (;;) {
        const size_t comma = argsText.find(L',', start);
        args.push_back(
            Trim(argsText.substr(start, comma == TextView::npos ? TextView::npos : comma - start)));
        if (comma == TextView::npos) break;
        start = comma + 1;
    }
    if (args.size() > 2) return 151;
    const bool allRows = args[0].empty() || IsAll(args[0]);
    long index = 0;
    if (!allRows && !RowNumber(args[0], index)) return 151;
    if (!allRows && index < 0) return 151;
    int field = -1;
    if (args.size() == 2 && !IsAll(args[1])) {
        field = t.FindField(args[1]);
        if (field < 0) return 57;
    }
    const bool real = (t.m_nMode & 2) != 0;
    CItemSection hold(t.m_cs);
    if (field >= 0 && allRows) {
        const long rows = std::max<long>(t.GetRows(), value.IsScalar() ? t.GetRows() : value.Rows());
        for (long v = 0; v < rows; ++v) {
            const long row = EnsureTableRow(t, v, real);
            if (row < 0) return 151;
            const double x = value.IsScalar() ? value.Scalar() : value.At(static_cast<int>(v), 0);
            if (!value.IsScalar() && v >= value.Rows()) break;
            if (t.SetNumber(row, field, x)) return 151;
        }
        return 0;
    }
    if (field >= 0) {
        if (!value.IsScalar()) return 151;
        const long row = EnsureTableRow(t, index, real);
        if (row < 0) return 151;
        return t.SetNumber(row, field, value.Scalar()) ? 151 : 0;
    }
    // No field: a row from the value's first column, or the whole table from the value.
    const long firstRow = allRows ? 0 : index;
    const long rows = allRows ? value.Rows() : 1;
    for (long r = 0; r < rows; ++r) {
        const long row = EnsureTableRow(t, firstRow + r, real);
        if (row < 0) return 151;
        int column = 0;
        for (int f = 0; f < t.m_nFields; ++f) {
            if (!t.Field(f).Numeric()) continue;
            const int n = allRows ? value.Cols() : value.Rows();
            if (column >= n) break;
            const double x = allRows ? value.At(static_cast<int>(r), column) : value.At(column, 0);
            ++column;
            if (t.SetNumber(row, f, x)) return 151;
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
    if (!t) return 115;
    CItemSection hold(t->m_cs);
    int field = 0;
    if (args.size() > 2 && !args[2].text.empty() && args[2].text != L"*") {
        field = t->FindField(args[2].text);
        if (field < 0) return 57;
    }
    long start = 0;
    if (args.size() > 3 && !RowNumber(args[3].text, start)) return 151;
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
    return 194;
}

// Without a list: the real numbers of the tagged rows. With one: exactly those rows are tagged.
int TagsCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    result.clear();
    CShellTable* t = CShellTable::Find(shell, args[0].text);
    if (!t) return 115;
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
                if (!RowNumber(list.substr(i, end - i), row) || row < 0 || row >= t->m_nRows) return 153;
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
