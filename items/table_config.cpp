// The keywords of SET t that shape a table: DEFINE, CONFIG, MODE, FORMAT,
// SORT, COPY and CLIPBOARD.
#include <algorithm>
#include <mutex>

#include "base/keyword_table.h"
#include "expr/format_engine.h"
#include "expr/numeric_args.h"
#include "items/table_kind.h"
#include "numeric/matrix.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

bool Keep(const CWords& args, size_t k) {
    return k >= args.size() || args[k].text.empty() || args[k].text == L"*";
}

bool Flag(const CWords& args, size_t k, bool& out) {
    long long v = 0;
    if (Keep(args, k)) return true;
    if (!EvalInteger(args[k].text, v)) return false;
    out = v != 0;
    return true;
}

bool Bit(const CWords& args, size_t k, int bit, int& flags) {
    bool on = (flags & bit) != 0;
    if (!Flag(args, k, on)) return false;
    flags = on ? (flags | bit) : (flags & ~bit);
    return true;
}

} // namespace

// DEFINE ----------------------------------------------------------------------------------------

int TableDefine(STableSet& c) {
    CShellTable& t = c.item;
    CWords& args = c.args;
    COptions& options = c.options;
    if (HasOption(options, L"R")) {
        if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
        const int field = t.FindField(args[0].text);
        if (field < 0) return RC_CANNOT_RENAME_FIELD;
        return t.RenameField(field, args[1].text);
    }
    if (args.size() == 1 || HasOption(options, L"Uu")) {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        for (const SWord& w : args) {
            const int field = t.FindField(w.text);
            if (field < 0) return RC_NO_SUCH_FIELD;
            if (const int code = t.UndefineField(field)) return code;
        }
        return 0;
    }
    if (args.size() < 3) return RC_TOO_FEW_ARGUMENTS;
    CItemSection hold(t.m_cs);
    long long index = 0;
    if (args[0].text == L"*") {
        index = -1;
        for (int f = 0; f < t.m_nFields && index < 0; ++f)
            if (!t.Field(f).Defined()) index = f;
        if (index < 0) return RC_TOO_MANY_FIELDS;
    } else if (!EvalInteger(args[0].text, index)) {
        return RC_BAD_TABLE_INDEX;
    }
    if (index < 0) return RC_NEGATIVE_FIELD_INDEX;
    const int type = FieldTypeWords().FindIndex(args[1].text, true);
    if (type < 0) return RC_BAD_FIELD_TYPE;
    long long count = 1;
    if (args.size() > 3 && !EvalInteger(args[3].text, count)) return RC_BAD_FIELD_REPETITION;
    if (count < 1) return RC_BAD_FIELD_REPETITION;
    const bool unique = HasOption(options, L"Aa");
    for (long long n = 0; n < count; ++n) {
        Text name = count > 1 ? Format(L"%s%d", args[2].text.c_str(), static_cast<int>(n)) : args[2].text;
        if (unique && t.FindField(name) >= 0) {
            for (int k = 0;; ++k) {
                const Text candidate = name + IntText(k);
                if (t.FindField(candidate) < 0) {
                    name = candidate;
                    break;
                }
            }
        }
        if (const int code = t.DefineField(static_cast<int>(index + n), type + 1, name)) return code;
    }
    return 0;
}

// CONFIG ------------------------------------------------------------------------------------------

namespace {

// The display format "AUTO" chooses from the field's type and, for strings, the longest cell.
Text AutoFormat(const CShellTable& t, int field) {
    const int type = t.Field(field).m_nType;
    if (type == FIELD_INTEGER) return L"%.0f";
    if (type == FIELD_NUMBER) return L"%.20lg";
    size_t longest = 0;
    Text cell;
    for (long r = 0; r < t.m_nRows; ++r)
        if (t.GetCell(r, field, cell)) longest = std::max(longest, cell.size());
    const int width = static_cast<int>(longest) + 1;
    return Format(L"%%-%d.%ds", width, width);
}

bool FormatWorks(const Text& format, bool numeric) {
    Text out;
    int error = 0;
    if (numeric) return FormatNumber(format, out, error, 0.0) && error == 0;
    const Text probe = L"x";
    return FormatText(1, &probe, format, out, error) && error == 0;
}

} // namespace

