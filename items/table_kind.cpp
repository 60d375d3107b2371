// NEW TABLE and SET t: the table's item kind.
#include "items/table_kind.h"

#include <algorithm>
#include <atomic>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "numeric/matrix.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

// /I= and /N=: 0 when absent, -110 or -111 on a bad option.
long SizeOption(const COptions& options, const wchar_t* letters) {
    const SOption* o = FindOption(options, letters);
    if (!o) return 0;
    if (o->text.empty()) return -110;
    long long n = 0;
    if (!EvalInteger(o->text, n) || n < 1) return -111;
    return static_cast<long>(n);
}

// "name", "name:type" or "name:type:count".
struct SFieldDefinition {
    Text name;
    int type = FIELD_STRING;
    int count = 1;
    bool repeated = false;
    bool skip = false;
};

int ParseDefinition(const Text& text, bool parameter, SFieldDefinition& def) {
    def.type = parameter ? FIELD_NUMBER : FIELD_STRING;
    if (text == L"*") {
        def.skip = true;
        return 0;
    }
    const size_t c1 = text.find(L':');
    def.name = text.substr(0, c1);
    if (c1 == Text::npos) return 0;
    const size_t c2 = text.find(L':', c1 + 1);
    const Text type = text.substr(c1 + 1, c2 == Text::npos ? Text::npos : c2 - c1 - 1);
    if (!type.empty()) {
        const int k = FieldTypeWords().FindIndex(type, true);
        if (k < 0) return RC_BAD_FIELD_TYPE;
        def.type = k + 1;
    }
    if (c2 == Text::npos) return 0;
    long long count = 0;
    if (!EvalInteger(text.substr(c2 + 1), count) || count < 1 || count > 1000000)
        return RC_BAD_FIELD_REPETITION;
    def.count = static_cast<int>(count);
    def.repeated = true;
    return 0;
}

int CreateFromSource(CShell& shell, const CWords& args, const COptions& options, long start, long chunk,
                     CShellTable*& made) {
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    const Text prefix = args.size() > 1 ? args[1].text : Text(L"X");
    const bool transpose = HasOption(options, L"Rr");
    const bool tagged = HasOption(options, L"Tt");
    const bool allAsFields = HasOption(options, L"Aa");
    if (CShellTable* source = CShellTable::Find(shell, args[0].text)) {
        CItemSection hold(source->m_cs);
        if (transpose && (tagged || allAsFields) && source->IsParameter() && source->m_nRows > 0) {
            std::vector<long> rows;
            for (long r = 0; r < source->m_nRows; ++r)
                if (allAsFields || source->IsTagged(r)) rows.push_back(r);
            const int fields = std::max<int>(1, static_cast<int>(rows.size()));
            auto* t = new CShellTable(&shell.Env(), TABLE_PARAMETER | TABLE_EXTENDED, fields, start, chunk);
            for (size_t k = 0; k < rows.size(); ++k)
                t->DefineField(static_cast<int>(k), FIELD_NUMBER, prefix + IntText(rows[k]));
            for (int f = 0; f < source->m_nFields; ++f) {
                const long at = t->AppendRows(1);
                for (size_t k = 0; k < rows.size(); ++k) {
                    double v = 0;
                    source->GetNumber(rows[k], f, v);
                    t->SetNumber(at, static_cast<int>(k), v);
                }
            }
            made = t;
            return 0;
        }
        auto* t =
            new CShellTable(&shell.Env(), source->m_nKind, 1, source->m_nStartSize, source->m_nChunkSize);
        t->CopyLayout(*source);
        if (start > 0) t->m_nStartSize = start;
        if (chunk > 0) t->m_nChunkSize = std::max(chunk, 50L);
        for (long r = 0; r < source->m_nRows; ++r) {
            if (tagged && !source->IsTagged(r)) continue;
            const long at = t->AppendCopy(*source, r);
            if (tagged && at >= 0) t->SetTag(at, true);
        }
        made = t;
        return 0;
    }
    Matrix value;
    if (!ValueOfText(shell, args[0].text, value)) return RC_TYPE_MISMATCH;
    made = CShellTable::FromMatrix(&shell.Env(), value, prefix, transpose,
                                   start > 0 ? start : (transpose ? value.Cols() : value.Rows()));
    if (made && chunk > 0) made->m_nChunkSize = std::max(chunk, 50L);
    return made ? 0 : RC_CANNOT_GROW_TABLE;
}

