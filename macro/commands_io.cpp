// INTERPRET (a text compiled at run time becomes the frame's next line, with
// an optional input history), WRITELOG (a line to the log, joined or
// formatted) and EMSG (the message of a code, or of all codes into a table).
#include "macro/commands_io.h"

#include <iterator>

#include "expr/format_engine.h"
#include "expr/numeric_args.h"
#include "macro/commands_tables.h"
#include "macro/compiler.h"
#include "macro/frame.h"
#include "shell/command_registry.h"
#include "shell/error_table.h"
#include "shell/item_kind.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

int InterpretCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    auto* frame = dynamic_cast<CMacroFrame*>(shell.m_pFrame);
    if (!frame) return RC_UNKNOWN_MACRO;
    Text text;
    size_t next = 1; // the word after the source of the text
    if (HasOption(options, L"Tt")) {
        // The table's entry; a missing table or row leaves the text empty.
        const Text row = args.size() > 1 && args[1].text != L"*" ? args[1].text : Text();
        const int rc = TableRowText(shell, args[0].text, row, text);
        if (rc != 0 && rc != RC_BAD_ARG1 && rc != RC_BAD_ARG2) return rc;
        next = 2;
    } else if (HasOption(options, L"Ss")) {
        text = args.empty() ? Text() : args[0].text;
    } else {
        text = shell.GetVar(args.empty() ? Text(L"ICMD") : args[0].text);
    }
    text = Trim(text);
    if (text.empty()) {
        result = L"0;";
        return 0;
    }
    auto line = std::make_unique<CCodeLine>();
    line->sourceLine = frame->m_current;
    Text message;
    if (!CompileRunTimeLine(text, *line, message)) {
        result = L"1;" + message;
        return 0;
    }
    // A table behind the target keeps the input history.
    if (args.size() > next + 1 && shell.FindItem(args[next + 1].text, KIND_TABLE)) {
        const int rc = AddHistoryEntry(shell, args[next + 1].text, text);
        if (rc != 0) return rc;
    }
    frame->m_pendingLine = std::move(line);
    frame->m_bPending = true;
    shell.m_interpretTarget = args.size() > next && args[next].text != L"*" ? args[next].text : Text(L"IRES");
    result = L"2;";
    return 0;
}

int WriteLogCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    CShellEnv& env = shell.Env();
    if (HasOption(options, L"Cc")) env.ClearLog();
    Text line;
    if (HasOption(options, L"Ff")) {
        // The first word is the format, the others its values.
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        std::vector<Text> values;
        for (size_t i = 1; i < args.size(); ++i) values.push_back(args[i].text);
        int error = 0;
        if (!FormatText(static_cast<int>(values.size()), values.data(), args[0].text, line, error))
            return error;
    } else {
        line = JoinWords(args);
    }
    for (const SOption& o : options)
        if (o.letter == L'N' || o.letter == L'n') line += L'\n';
    // /E: an error message, for the front ends that keep errors apart (standard error).
    env.Log(line, HasOption(options, L"Ee") ? ELogKind::FAULT : ELogKind::OUTPUT);
    return 0;
}

Text CodeMessage(int code) {
    return Format(L"%s %d: %s", IsWarning(code) ? L"warning" : L"error", code, ErrorText(code).c_str());
}

// EMSG code: the message of one code. EMSG table: the table is filled with
// the messages of all codes, 0 to 486, one row each; the result is their count.
int EmsgCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    if (shell.FindItem(args[0].text, KIND_TABLE)) {
        std::vector<Text> messages;
        for (int c = 0; c <= kErrorCount; ++c) messages.push_back(CodeMessage(c));
        const int rc = AppendTableEntries(shell, args[0].text, messages, Text(), true);
        if (rc != 0) return rc;
        result = IntText(static_cast<long long>(messages.size()));
        return 0;
    }
    long long code = 0;
    if (!EvalInteger(args[0].text, code)) return RC_TABLE_OR_NUMBER_EXPECTED;
    if (code < 0 || code > kErrorCount) code = kErrorCount;
    result = CodeMessage(static_cast<int>(code));
    return 0;
}

constexpr CCommandRow kIoRows[] = {
    {L"INTERPRET", &InterpretCommand, true, 1, 0, nullptr, nullptr, nullptr},
    {L"WRITELOG", &WriteLogCommand, true, 0, 1, nullptr, L"RC", nullptr},
    {L"EMSG", &EmsgCommand, false, 1, 0, nullptr, nullptr, nullptr},
};

} // namespace

void RegisterIoCommands() {
    CCommandRegistry::Register(kIoRows, std::size(kIoRows));
}
