// Commands of the shell itself: MSG (the message loop, other shells, the main
// window, debugging) and ARG.
#include <algorithm>
#include <cstdio>

#include "expr/numeric_args.h"
#include "macro/commands_shell.h"
#include "macro/commands_tables.h"
#include "macro/frame.h"
#include "shell/command_registry.h"
#include "shell/main_window.h"
#include "shell/message_codes.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

// The shells a MSG EXIT or MSG RUN addresses: '*' all others, '=' this one, else an id.
bool AddressedShells(CShell& shell, const Text& address, std::vector<CShell*>& shells) {
    CShellEnv& env = shell.Env();
    if (address == L"=") {
        shells.push_back(&shell);
        return true;
    }
    if (address == L"*") {
        for (CShell* s = env.NextShell(nullptr); s; s = env.NextShell(s))
            if (s != &shell) shells.push_back(s);
        return true;
    }
    CShell* s = env.FindShell(address);
    if (!s) return false;
    shells.push_back(s);
    return true;
}

// --- MSG DEBUG keyword ... ----------------------------------------------------------------

// RTERROR flag: the program check on (1) or off (0).
int DebugRtError(CShell& shell, CWords& args, COptions&, Text& result) {
    long long flag = 0;
    if (args.empty() || !EvalInteger(args[0].text, flag) || (flag != 0 && flag != 1)) return RC_BAD_ARG3;
    shell.Env().m_bProgramCheck = flag != 0;
    result = IntText(flag);
    return 0;
}

// INIT shell?: asks a shell (this one by default) to trace.
int DebugInit(CShell& shell, CWords& args, COptions&, Text&) {
    CShell* target = args.empty() ? &shell : shell.Env().FindShell(args[0].text);
    if (!target) return RC_SHELL_CANCELLED;
    if (!target->Post(nullptr, MSG_TRACE, static_cast<intptr_t>(shell.Id()))) return RC_SHELL_CANCELLED;
    return 0;
}

// NO: leaves debug mode and allows it no more.
int DebugNo(CShell& shell, CWords&, COptions&, Text&) {
    shell.m_bDebugAllowed = false;
    return 0;
}

int DebugOff(CShell&, CWords&, COptions&, Text&) {
    return 0;
}

// ON text? and STEP text?: tracing and stepping need the debugger, which this
// program does not have yet; where debugging is allowed the request is unsupported.
int DebugOnOrStep(CShell& shell, CWords&, COptions&, Text&) {
    return shell.m_bDebugAllowed ? RC_NOT_SUPPORTED : 0;
}

constexpr SCommandSubcommand kDebugKeywords[] = {
    {L"RTERROR", DebugRtError}, {L"INIT", DebugInit},   {L"NO", DebugNo},
    {L"OFF", DebugOff},         {L"ON", DebugOnOrStep}, {L"STEP", DebugOnOrStep},
};
CCommandSubcommands g_debug(L"MSG DEBUG", kDebugKeywords);

int MsgDebug(CShell& shell, CWords& args, COptions& options, Text& result) {
    const SCommandSubcommand* row = g_debug.Find(args[0].text, true);
    if (!row) return RC_BAD_ARG2;
    CWords rest(args.begin() + 1, args.end());
    return row->handler(shell, rest, options, result);
}

// The words of MSG MAIN's mode and show (KVOCONSTANTS WINDOWMODE and WINDOWCOMMANDS).
constexpr const wchar_t* kModeKeywords[] = {L"NOWINDOW", L"HIDDEN", L"VISIBLE", L"ENABLED", nullptr};
CKeywordList g_windowModes(L"WINDOWMODE", kModeKeywords);
constexpr const wchar_t* kShowKeywords[] = {L"MINIMIZED", L"RESTORED", L"MAXIMIZED", L"SHOW", nullptr};
CKeywordList g_windowCommands(L"WINDOWCOMMANDS", kShowKeywords);