int CreateTable(CShell& shell, CWords& args, COptions& options, CShellTable*& made) {
    made = nullptr;
    const long start = SizeOption(options, L"Ii");
    const long chunk = SizeOption(options, L"Nn");
    if (start < 0) return static_cast<int>(-start);
    if (chunk < 0) return static_cast<int>(-chunk);
    if (HasOption(options, L"Cc")) return CreateFromSource(shell, args, options, start, chunk, made);

    int kind = TABLE_PLAIN;
    if (HasOption(options, L"Ee")) kind |= TABLE_EXTENDED;
    if (HasOption(options, L"Dd")) kind |= TABLE_DIRECTORY | TABLE_EXTENDED;
    if (HasOption(options, L"Pp")) kind |= TABLE_PARAMETER | TABLE_EXTENDED;
    const bool parameter = (kind & TABLE_PARAMETER) != 0;

    std::vector<SFieldDefinition> defs;
    for (size_t k = 1; k < args.size(); ++k) {
        SFieldDefinition def;
        if (const int code = ParseDefinition(args[k].text, parameter, def)) return code;
        defs.push_back(def);
    }
    long long fields = 1;
    if (!args.empty()) {
        if (args[0].text == L"*") {
            fields = 0;
            for (const SFieldDefinition& d : defs) fields += d.count;
        } else if (!EvalInteger(args[0].text, fields)) {
            return RC_BAD_ARG3;
        }
    }
    if (fields < 1) return RC_TOO_FEW_ARGUMENTS;
    if (fields >= 2 || !defs.empty()) kind |= TABLE_EXTENDED;

    auto* t = new CShellTable(&shell.Env(), kind, static_cast<int>(std::min<long long>(fields, 1 << 20)),
                              start, chunk);
    auto fail = [&](int code) {
        t->m_nShare = 0;
        delete t;
        return code;
    };
    int slot = (kind & TABLE_DIRECTORY) ? 3 : 0;
    for (const SFieldDefinition& d : defs) {
        if (d.skip) {
            ++slot;
            continue;
        }
        for (int n = 0; n < d.count; ++n, ++slot) {
            if (slot >= t->m_nFields) return fail(RC_BAD_FIELD_DEFINITION);
            const Text name = d.repeated ? Format(L"%s%d", d.name.c_str(), n) : d.name;
            const int code = t->DefineField(slot, d.type, name);
            if (code == RC_NON_NUMERIC_PARAMETER_FIELD || code == RC_BAD_FIELD_TYPE) return fail(code);
            if (code) return fail(RC_BAD_FIELD_DEFINITION);
        }
    }
    // One-field tables keep whole lines: "$$" is a separator nobody types.
    if (t->m_nFields == 1 && !(kind & TABLE_DIRECTORY)) t->m_sLSep = t->m_sVSep = L"$$";
    t->m_nChanged = 7;
    made = t;
    return 0;
}

std::atomic<SegmentTableSource> g_segmentSource{nullptr};

} // namespace

void SetSegmentTableSource(SegmentTableSource source) {
    g_segmentSource = source;
}

int CTableKind::Create(CShell& shell, const Text&, CWords& args, COptions& options, void*& object) {
    object = nullptr;
    const bool quiet = HasOption(options, L"Ll");
    // The segment table of the current sound file belongs to the sound layer.
    if (HasOption(options, L"S")) {
        const SegmentTableSource source = g_segmentSource.load();
        if (!source) return RC_NOT_SUPPORTED;
        CShellTable* segments = nullptr;
        if (const int code = source(shell, segments)) return quiet ? SilentTwin(code, code) : code;
        segments->AddRef();
        object = AsObject(segments);
        return 0;
    }
    CShellTable* t = nullptr;
    const int code = CreateTable(shell, args, options, t);
    if (code) return quiet ? SilentTwin(code, code) : code;
    object = AsObject(t);
    return 0;
}

// SET t ... -------------------------------------------------------------------------------------

long EnsureTableRow(CShellTable& t, long index, bool real) {
    CItemSection hold(t.m_cs);
    if (index < 0) return -1;
    if (t.m_bRanged && !real) {
        while (t.GetRows() <= index) {
            const long at = t.AppendRows(1);
            if (at < 0) return -1;
            t.SetTag(at, true);
        }
        return t.GetRowIndex(index);
    }
    if (index >= t.m_nRows && t.AppendRows(index - t.m_nRows + 1) < 0) return -1;
    return index;
}

