// The FILE item kind: NEW FILE with its options, the SET keywords of files
// and the attribute queries f[!NAME].
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "expr/number_object.h"
#include "expr/numeric_args.h"
#include "items/file_encoder.h"
#include "items/file_tables.h"
#include "items/shell_file.h"
#include "items/value_item.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

void RegisterFileCommands();

namespace {

using SFileSet = SSetCall<CShellFile>;
using SFileRow = SSetRow<CShellFile>;

// Flags of the file's SET rows.
enum : unsigned {
    FILE_ALSO_XML = SET_KIND_FLAGS,      // on an XML file the XML file's handler takes it
    FILE_XML_ONLY = SET_KIND_FLAGS << 1, // an XML file's keyword: other files answer "XML file expected"
};

bool Quiet(const COptions& options) {
    return HasOption(options, L"Ss");
}

// The silent twin of a failure; a warning stays as it is.
int Twin(int code, bool quiet) {
    return IsWarning(code) ? code : Silent(code, quiet);
}

Text Arg(const CWords& args, size_t i) {
    return i < args.size() ? args[i].text : Text();
}

// The element type of a record written by SAVE: /1 16-bit integer, /2 32-bit
// integer, /3 float, /4 (the default) double.
uint32_t ElementOption(const COptions& options) {
    if (HasOption(options, L"1")) return RECORD_INT16;
    if (HasOption(options, L"2")) return RECORD_INT32;
    if (HasOption(options, L"3")) return RECORD_FLOAT;
    return RECORD_DOUBLE;
}

Matrix RecordMatrix(const SRecord& record) {
    return Matrix::FromColumnMajor(record.rows, record.cols, record.data.data());
}

// A matrix as a record. A vector is one column; the empty value has no record.
bool MatrixRecord(const Matrix& value, SRecord& record) {
    if (value.IsEmpty()) return false;
    record.rows = value.Rows();
    record.cols = value.Cols();
    record.data.assign(value.Data(), value.Data() + value.Size());
    return true;
}

// LOAD item [index]; with /R one raw row of the record at a time.
int LoadRecord(CShell& shell, CShellFile& file, CWords& args, const COptions& options) {
    CShell::ItemEntry* e = args.empty() ? nullptr : shell.FindItem(args[0].text);
    if (!e) return RC_NULL_RECORD_ITEM;
    long long index = -1;
    if (args.size() > 1) {
        if (!EvalInteger(args[1].text, index)) return ArgumentError(3, false);
        if (index < 0) return RC_BAD_RECORD_INDEX;
    }
    SRecord record;
    const bool raw = HasOption(options, L"Rr");
    if (const int code = raw ? file.ReadRawRow(static_cast<long>(index), record)
                             : file.ReadRecord(static_cast<long>(index), record))
        return code;
    switch (ItemKindOf(e->user)) {
    case KIND_TABLE:
        return RecordIntoTable(e->value, record);
    case KIND_NUMBER:
        static_cast<SNumberObject*>(e->value)->value = RecordMatrix(record);
        return 0;
    case KIND_VALUE: {
        auto* value = static_cast<CShellValue*>(e->value);
        std::lock_guard<std::mutex> hold(value->m_lock);
        value->m_value = RecordMatrix(record);
        value->m_text.clear();
        value->m_type = value->m_value.IsScalar()   ? CShellValue::DATA_NUMBER
                        : value->m_value.IsVector() ? CShellValue::DATA_VECTOR
                                                    : CShellValue::DATA_ARRAY;
        return 0;
    }
    default:
        return RC_NULL_RECORD_ITEM;
    }
}

int SaveRecord(CShell& shell, CShellFile& file, CWords& args, COptions& options) {
    const Text name = Arg(args, 0);
    if (name == L"*") return 0;
    CShell::ItemEntry* e = name.empty() ? nullptr : shell.FindItem(name);
    if (!e) return RC_NULL_RECORD_ITEM;
    long long index = -1;
    if (args.size() > 1 && !EvalInteger(args[1].text, index)) return ArgumentError(3, false);
    SRecord record;
    switch (ItemKindOf(e->user)) {
    case KIND_TABLE:
        if (const int code = TableIntoRecord(e->value, record)) return code;
        break;
    case KIND_NUMBER:
        if (!MatrixRecord(static_cast<SNumberObject*>(e->value)->value, record)) return RC_BAD_RECORD_ITEM;
        break;
    case KIND_VALUE: {
        auto* value = static_cast<CShellValue*>(e->value);
        std::lock_guard<std::mutex> hold(value->m_lock);
        if (!MatrixRecord(value->m_value, record)) return RC_BAD_RECORD_ITEM;
        break;
    }
    default:
        return RC_BAD_RECORD_ITEM;
    }
    if (record.rows < 1 || record.cols < 1) return RC_BAD_RECORD_ITEM;
    return file.WriteRecord(static_cast<long>(index), record, ElementOption(options));
}

void* TableArgument(CShell& shell, const CWords& args) {
    CShell::ItemEntry* e = args.empty() ? nullptr : shell.FindItem(args[0].text, KIND_TABLE);
    return e ? e->value : nullptr;
}

// --- The keywords of SET f, each with the words behind the keyword --------------------------

int FileStatus(SFileSet& c) {
    if (c.args.empty()) return RC_BAD_ARG3;
    c.item.SetPath(c.args[0].text);
    return c.item.LookUp() ? 0 : RC_BAD_ARG3;
}

int FileDelete(SFileSet& c) {
    const Text path = c.args.empty() ? c.item.Path() : c.args[0].text;
    if (::unlink(ToUtf8(path).c_str()) != 0) return Silent(RC_CANNOT_DELETE_FILE, c.quiet);
    ++c.item.m_nChanged;
    return 0;
}

int FileRename(SFileSet& c) {
    if (std::rename(ToUtf8(c.args[0].text).c_str(), ToUtf8(c.args[1].text).c_str()) != 0)
        return Silent(RC_CANNOT_RENAME_FILE, c.quiet);
    ++c.item.m_nChanged;
    return 0;
}

// COPY from to; with /Z and /E or /D an encoded copy (from to password).
int FileCopy(SFileSet& c) {
    if (HasOption(c.options, L"Zz")) {
        const bool encode = HasOption(c.options, L"Ee");
        const bool decode = HasOption(c.options, L"Dd");
        if (encode == decode) return RC_MISSING_OPTION;
        if (c.args.empty()) return RC_TOO_FEW_ARGUMENTS;
        Text log;
        const bool done = EncodeFile(c.args[0].text, Arg(c.args, 1), Arg(c.args, 2), decode, log);
        c.shell.Env().Log(log);
        if (!done) return RC_COMMAND_ERROR;
        ++c.item.m_nChanged;
        return 0;
    }
    if (c.args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
    std::error_code error;
    std::filesystem::copy_file(ToUtf8(c.args[0].text), ToUtf8(c.args[1].text),
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) return Twin(RC_CANNOT_COPY_FILE, c.quiet);
    ++c.item.m_nChanged;
    return 0;
}

int FileFind(SFileSet& c) {
    return c.item.FindFirst(Arg(c.args, 0), HasOption(c.options, L"Dd"), c.quiet);
}

int FileNext(SFileSet& c) {
    return c.item.FindNext(c.quiet);
}

// LOAD table [section [key]] of text and section files; LOAD item [index] of binary files.
int FileLoad(SFileSet& c) {
    CShellFile& file = c.item;
    if (file.Type() == FILE_TYPE_BINARY) return LoadRecord(c.shell, file, c.args, c.options);
    if (file.Type() != FILE_TYPE_TEXT && file.Type() != FILE_TYPE_SECTION) return RC_FILE_ITEM_EXPECTED;
    void* table = TableArgument(c.shell, c.args);
    if (!table) return ArgumentError(2, false);
    std::vector<Text> lines;
    if (file.Type() == FILE_TYPE_TEXT) {
        if (const int code = file.TextLines(lines)) return code;
    } else if (c.args.size() < 2 || !file.SectionLines(c.args[1].text, Arg(c.args, 2), lines)) {
        return RC_SECTION_LOAD_FAILED;
    }
    return AppendTableRows(table, lines);
}

int FileSave(SFileSet& c) {
    CShellFile& file = c.item;
    if (file.Type() == FILE_TYPE_BINARY) return SaveRecord(c.shell, file, c.args, c.options);
    if (file.Type() != FILE_TYPE_TEXT && file.Type() != FILE_TYPE_SECTION) return RC_FILE_ITEM_EXPECTED;
    void* table = TableArgument(c.shell, c.args);
    if (!table) return ArgumentError(2, false);
    std::vector<Text> rows;
    if (const int code = TableRowTexts(table, rows)) return code;
    if (file.Type() == FILE_TYPE_SECTION) {
        if (c.args.size() < 2) return RC_SECTION_WRITE_FAILED;
        file.ReplaceSection(c.args[1].text, Arg(c.args, 2), &rows);
        return 0;
    }
    for (const Text& row : rows)
        if (const int code = file.WriteText(row + L"\r\n")) return code;
    return 0;
}

// LIST table [section [key]]: the headings of a section file, the records of a binary file.
int FileList(SFileSet& c) {
    CShellFile& file = c.item;
    if (file.Type() != FILE_TYPE_SECTION && file.Type() != FILE_TYPE_BINARY)
        return RC_BINARY_OR_SECTION_EXPECTED;
    void* table = TableArgument(c.shell, c.args);
    if (!table) return RC_COMMAND_ERROR;
    std::vector<Text> rows;
    if (file.Type() == FILE_TYPE_SECTION) {
        file.Headings(Arg(c.args, 1), Arg(c.args, 2), rows);
    } else if (const int code = file.RecordList(rows)) {
        return code;
    }
    return AppendTableRows(table, rows) ? RC_COMMAND_ERROR : 0;
}

int FileSync(SFileSet& c) {
    return c.item.Sync();
}

// The keywords of an XML file go to the XML file's own handler.
int FileXml(SFileSet& c) {
    const SXmlFileHooks* hooks = XmlFileHooks();
    if (!hooks || !hooks->set) return RC_NOT_SUPPORTED;
    return hooks->set(c.shell, c.item, c.keyword, c.args, c.options, c.result);
}

// The order is the language's (KVOCONSTANTS FILE): the XML file's own keywords
// follow from 13 on, appended by the XML code as FILE_XML_ONLY rows.
constexpr SFileRow kFileRows[] = {
    {L"STATUS", FileStatus},
    {L"DELETE", FileDelete},
    {L"RENAME", FileRename, 2},
    {L"COPY", FileCopy},
    {L"FIND", FileFind, 0, FILE_ALSO_XML},
    {L"NEXT", FileNext, 0, FILE_ALSO_XML},
    {L"LOAD", FileLoad, 0, FILE_ALSO_XML},
    {L"SAVE", FileSave, 0, FILE_ALSO_XML},
    {L"LIST", FileList, 0, FILE_ALSO_XML},
    {L"SYNC", FileSync},
    kSetLockRow<CShellFile>,
    kSetUnlockRow<CShellFile>,
    kSetTryLockRow<CShellFile>,
};
CSetTable<CShellFile> g_fileSet(L"FILE", kFileRows);

int SetFile(CShell& shell, CShellFile& file, CWords& args, COptions& options, Text& result) {
    const bool quiet = Quiet(options);
    const SFileRow* row = g_fileSet.Find(args[0].text);
    if (!row) return Twin(RC_BAD_ARG1, quiet);
    CWords rest(args.begin() + 1, args.end());
    SFileSet call{shell, file, rest, options, result, row->keyword, quiet};
    if (file.Type() == FILE_TYPE_XML && (row->options & (FILE_ALSO_XML | FILE_XML_ONLY)))
        return FileXml(call);
    if (row->options & FILE_XML_ONLY) return Silent(RC_XML_FILE_EXPECTED, quiet);
    if (static_cast<int>(rest.size()) < row->minArgs) return RC_TOO_FEW_ARGUMENTS;
    if (row->options & SET_UNHELD) return row->handler(call);
    CItemSection hold(file.m_cs);
    return row->handler(call);
}

// Type options of NEW FILE, first given wins; /s is NEW's own quiet option, not a section.
int TypeOption(const COptions& options) {
    for (const SOption& o : options) {
        switch (o.letter) {
        case L'F':
        case L'f':
            return FILE_TYPE_FILE;
        case L'L':
        case L'l':
            return FILE_TYPE_LIST;
        case L'T':
        case L't':
            return FILE_TYPE_TEXT;
        case L'B':
        case L'b':
            return FILE_TYPE_BINARY;
        case L'S':
            return FILE_TYPE_SECTION;
        case L'X':
        case L'x':
            return FILE_TYPE_XML;
        case L'Y':
        case L'y':
            return FILE_TYPE_GDX;
        default:
            break;
        }
    }
    return FILE_TYPE_FILE;
}

// Text files read by default, /W writes (emptying the file), /A appends. The
// record files and section files are opened for writing unless /R is given,
// keeping their content unless /D is given; a missing one is made empty, so
// that a macro can build a new section file with SAVE and SYNC.
int AccessOptions(int type, const COptions& options) {
    const bool empty = HasOption(options, L"Dd");
    switch (type) {
    case FILE_TYPE_TEXT:
        if (HasOption(options, L"Ww")) return FILE_ACCESS_WRITE | FILE_ACCESS_EMPTY;
        if (HasOption(options, L"Aa")) return FILE_ACCESS_APPEND;
        return FILE_ACCESS_READ;
    case FILE_TYPE_BINARY:
    case FILE_TYPE_GDX:
    case FILE_TYPE_SECTION:
        if (HasOption(options, L"Rr")) return FILE_ACCESS_READ;
        return FILE_ACCESS_READ | FILE_ACCESS_WRITE | (empty ? FILE_ACCESS_EMPTY : 0);
    default:
        return FILE_ACCESS_READ;
    }
}

class CFileKind : public CShellItemKind {
public:
    CFileKind() : CShellItemKind(KIND_FILE, L"FILE", L"F", true) {}

    int Create(CShell& shell, const Text&, CWords& args, COptions& options, void*& object) override {
        const bool quiet = HasOption(options, L"Ii");
        const int type = TypeOption(options);
        if (args.empty() && type != FILE_TYPE_FILE && type != FILE_TYPE_LIST) return RC_TOO_FEW_ARGUMENTS;
        int typeWord = type | AccessOptions(type, options);
        if (type == FILE_TYPE_XML && HasOption(options, L"Ee")) typeWord |= FILE_XML_EXTENDED;
        auto* file = new CShellFile(&shell.Env(), typeWord);
        file->m_sShell = shell.IdText();
        if (!args.empty()) file->SetPath(args[0].text);
        int code = 0;
        if (type == FILE_TYPE_GDX) {
            for (size_t i = 0; i < 3 && !code; ++i) {
                if (i + 1 >= args.size()) {
                    code = RC_TOO_FEW_ARGUMENTS;
                } else if (!EvalInteger(args[i + 1].text, file->m_gdx[i]) || file->m_gdx[i] < 0 ||
                           (i == 1 && file->m_gdx[i] < 1)) {
                    code = ArgumentError(static_cast<int>(i) + 3, false);
                }
            }
        }
        if (!code && type == FILE_TYPE_XML) {
            const SXmlFileHooks* hooks = XmlFileHooks();
            code = hooks && hooks->open ? hooks->open(shell, *file, args, options) : RC_NOT_SUPPORTED;
        } else if (!code) {
            code = file->Open(quiet);
        }
        if (code) {
            file->Release();
            return Twin(code, quiet);
        }
        object = file;
        return 0;
    }

    int Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) override {
        out.clear();
        if (args.empty()) return 0;
        auto* file = static_cast<CShellFile*>(AsItem(object));
        TextView word = args[0];
        if (!word.empty() && word[0] == L'!') word.remove_prefix(1);
        {
            CItemSection hold(file->m_cs);
            if (file->Attribute(word, out)) return 0;
        }
        if (const SXmlFileHooks* hooks = XmlFileHooks(); hooks && hooks->status)
            hooks->status(shell, *file, args, out);
        return 0;
    }

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                Text& result) override {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        return Twin(SetFile(shell, static_cast<CShellFile&>(item), args, options, result), Quiet(options));
    }
    bool HoldsFor(const CWords& args) override { return !SetRowUnheld(g_fileSet, args); }
};

} // namespace

void RegisterFiles() {
    static CFileKind kind;
    CItemKindRegistry::Register(&kind);
    CSubcommandRegistry::Register(g_fileSet);
    RegisterFileCommands();
}
