// The FILE item kind: NEW FILE with its options, the SET keywords of files
// and the attribute queries f[!NAME].
#include <unistd.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>

#include "base/keyword_table.h"
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

// The keywords of SET on a file; the XML keywords follow the file keywords.
static constexpr const wchar_t* kSetWords[] = {
    L"STATUS",       L"DELETE",     L"RENAME",       L"COPY",          L"FIND",     L"NEXT",
    L"LOAD",         L"SAVE",       L"LIST",         L"SYNC",          L"POSITION", L"ADDFILE",
    L"ADDTABLE",     L"ADDELEMENT", L"SETATTRIBUTE", L"DELETEELEMENT", L"SETDATA",  L"GETDATA",
    L"GOTO",         L"ROOT",       L"ADDNODE",      L"DOCTYPE",       L"VALIDATE", L"EXTRACTFILE",
    L"EXTRACTTABLE", L"SORT",       nullptr};
enum {
    SET_STATUS,
    SET_DELETE,
    SET_RENAME,
    SET_COPY,
    SET_FIND,
    SET_NEXT,
    SET_LOAD,
    SET_SAVE,
    SET_LIST,
    SET_SYNC,
    SET_FIRST_XML, // POSITION and all behind it
};

bool Quiet(const COptions& options) {
    return HasOption(options, L"Ss");
}

int Twin(int code, bool quiet) {
    return quiet && !IsWarning(code) ? SilentTwin(code, code) : code;
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
    CShell::ItemEntry* e = args.size() > 1 ? shell.FindItem(args[1].text) : nullptr;
    if (!e) return 222;
    long long index = -1;
    if (args.size() > 2) {
        if (!EvalInteger(args[2].text, index)) return ArgumentError(3, false);
        if (index < 0) return 223;
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
        return 222;
    }
}

int SaveRecord(CShell& shell, CShellFile& file, CWords& args, COptions& options) {
    const Text name = Arg(args, 1);
    if (name == L"*") return 0;
    CShell::ItemEntry* e = name.empty() ? nullptr : shell.FindItem(name);
    if (!e) return 222;
    long long index = -1;
    if (args.size() > 2 && !EvalInteger(args[2].text, index)) return ArgumentError(3, false);
    SRecord record;
    switch (ItemKindOf(e->user)) {
    case KIND_TABLE:
        if (const int code = TableIntoRecord(e->value, record)) return code;
        break;
    case KIND_NUMBER:
        if (!MatrixRecord(static_cast<SNumberObject*>(e->value)->value, record)) return 230;
        break;
    case KIND_VALUE: {
        auto* value = static_cast<CShellValue*>(e->value);
        std::lock_guard<std::mutex> hold(value->m_lock);
        if (!MatrixRecord(value->m_value, record)) return 230;
        break;
    }
    default:
        return 230;
    }
    if (record.rows < 1 || record.cols < 1) return 230;
    return file.WriteRecord(static_cast<long>(index), record, ElementOption(options));
}

void* TableArgument(CShell& shell, const CWords& args) {
    CShell::ItemEntry* e = args.size() > 1 ? shell.FindItem(args[1].text, KIND_TABLE) : nullptr;
    return e ? e->value : nullptr;
}

int LoadFile(CShell& shell, CShellFile& file, CWords& args, const COptions& options) {
    if (file.Type() == FILE_TYPE_BINARY) return LoadRecord(shell, file, args, options);
    if (file.Type() != FILE_TYPE_TEXT && file.Type() != FILE_TYPE_SECTION) return 195;
    void* table = TableArgument(shell, args);
    if (!table) return ArgumentError(2, false);
    std::vector<Text> lines;
    if (file.Type() == FILE_TYPE_TEXT) {
        if (const int code = file.TextLines(lines)) return code;
    } else if (args.size() < 3 || !file.SectionLines(args[2].text, Arg(args, 3), lines)) {
        return 235;
    }
    return AppendTableRows(table, lines);
}

int SaveFile(CShell& shell, CShellFile& file, CWords& args, COptions& options) {
    if (file.Type() == FILE_TYPE_BINARY) return SaveRecord(shell, file, args, options);
    if (file.Type() != FILE_TYPE_TEXT && file.Type() != FILE_TYPE_SECTION) return 195;
    void* table = TableArgument(shell, args);
    if (!table) return ArgumentError(2, false);
    std::vector<Text> rows;
    if (const int code = TableRowTexts(table, rows)) return code;
    if (file.Type() == FILE_TYPE_SECTION) {
        if (args.size() < 3) return 237;
        file.ReplaceSection(args[2].text, Arg(args, 3), &rows);
        return 0;
    }
    for (const Text& row : rows)
        if (const int code = file.WriteText(row + L"\r\n")) return code;
    return 0;
}

int ListFile(CShell& shell, CShellFile& file, CWords& args) {
    if (file.Type() != FILE_TYPE_SECTION && file.Type() != FILE_TYPE_BINARY) return 196;
    void* table = TableArgument(shell, args);
    if (!table) return 7;
    std::vector<Text> rows;
    if (file.Type() == FILE_TYPE_SECTION) {
        file.Headings(Arg(args, 2), Arg(args, 3), rows);
    } else if (const int code = file.RecordList(rows)) {
        return code;
    }
    return AppendTableRows(table, rows) ? 7 : 0;
}

