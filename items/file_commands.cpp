// READ, READTAB and WRITE: the commands that take text from files and
// tables into variables, and write text to a text file item.
#include <iterator>

#include "expr/format_engine.h"
#include "items/file_tables.h"
#include "items/read_template.h"
#include "items/shell_file.h"
#include "shell/command_registry.h"
#include "shell/error_table.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {

bool Quiet(const COptions& options) {
    return HasOption(options, L"Ss");
}

int Finish(int code, const COptions& options) {
    return code && Quiet(options) && !IsWarning(code) ? SilentTwin(code, code) : code;
}

CShellFile* TextFile(const CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_FILE);
    if (!e) return nullptr;
    auto* file = static_cast<CShellFile*>(AsItem(e->value));
    return file->Type() == FILE_TYPE_TEXT ? file : nullptr;
}

// READ source template...: the source is the next line of a file item, an
// entry of a table item (the row number follows the table), or a variable's
// value; a word that names no variable is the text itself.
int ReadCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    const SWord& first = args[0];
    Text source;
    size_t templateStart = 1;
    CShell::ItemEntry* e = first.kind == SWord::Plain ? shell.FindItem(first.text) : nullptr;
    if (e && ItemKindOf(e->user) == KIND_FILE) {
        auto* file = static_cast<CShellFile*>(AsItem(e->value));
        bool end = false;
        CItemSection hold(file->m_cs);
        if (const int code = file->ReadLine(source, end)) return Finish(code, options);
    } else if (e && ItemKindOf(e->user) == KIND_TABLE) {
        if (args.size() < 3) return Finish(2, options);
        if (const int code = TableEntryText(e->value, args[1].text, options, source))
            return Finish(code, options);
        templateStart = 2;
    } else if (first.kind == SWord::Quoted || !shell.GetVar(first.text, source)) {
        source = first.text;
    }
    ReadTemplate(shell, source, CWords(args.begin() + static_cast<long>(templateStart), args.end()), options);
    return 0;
}

// READTAB table row template...
int ReadTableCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    CShell::ItemEntry* e = shell.FindItem(args[0].text, KIND_TABLE);
    if (!e) return Finish(ArgumentError(1, false), options);
    Text source;
    if (const int code = TableEntryText(e->value, args[1].text, options, source))
        return Finish(code, options);
    ReadTemplate(shell, source, CWords(args.begin() + 2, args.end()), options);
    return 0;
}

// WRITE file words...: the words joined by blanks, or with /F formatted by the
// first of them; each /N adds a line break. No line end of its own.
int WriteCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    CShellFile* file = args.empty() ? nullptr : TextFile(shell, args[0].text);
    if (!file) return RC_COMMAND_ERROR;
    Text text;
    if (HasOption(options, L"Ff")) {
        if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
        std::vector<Text> values;
        for (size_t i = 2; i < args.size(); ++i) values.push_back(args[i].text);
        int error = 0;
        if (!FormatText(static_cast<int>(values.size()), values.data(), args[1].text, text, error))
            return error;
    } else {
        text = JoinWords(args, 1);
    }
    for (const SOption& o : options)
        if (o.letter == L'N' || o.letter == L'n') text += L"\r\n";
    CItemSection hold(file->m_cs);
    return file->WriteText(text);
}

static constexpr CCommandRow kFileCommands[] = {
    {.name = L"READ",
     .handler = ReadCommand,
     .m_bOptions = true,
     .minArgs = 2,
     .resultVar = L"#READ",
     .failText = L"0"},
    {.name = L"READTAB",
     .handler = ReadTableCommand,
     .m_bOptions = true,
     .minArgs = 3,
     .resultVar = L"#READ",
     .failText = L"0"},
    {.name = L"WRITE", .handler = WriteCommand, .m_bOptions = true, .selector = 0, .resultVar = L"RC"},
};

} // namespace

void RegisterFileCommands() {
    CCommandRegistry::Register(kFileCommands, std::size(kFileCommands));
}