namespace {

int TagCommand(CShellTable& t, const COptions& options) {
    if (HasOption(options, L"Dd")) return t.DeleteTagged() < 0 ? RC_ENTRY_ACCESS_FAILED : 0;
    if (HasOption(options, L"Tt")) {
        t.SetRanged(true);
        return 0;
    }
    if (HasOption(options, L"VvAa")) {
        t.SetRanged(false);
        return 0;
    }
    if (HasOption(options, L"Ii")) {
        t.SetRanged(false);
        t.InvertTags();
        return 0;
    }
    t.SetRanged(false);
    t.SetAllTags(false);
    return 0;
}

void TagOptions(CShellTable& t, long row, const COptions& options) {
    if (HasOption(options, L"VvUu")) t.SetTag(row, false);
    if (HasOption(options, L"Tt")) t.SetTag(row, true);
    if (HasOption(options, L"Ii")) t.SetTag(row, !t.IsTagged(row));
}

// The write of one row: a row text, or pairs of field and value.
int WriteRow(CShellTable& t, long row, const CWords& args, size_t first) {
    const size_t n = args.size() - first;
    if (n == 0) return 0;
    if (n == 1) return t.SetRowText(row, args[first].text);
    if (n % 2) return RC_TOO_FEW_ARGUMENTS;
    for (size_t k = first; k + 1 < args.size(); k += 2) {
        const int field = t.FindField(args[k].text);
        if (field < 0) return RC_NO_SUCH_FIELD;
        if (const int code = t.SetCell(row, field, args[k + 1].text)) return code;
    }
    return 0;
}

int SetPlainRow(CShellTable& t, const CWords& args, const COptions& options, bool append, long index,
                bool real, Text& result) {
    const bool hasText = args.size() > 1;
    if (!append && !hasText && !HasOption(options, L"TtUu")) {
        const long row = t.MacroRow(index, real);
        if (row < 0) return RC_NO_SUCH_ENTRY_INDEX;
        return t.DeleteRow(row) ? 0 : RC_ENTRY_ACCESS_FAILED;
    }
    const long row = append ? t.AppendRows(1) : EnsureTableRow(t, index, real);
    if (row < 0) return RC_CANNOT_ADD_ENTRY;
    if (!hasText) {
        if (HasOption(options, L"Tt")) t.SetTag(row, true);
        if (HasOption(options, L"Uu")) t.SetTag(row, false);
    } else {
        TagOptions(t, row, options);
        if (!t.SetRowString(row, JoinWords(args, 1))) return RC_ENTRY_ACCESS_FAILED;
    }
    result = IntText(row);
    return 0;
}

int SetExtendedRow(CShellTable& t, const CWords& args, const COptions& options, bool append, long index,
                   bool real, Text& result) {
    if (!append && HasOption(options, L"Dd")) {
        const long row = t.MacroRow(index, real);
        if (row < 0 || !t.DeleteRow(row)) return RC_NO_SUCH_ENTRY_INDEX;
        return 0;
    }
    long row = append ? t.AppendRows(1) : EnsureTableRow(t, index, real);
    if (row < 0) return RC_CANNOT_ADD_ENTRY;
    result = IntText(row);
    // /N repeats the write: a count of rows (appending), "A" all rows from here, "T" visible rows.
    const SOption* many = FindOption(options, L"Nn");
    if (!many) {
        TagOptions(t, row, options);
        return WriteRow(t, row, args, 1);
    }
    const Text& how = many->text;
    long long count = 1;
    const bool all = EqualNoCase(how, L"A"), visible = EqualNoCase(how, L"T");
    if (!all && !visible && !EvalInteger(how, count)) return RC_BAD_OPTION_ARGUMENT;
    // From the addressed row on, in real rows.
    const long start = row;
    if (visible) {
        for (long v = 0; v < t.GetRows(); ++v) {
            const long r = t.GetRowIndex(v);
            if (r < start) continue;
            TagOptions(t, r, options);
            if (const int code = WriteRow(t, r, args, 1)) return code;
        }
        return 0;
    }
    const long last = all ? t.m_nRows - 1 : start + static_cast<long>(count) - 1;
    for (long k = start; k <= last; ++k) {
        row = EnsureTableRow(t, k, true);
        if (row < 0) return RC_CANNOT_ADD_ENTRY;
        TagOptions(t, row, options);
        if (const int code = WriteRow(t, row, args, 1)) return code;
    }
    return 0;
}

// FIND condition...: tags the rows that meet the conditions; with none, all rows.
int TableFind(STableSet& c) {
    CShellTable& t = c.item;
    if (c.args.empty()) {
        t.SetRanged(false);
        t.SetAllTags(true);
        return 0;
    }
    std::vector<Text> conditions;
    for (const SWord& w : c.args) conditions.push_back(w.text);
    return t.FindRows(conditions, HasOption(c.options, L"S"), HasOption(c.options, L"Ii"),
                      HasOption(c.options, L"Tt"));
}

using STableRow = SSetRow<CShellTable>;
enum : unsigned { TABLE_ON_PLAIN = SET_KIND_FLAGS }; // the keyword also works on a simple table

// The order is the language's (KVOCONSTANTS TABLE).
constexpr STableRow kTableRows[] = {
    {L"DEFINE", TableDefine},
    {L"CONFIG", TableConfig},
    {L"MODE", TableMode},
    {L"FORMAT", TableFormat},
    {L"SORT", TableSort, 0, TABLE_ON_PLAIN},
    {L"COPY", TableCopy},
    {L"FIND", TableFind},
    kSetLockRow<CShellTable>,
    kSetUnlockRow<CShellTable>,
    kSetTryLockRow<CShellTable>,
    {L"CLIPBOARD", TableClipboard},
};
CSetTable<CShellTable> g_tableSet(L"TABLE", kTableRows);

int SetTable(CShell& shell, CShellTable& t, CWords& args, COptions& options, Text& result) {
    // The lock words run unheld: the table is theirs to take.
    if (SetRowUnheld(g_tableSet, args)) {
        const STableRow& row = *g_tableSet.Find(args[0].text);
        CWords rest(args.begin() + 1, args.end());
        STableSet call{shell, t, rest, options, result, row.keyword, false};
        return row.handler(call);
    }
    CItemSection hold(t.m_cs);
    if (args.empty()) return TagCommand(t, options);
    const Text& first = args[0].text;
    const bool plain = t.m_nKind == TABLE_PLAIN;
    const bool real = (t.m_nMode & 2) != 0;
    long long index = -1;
    const bool append = first == L"*";
    if (append || (args[0].kind == SWord::Plain && !first.empty() && !iswalpha(first[0]) &&
                   EvalInteger(first, index))) {
        if (!append && index < 0) return RC_TABLE_INDEX_OUT_OF_RANGE;
        return plain ? SetPlainRow(t, args, options, append, static_cast<long>(index), real, result)
                     : SetExtendedRow(t, args, options, append, static_cast<long>(index), real, result);
    }
    const STableRow* row = g_tableSet.Find(first);
    if (!row) return RC_INVALID_ARGUMENT;
    if (plain && !(row->options & TABLE_ON_PLAIN)) return RC_INVALID_ARGUMENT;
    CWords rest(args.begin() + 1, args.end());
    STableSet call{shell, t, rest, options, result, row->keyword, false};
    return row->handler(call);
}

} // namespace