int CopyFile(CShell& shell, CShellFile& file, CWords& args, COptions& options, bool quiet) {
    if (HasOption(options, L"Zz")) {
        const bool encode = HasOption(options, L"Ee");
        const bool decode = HasOption(options, L"Dd");
        if (encode == decode) return 6;
        if (args.size() < 2) return 2;
        Text log;
        const bool done = EncodeFile(args[1].text, Arg(args, 2), Arg(args, 3), decode, log);
        shell.Env().Log(log);
        if (!done) return 7;
        ++file.m_nChanged;
        return 0;
    }
    if (args.size() < 3) return 2;
    std::error_code error;
    std::filesystem::copy_file(ToUtf8(args[1].text), ToUtf8(args[2].text),
                               std::filesystem::copy_options::overwrite_existing, error);
    if (error) return Twin(277, quiet);
    ++file.m_nChanged;
    return 0;
}

int SetFile(CShell& shell, CShellFile& file, CWords& args, COptions& options, Text& result) {
    static const CKeywordTable kTable(kSetWords);
    const bool quiet = Quiet(options);
    const int word = kTable.Find(args[0].text);
    if (word < 0) return Twin(64, quiet);
    const bool xmlFile = file.Type() == FILE_TYPE_XML;
    const bool xmlWord = word >= SET_FIRST_XML || word == SET_FIND || word == SET_NEXT || word == SET_LOAD ||
                         word == SET_SAVE || word == SET_LIST;
    if (xmlFile && xmlWord) {
        const SXmlFileHooks* hooks = XmlFileHooks();
        if (!hooks || !hooks->set) return 157;
        CWords rest(args.begin() + 1, args.end());
        return hooks->set(shell, file, kSetWords[word], rest, options, result);
    }
    if (word >= SET_FIRST_XML) return quiet ? 396 : 97;

    CItemSection hold(file.m_cs);
    switch (word) {
    case SET_STATUS:
        if (args.size() < 2) return 66;
        file.SetPath(args[1].text);
        return file.LookUp() ? 0 : 66;
    case SET_DELETE: {
        const Text path = args.size() > 1 ? args[1].text : file.Path();
        if (::unlink(ToUtf8(path).c_str()) != 0) return quiet ? 314 : 275;
        ++file.m_nChanged;
        return 0;
    }
    case SET_RENAME:
        if (args.size() < 3) return 2;
        if (std::rename(ToUtf8(args[1].text).c_str(), ToUtf8(args[2].text).c_str()) != 0)
            return quiet ? 315 : 276;
        ++file.m_nChanged;
        return 0;
    case SET_COPY:
        return CopyFile(shell, file, args, options, quiet);
    case SET_FIND:
        return file.FindFirst(Arg(args, 1), HasOption(options, L"Dd"), quiet);
    case SET_NEXT:
        return file.FindNext(quiet);
    case SET_LOAD:
        return LoadFile(shell, file, args, options);
    case SET_SAVE:
        return SaveFile(shell, file, args, options);
    case SET_LIST:
        return ListFile(shell, file, args);
    case SET_SYNC:
        return file.Sync();
    }
    return 7;
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
        if (args.empty() && type != FILE_TYPE_FILE && type != FILE_TYPE_LIST) return 2;
        int typeWord = type | AccessOptions(type, options);
        if (type == FILE_TYPE_XML && HasOption(options, L"Ee")) typeWord |= FILE_XML_EXTENDED;
        auto* file = new CShellFile(&shell.Env(), typeWord);
        file->m_sShell = shell.IdText();
        if (!args.empty()) file->SetPath(args[0].text);
        int code = 0;
        if (type == FILE_TYPE_GDX) {
            for (size_t i = 0; i < 3 && !code; ++i) {
                if (i + 1 >= args.size()) {
                    code = 2;
                } else if (!EvalInteger(args[i + 1].text, file->m_gdx[i]) || file->m_gdx[i] < 0 ||
                           (i == 1 && file->m_gdx[i] < 1)) {
                    code = ArgumentError(static_cast<int>(i) + 3, false);
                }
            }
        }
        if (!code && type == FILE_TYPE_XML) {
            const SXmlFileHooks* hooks = XmlFileHooks();
            code = hooks && hooks->open ? hooks->open(shell, *file, args, options) : 157;
        } else if (!code) {
            code = file->Open(quiet);
        }
        if (code) {
            file->Release();
            return quiet && !IsWarning(code) ? SilentTwin(code, code) : code;
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
        if (args.empty()) return 2;
        return Twin(SetFile(shell, static_cast<CShellFile&>(item), args, options, result), Quiet(options));
    }
};

} // namespace

void RegisterFiles() {
    static CFileKind kind;
    CItemKindRegistry::Register(&kind);
    RegisterFileCommands();
}