int TableConfig(STableSet& c) {
    CShellTable& t = c.item;
    CWords& args = c.args;
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CItemSection hold(t.m_cs);
    const int index = t.FindField(args[0].text);
    if (index < 0) return RC_NO_SUCH_FIELD;
    CShellTableField f = t.Field(index);
    double number = 0;
    auto num = [&](size_t k, double& out, bool keepZero, bool keepNegative) {
        if (Keep(args, k)) return true;
        if (!EvalNumber(args[k].text, number)) return false;
        if ((keepZero && number == 0) || (keepNegative && number < 0)) return true;
        out = number;
        return true;
    };
    if (!Flag(args, 1, f.m_bVisible) || !Flag(args, 2, f.m_bNamed) || !num(3, f.m_dScale, true, false))
        return RC_INVALID_ARGUMENT;
    if (!Keep(args, 4)) {
        const Text& format = args[4].text;
        if (EqualNoCase(format, L"AUTO")) {
            f.m_sFormat = AutoFormat(t, index);
        } else {
            if (!FormatWorks(format, f.Numeric())) return RC_BAD_FIELD_FORMAT;
            f.m_sFormat = format;
        }
    }
    if (!Flag(args, 5, f.m_bMissing) || !num(6, f.m_dMissing, false, false)) return RC_INVALID_ARGUMENT;
    if (!Keep(args, 7)) f.m_sMissing = args[7].text;
    if (!Keep(args, 8)) f.m_sHeader = args[8].text;
    if (!num(9, f.m_dWidth, false, true)) return RC_INVALID_ARGUMENT;
    int flags = f.m_nFlags;
    if (!Bit(args, 10, FIELD_ALIGN, flags) || !Bit(args, 11, FIELD_SORTABLE, flags) ||
        !Bit(args, 12, FIELD_EDITABLE, flags))
        return RC_INVALID_ARGUMENT;
    if (!Keep(args, 13)) f.m_sVTable = args[13].text;
    if (!Keep(args, 14)) {
        long long v = 0;
        if (!EvalInteger(args[14].text, v)) return RC_INVALID_ARGUMENT;
        f.m_nVField = static_cast<int>(v);
    }
    if (!Bit(args, 15, FIELD_VONLY, flags) || !Bit(args, 16, FIELD_VDEFAULT, flags) ||
        !Bit(args, 17, FIELD_VUSERDEFAULT, flags) || !Bit(args, 18, FIELD_MULTIROW, flags))
        return RC_INVALID_ARGUMENT;
    // Without a value table only the user default and multi-row flags mean anything.
    if (f.m_sVTable.empty())
        flags &= ~(FIELD_HAS_VTABLE | FIELD_VONLY | FIELD_VDEFAULT);
    else
        flags |= FIELD_HAS_VTABLE;
    f.m_nFlags = flags;
    t.Field(index) = f;
    t.m_nChanged |= TABLE_CHANGED_FIELDS;
    return 0;
}

int TableMode(STableSet& c) {
    CShellTable& t = c.item;
    CWords& args = c.args;
    CItemSection hold(t.m_cs);
    int mode = t.m_nMode;
    for (int bit = 0; bit < 3; ++bit)
        if (!Bit(args, static_cast<size_t>(bit), 1 << bit, mode)) return RC_INVALID_ARGUMENT;
    t.m_nMode = mode;
    if (!Keep(args, 3)) t.m_cDecimal = args[3].text[0];
    return 0;
}

int TableFormat(STableSet& c) {
    CShellTable& t = c.item;
    CWords& args = c.args;
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    CItemSection hold(t.m_cs);
    bool io = t.m_bNamedIO;
    if (!Flag(args, 0, io)) return RC_INVALID_ARGUMENT;
    Text* targets[] = {&t.m_sLSep, &t.m_sVSep, &t.m_sNumFormat, &t.m_sIntFormat};
    for (size_t k = 1; k < 5; ++k) {
        if (Keep(args, k)) continue;
        if (k >= 3 && !FormatWorks(args[k].text, true)) return RC_BAD_FIELD_FORMAT;
    }
    t.m_bNamedIO = io;
    for (size_t k = 1; k < 5; ++k)
        if (!Keep(args, k)) *targets[k - 1] = args[k].text;
    t.m_nChanged |= TABLE_CHANGED_CONTENT;
    return 0;
}