const CKeywordList& FieldTypeWords() {
    static constexpr const wchar_t* kWords[] = {L"Name", L"String", L"Integer", L"Number", nullptr};
    static const CKeywordList list(L"FIELDTYPES", kWords);
    return list;
}

CKeywordList& SortDirectionList() {
    static constexpr const wchar_t* kWords[] = {L"Ascending", L"Descending", nullptr};
    static CKeywordList list(L"SORTDIR", kWords);
    return list;
}

const CKeywordList& SortDirections() {
    return SortDirectionList();
}

int CTableKind::SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                        Text& result) {
    auto& t = static_cast<CShellTable&>(item);
    return Silent(SetTable(shell, t, args, options, result), HasOption(options, L"s"));
}

bool CTableKind::HoldsFor(const CWords& args) {
    return !SetRowUnheld(g_tableSet, args);
}

// The evaluator's and the shell's ways in ----------------------------------------------------------

void* CTableKind::FromLines(const std::vector<Text>& lines) {
    auto* t = new CShellTable(nullptr, TABLE_PLAIN, 1);
    t->m_sLSep = t->m_sVSep = L"$$";
    for (const Text& line : lines) {
        const long row = t->AppendRows(1);
        if (row >= 0) t->SetRowString(row, line);
    }
    return AsObject(t);
}

bool CTableKind::ToMatrix(void* object, TextView part, Matrix& out) {
    if (!object || !part.empty()) return false;
    return AsTable(object).ToValue(-1, -1, out) && !out.IsEmpty();
}

void* CTableKind::NewFromMatrix(CShell& shell, const Matrix& value) {
    // Two spare rows beyond the value's own as the growth reserve.
    CShellTable* t = CShellTable::FromMatrix(&shell.Env(), value, L"X", false, value.Rows() + 2);
    return t ? AsObject(t) : nullptr;
}

long long CTableKind::Size(void* object) {
    return AsTable(object).GetRows();
}

namespace {
CTableKind g_tableKind;
}

void RegisterTables() {
    CItemKindRegistry::Register(&g_tableKind);
    CSubcommandRegistry::Register(g_tableSet);
    CSubcommandRegistry::Register(SortDirectionList());
    RegisterTableCommands();
}