// MSG MAIN mode? show? left? top? width? height? title?: '*' leaves a value.
// The answer is the window's state with the given values over it, whether or
// not the window has applied them yet.
int MsgMain(CShell& shell, CWords& args, COptions&, Text& result) {
    auto order = std::make_unique<SMainWindowPayload>();
    SMainWindowState& given = order->state;
    const auto present = [&](size_t i) { return args.size() > i && args[i].text != L"*"; };
    if (present(0)) {
        const int mode = g_windowModes.FindIndex(args[0].text, true);
        if (mode < 0) return RC_BAD_ARG2;
        given.mode = kModeKeywords[mode];
        order->fields |= SMainWindowPayload::MODE;
    }
    if (present(1)) {
        const int show = g_windowCommands.FindIndex(args[1].text, true);
        if (show < 0) return RC_BAD_ARG3;
        given.show = kShowKeywords[show];
        order->fields |= SMainWindowPayload::SHOW;
    }
    int* geometry[] = {&given.left, &given.top, &given.width, &given.height};
    for (size_t i = 0; i < 4; ++i) {
        if (!present(2 + i)) continue;
        long long value = 0;
        if (!EvalInteger(args[2 + i].text, value)) return RC_BAD_ARG4 + static_cast<int>(i);
        // A size counts only above 0.
        if (i >= 2 && value <= 0) continue;
        *geometry[i] = static_cast<int>(value);
        order->fields |= SMainWindowPayload::LEFT << i;
    }
    if (present(6)) {
        given.title = JoinWords(args, 6);
        order->fields |= SMainWindowPayload::TITLE;
    }
    CShellEnv& env = shell.Env();
    SMainWindowState state;
    if (IMainWindow* window = env.MainWnd()) window->MainWindowState(state);
    order->ApplyTo(state);
    if (order->fields) env.PostOrder(ORDER_SHOW, std::move(order));
    result = Format(L"%s %s %d %d %d %d %s", state.mode.c_str(), state.show.c_str(), state.left, state.top,
                    state.width, state.height, state.title.c_str());
    shell.SetVar(L"#MSG", result);
    return 0;
}

// MSG BEEP: /A, /E, /H, /Q, /O choose a system sound, /S the simple beep;
// without one, "MSG BEEP freq ms" is a tone (1000 Hz, 500 ms by default).
int MsgBeep(CShell& shell, CWords& args, COptions& options, Text&) {
    auto beep = std::make_unique<SBeepPayload>();
    static constexpr int kSounds[] = {-1, 64, 48, 16, 32, 0};
    const SOption* kind = FindOption(options, L"SAEHQO");
    if (kind) {
        beep->sound = kSounds[std::wstring_view(L"SAEHQO").find(kind->letter)];
    } else if (args.size() >= 2) {
        long long frequency = 1000;
        long long duration = 500;
        if (args[0].text != L"*" && !EvalInteger(args[0].text, frequency)) return RC_BAD_ARG2;
        if (args[1].text != L"*" && !EvalInteger(args[1].text, duration)) return RC_BAD_ARG3;
        beep->frequency = static_cast<int>(frequency);
        beep->duration = static_cast<int>(duration);
    }
    shell.Env().PostOrder(ORDER_BEEP, std::move(beep));
    return 0;
}

int MsgDesktop(CShell& shell, CWords&, COptions&, Text& result) {
    SDesktopMetrics desktop;
    IMainWindow* window = shell.Env().MainWnd();
    if (window && window->DesktopMetrics(desktop)) {
        result = Format(L"%d %d %d %d %d", desktop.monitors, desktop.left, desktop.top, desktop.width,
                        desktop.height);
    } else {
        result.clear();
    }
    shell.SetVar(L"#MSG", result);
    return 0;
}

int MsgLoop(CShell& shell, CWords&, COptions& options, Text&) {
    shell.SetState(HasOption(options, L"Nn") ? SHELL_POLLING : SHELL_WAITING);
    // The wait itself happens in the frame cycle before the next line.
    if (!shell.m_pFrame) shell.WaitMessage();
    return 0;
}

// EXIT shell: '*' all other shells, '=' this one, else a shell's id.
int MsgExit(CShell& shell, CWords& args, COptions&, Text&) {
    std::vector<CShell*> shells;
    if (!AddressedShells(shell, args[0].text, shells)) return RC_SHELL_CANCELLED;
    int count = 0;
    for (CShell* s : shells) count += s->Post(nullptr, MSG_EXIT, 0) ? 1 : 0;
    shell.SetVar(L"#MSG", IntText(count));
    return 0;
}

// RUN shell text...: the text as a line for each shell addressed.
int MsgRun(CShell& shell, CWords& args, COptions&, Text&) {
    std::vector<CShell*> shells;
    if (!AddressedShells(shell, args[0].text, shells)) return RC_SHELL_CANCELLED;
    const Text text = JoinWords(args, 1, true);
    int count = 0;
    int code = 0;
    for (CShell* s : shells) {
        const int rc = s->Run(text, &shell);
        if (rc == 0)
            ++count;
        else
            code = rc;
    }
    shell.SetVar(L"#MSG", IntText(count));
    return count ? 0 : code;
}

// LOGFILE path?: no path or '*' closes the log file.
int MsgLogFile(CShell& shell, CWords& args, COptions&, Text&) {
    if (args.empty() || args[0].text == L"*") {
        shell.Env().PostOrder(ORDER_LOG_FILE);
    } else {
        shell.Env().PostOrder(ORDER_LOG_FILE, std::make_unique<STextPayload>(args[0].text));
    }
    return 0;
}

