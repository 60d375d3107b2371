// INTERPRET (a text compiled at run time becomes the frame's next line),
// WRITELOG (a line to the log) and EMSG (the message of a code).
#include "macro/commands_io.h"

#include <iterator>

#include "expr/numeric_args.h"
#include "shell/command_registry.h"
#include "macro/compiler.h"
#include "macro/frame.h"
#include "shell/options.h"
#include "shell/error_table.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

int InterpretCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    auto* frame = dynamic_cast<CMacroFrame*>(shell.m_pFrame);
    if (!frame) return 8;
    if (HasOption(options, L"Tt")) return 157; // history tables arrive with the table item
    Text text;
    if (HasOption(options, L"Ss")) {
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
    frame->m_pendingLine = std::move(line);
    frame->m_bPending = true;
    shell.m_interpretTarget = args.size() > 1 ? args[1].text : Text(L"IRES");
    result = L"2;";
    return 0;
}

int WriteLogCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    CShellEnv& env = shell.Env();
    if (HasOption(options, L"Cc")) env.ClearLog();
    Text line = JoinWords(args);
    for (const SOption& o : options)
        if (o.letter == L'N' || o.letter == L'n') line += L'\n';
    env.Log(line);
    return 0;
}

int EmsgCommand(CShell&, CWords& args, COptions&, int, Text& result) {
    long long code = 0;
    // Tables of all messages arrive with the table item.
    if (!EvalInteger(args[0].text, code)) return 115;
    if (code < 0 || code > 486) code = 486;
    const int c = static_cast<int>(code);
    result = Format(L"%s %d: %s", IsWarning(c) ? L"warning" : L"error", c, ErrorText(c).c_str());
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