// SORT --------------------------------------------------------------------------------------------

int TableSort(STableSet& c) {
    CShellTable& t = c.item;
    CWords& args = c.args;
    COptions& options = c.options;
    const bool caseSensitive = HasOption(options, L"R");
    std::vector<std::pair<int, int>> keys;
    if (t.m_nKind == TABLE_PLAIN) {
        if (args.empty()) {
            t.ReverseRows();
            return 0;
        }
        const int dir = SortDirections().FindIndex(args[0].text, true);
        if (dir < 0) return RC_INVALID_ARGUMENT;
        keys.emplace_back(0, dir);
        return t.Sort(keys, caseSensitive);
    }
    if (args.size() % 2) return RC_TOO_FEW_ARGUMENTS;
    for (size_t k = 0; k + 1 < args.size(); k += 2) {
        const int field = t.FindField(args[k].text);
        if (field < 0) return RC_NO_SUCH_FIELD;
        const int dir = SortDirections().FindIndex(args[k + 1].text, true);
        if (dir < 0) return RC_INVALID_ARGUMENT;
        keys.emplace_back(field, dir);
    }
    return t.Sort(keys, caseSensitive);
}

// COPY --------------------------------------------------------------------------------------------

namespace {

// Rows of `from` into `to` from row `first` on. With a first field the source fields go to the
// fields from there by place; without, by name, and by place where no name matches.
int CopyRows(CShellTable& from, CShellTable& to, long first, int field) {
    if (&from == &to) return RC_INVALID_ARGUMENT;
    std::scoped_lock hold(from.m_cs, to.m_cs);
    std::vector<int> map(static_cast<size_t>(from.m_nFields), -1);
    int next = field;
    for (int f = 0; f < from.m_nFields; ++f) {
        if (!from.Field(f).Defined()) continue;
        if (field >= 0) {
            while (next < to.m_nFields && !to.Field(next).Defined()) ++next;
            map[f] = next < to.m_nFields ? next++ : -1;
            continue;
        }
        const int g = to.FindField(from.Field(f).m_sName);
        map[f] = g >= 0 ? g : (f < to.m_nFields && to.Field(f).Defined() ? f : -1);
    }
    Text cell;
    for (long v = 0; v < from.GetRows(); ++v) {
        const long src = from.GetRowIndex(v);
        const long dst = EnsureTableRow(to, first + v, true);
        if (dst < 0) return RC_CANNOT_ADD_ENTRY;
        for (int f = 0; f < from.m_nFields; ++f) {
            if (map[f] < 0) continue;
            from.GetCell(src, f, cell);
            if (const int code = to.SetCell(dst, map[f], cell)) return code;
        }
    }
    return 0;
}

} // namespace