int MsgNoMain(CShell& shell, CWords&, COptions&, Text&) {
    shell.Env().PostOrder(ORDER_HIDE);
    shell.SetVar(L"#MSG", L"0");
    return 0;
}

// MENU /A title items..., /A /T title table, /S shows the menus, /D removes them.
int MsgMenu(CShell& shell, CWords& args, COptions& options, Text&) {
    CShellEnv& env = shell.Env();
    const int mode = OptionMode(options, L"AaSsDd");
    if (mode < 0) return RC_MISSING_OPTION;
    if (mode == 1) {
        env.PostOrder(ORDER_SHOW_MENU);
        return 0;
    }
    if (mode == 2) {
        env.PostOrder(ORDER_CLEAR_MENUS);
        return 0;
    }
    if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
    auto menu = std::make_unique<SMenuPayload>();
    menu->title = args[0].text;
    std::vector<Text> texts;
    if (HasOption(options, L"Tt")) {
        // The first field of the table's rows are the items.
        if (args.size() < 2) return RC_BAD_ARG3;
        const int rc = TableFirstFields(shell, args[1].text, texts);
        if (rc != 0) return rc == RC_BAD_ARG1 ? RC_BAD_ARG3 : rc;
    } else {
        for (size_t i = 1; i < args.size(); ++i) texts.push_back(args[i].text);
    }
    for (const Text& text : texts) {
        SMenuItem item;
        item.text = text;
        if (item.text == L"-") item.flags = MENU_SEPARATOR;
        menu->items.push_back(std::move(item));
    }
    env.PostOrder(ORDER_ADD_MENU, std::move(menu));
    return 0;
}

// A number may stand for a keyword by its place (KVOCONSTANTS MSG).
constexpr SCommandSubcommand kMsgKeywords[] = {
    {L"LOOP", MsgLoop},      {L"MAIN", MsgMain},     {L"MENU", MsgMenu},       {L"DESKTOP", MsgDesktop},
    {L"EXIT", MsgExit, 1},   {L"RUN", MsgRun, 2},    {L"LOGFILE", MsgLogFile}, {L"BEEP", MsgBeep},
    {L"DEBUG", MsgDebug, 1}, {L"NOMAIN", MsgNoMain},
};
CCommandSubcommands g_msg(L"MSG", kMsgKeywords);

int ArgCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    auto* frame = dynamic_cast<CMacroFrame*>(shell.m_pFrame);
    if (!frame) return RC_UNKNOWN_MACRO;
    const CWords& argv = frame->m_argv;
    if (args.empty()) {
        result = IntText(static_cast<long long>(argv.size()));
        return 0;
    }
    const bool byName = HasOption(options, L"Vv") || HasOption(options, L"Ss");
    if (!byName) {
        long long n = 0;
        if (!EvalInteger(args[0].text, n)) return RC_BAD_ARG1;
        result =
            (n >= 0 && n < static_cast<long long>(argv.size())) ? argv[static_cast<size_t>(n)].text : Text();
        return 0;
    }
    long long start = 0;
    if (const SOption* i = FindOption(options, L"Ii")) {
        if (!EvalInteger(i->text, start) || start < 0) return RC_BAD_OPTION_ARGUMENT;
    }
    const bool defaults = HasOption(options, L"Ss");
    const bool clear = HasOption(options, L"Dd");
    size_t next = static_cast<size_t>(start);
    int assigned = 0;
    for (size_t w = 0; w < args.size(); w += defaults ? 2 : 1) {
        const Text& name = args[w].text;
        if (defaults && w + 1 < args.size()) shell.SetVar(name, args[w + 1].text);
        if (next < argv.size()) {
            shell.SetVar(name, argv[next++].text);
            ++assigned;
        } else if (clear) {
            shell.SetVar(name, L"");
        }
    }
    result = IntText(assigned);
    return 0;
}

const CCommandRow kMsgRow{.name = L"MSG",
                          .m_bOptions = true,
                          .minArgs = 1,
                          .resultVar = L"#MSG",
                          .failText = L"*",
                          .pSubcommands = &g_msg};
const CCommandRow kShellRows[] = {
    kMsgRow,
    Alias(kMsgRow, L"MESSAGE"),
    {.name = L"ARG", .handler = &ArgCommand, .m_bOptions = true},
};

} // namespace

void RegisterShellCommands() {
    CSubcommandRegistry::Register(g_msg);
    CSubcommandRegistry::Register(g_debug);
    CSubcommandRegistry::Register(g_windowModes);
    CSubcommandRegistry::Register(g_windowCommands);
    CCommandRegistry::Register(kShellRows, std::size(kShellRows));
}