// COPY source [firstrow [field]]: rows of another table, or the numbers of a value, into this
// table from `firstrow` (default: behind the last row) and `field` on. /C empties the table
// first, /W copies the other way (into the source table), /R transposes a value.
int TableCopy(STableSet& c) {
    CShell& shell = c.shell;
    CShellTable& t = c.item;
    CWords& args = c.args;
    COptions& options = c.options;
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    long long first = -1;
    int given = -1;
    if (args.size() > 1 && !Keep(args, 1) && !EvalInteger(args[1].text, first)) return RC_BAD_TABLE_INDEX;
    CShellTable* other = CShellTable::Find(shell, args[0].text);
    const bool toOther = HasOption(options, L"Ww");
    if (args.size() > 2) {
        given = toOther ? (other ? other->FindField(args[2].text) : -1) : t.FindField(args[2].text);
        if (given < 0) return RC_NO_SUCH_FIELD;
    }
    const bool transpose = HasOption(options, L"Rr");
    if (toOther) {
        if (!other) return RC_TYPE_MISMATCH;
        if (HasOption(options, L"Cc")) other->DeleteAllRows();
        return CopyRows(t, *other, first < 0 ? other->m_nRows : static_cast<long>(first), given);
    }
    // A table turned round is read as its matrix.
    Matrix value;
    if (other && transpose && !other->ToValue(-1, -1, value)) return RC_TYPE_MISMATCH;
    if (HasOption(options, L"Cc") && other != &t) t.DeleteAllRows();
    const long start = first < 0 ? t.m_nRows : static_cast<long>(first);
    if (other && !transpose) return CopyRows(*other, t, start, given);
    if (!other && !ValueOfText(shell, args[0].text, value)) return RC_TYPE_MISMATCH;
    const int field = std::max(given, 0);
    const int rows = transpose ? value.Cols() : value.Rows();
    const int cols = transpose ? value.Rows() : value.Cols();
    CItemSection hold(t.m_cs);
    for (int r = 0; r < rows; ++r) {
        const long row = EnsureTableRow(t, start + r, true);
        if (row < 0) return RC_CANNOT_ADD_ENTRY;
        for (int c = 0; c < cols && field + c < t.m_nFields; ++c) {
            if (!t.Field(static_cast<int>(field + c)).Defined()) continue;
            const double v = transpose ? value.At(c, r) : value.At(r, c);
            if (const int code = t.SetNumber(row, static_cast<int>(field + c), v)) return code;
        }
    }
    return 0;
}

// CLIPBOARD -------------------------------------------------------------------------------------

namespace {
std::mutex g_clipboardLock;
Text g_clipboard;
ClipboardGet g_clipboardGet = nullptr;
ClipboardSet g_clipboardSet = nullptr;
} // namespace

void SetClipboardHooks(ClipboardGet get, ClipboardSet set) {
    std::lock_guard<std::mutex> hold(g_clipboardLock);
    g_clipboardGet = get;
    g_clipboardSet = set;
}

bool ReadClipboard(Text& out) {
    std::lock_guard<std::mutex> hold(g_clipboardLock);
    if (g_clipboardGet) return g_clipboardGet(out);
    out = g_clipboard;
    return true;
}

bool WriteClipboard(const Text& text) {
    std::lock_guard<std::mutex> hold(g_clipboardLock);
    if (g_clipboardSet) return g_clipboardSet(text);
    g_clipboard = text;
    return true;
}

int TableClipboard(STableSet& c) {
    CShellTable& t = c.item;
    COptions& options = c.options;
    if (!HasOption(options, L"Rr")) {
        Text text;
        {
            CItemSection hold(t.m_cs);
            const bool storage = HasOption(options, L"Ww");
            for (long v = 0; v < t.GetRows(); ++v) {
                const long row = t.GetRowIndex(v);
                text += t.m_nKind == TABLE_PLAIN ? [&] {
                    Text cell;
                    t.GetCell(row, 0, cell);
                    return cell;
                }()
                                                 : t.RowText(row, storage);
                text += L"\r\n";
            }
        }
        return WriteClipboard(text) ? 0 : RC_CLIPBOARD_FAILED;
    }
    Text text;
    if (!ReadClipboard(text)) return RC_CLIPBOARD_FAILED;
    if (HasOption(options, L"Dd") && !WriteClipboard(Text())) return RC_CLIPBOARD_FAILED;
    CItemSection hold(t.m_cs);
    if (HasOption(options, L"Ee")) t.DeleteAllRows();
    size_t start = 0;
    while (start < text.size()) {
        size_t end = text.find(L"\r\n", start);
        if (end == Text::npos) end = text.size();
        const TextView line = TextView(text).substr(start, end - start);
        start = end + 2;
        const long row = t.AppendRows(1);
        if (row < 0) return RC_CANNOT_ADD_ENTRY;
        if (t.m_nKind == TABLE_PLAIN)
            t.SetRowString(row, line);
        else
            t.SetRowText(row, line);
    }
    return 0;
}
