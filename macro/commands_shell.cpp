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
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr const wchar_t* kMsgKeywords[] = {L"LOOP",    L"MAIN", L"MENU",  L"DESKTOP", L"EXIT", L"RUN",
                                           L"LOGFILE", L"BEEP", L"DEBUG", L"NOMAIN",  nullptr};
const CKeywordTable kMsgTable(kMsgKeywords);
enum {
    MSG_KW_LOOP,
    MSG_KW_MAIN,
    MSG_KW_MENU,
    MSG_KW_DESKTOP,
    MSG_KW_EXIT,
    MSG_KW_RUN,
    MSG_KW_LOGFILE,
    MSG_KW_BEEP,
    MSG_KW_DEBUG,
    MSG_KW_NOMAIN
};

constexpr const wchar_t* kDebugKeywords[] = {L"RTERROR", L"INIT", L"NO", L"OFF", L"ON", L"STEP", nullptr};
const CKeywordTable kDebugTable(kDebugKeywords);

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

int MsgDebug(CShell& shell, CWords& args, Text& result) {
    if (args.size() < 2) return 2;
    const int keyword = kDebugTable.Find(args[1].text, true);
    switch (keyword) {
    case 0: { // RTERROR flag
        long long flag = 0;
        if (args.size() < 3 || !EvalInteger(args[2].text, flag) || (flag != 0 && flag != 1)) return 66;
        shell.Env().m_bProgramCheck = flag != 0;
        result = IntText(flag);
        return 0;
    }
    case 1: { // INIT shell?
        CShell* target = args.size() >= 3 ? shell.Env().FindShell(args[2].text) : &shell;
        if (!target) return 15;
        if (!target->Post(nullptr, MSG_TRACE, static_cast<intptr_t>(shell.Id()))) return 15;
        return 0;
    }
    case 2: // NO: leave debug mode and allow it no more
        shell.m_bDebugAllowed = false;
        return 0;
    case 3: // OFF
        return 0;
    case 4: // ON
    case 5: // STEP
        if (!shell.m_bDebugAllowed) return 0;
        shell.EnterDebugMode(args.size() >= 3 ? JoinWords(args, 2) : Text(L"debug mode requested by macro"));
        return 0;
    default:
        return 65;
    }
}

constexpr const wchar_t* kModeKeywords[] = {L"NOWINDOW", L"HIDDEN", L"VISIBLE", L"ENABLED", nullptr};
const CKeywordTable kModeTable(kModeKeywords);
constexpr const wchar_t* kShowKeywords[] = {L"MINIMIZED", L"RESTORED", L"MAXIMIZED", L"SHOW", nullptr};
const CKeywordTable kShowTable(kShowKeywords);

// MSG MAIN mode? show? left? top? width? height? title?: '*' leaves a value.
// The answer is the window's state with the given values over it, whether or
// not the window has applied them yet.
int MsgMain(CShell& shell, CWords& args, Text& result) {
    auto order = std::make_unique<SMainWindowPayload>();
    SMainWindowState& given = order->state;
    const auto present = [&](size_t i) { return args.size() > i && args[i].text != L"*"; };
    if (present(1)) {
        const int mode = kModeTable.Find(args[1].text, true);
        if (mode < 0) return 65;
        given.mode = kModeKeywords[mode];
        order->fields |= SMainWindowPayload::MODE;
    }
    if (present(2)) {
        const int show = kShowTable.Find(args[2].text, true);
        if (show < 0) return 66;
        given.show = kShowKeywords[show];
        order->fields |= SMainWindowPayload::SHOW;
    }
    int* geometry[] = {&given.left, &given.top, &given.width, &given.height};
    for (size_t i = 0; i < 4; ++i) {
        if (!present(3 + i)) continue;
        long long value = 0;
        if (!EvalInteger(args[3 + i].text, value)) return 67 + static_cast<int>(i);
        // A size counts only above 0.
        if (i >= 2 && value <= 0) continue;
        *geometry[i] = static_cast<int>(value);
        order->fields |= SMainWindowPayload::LEFT << i;
    }
    if (present(7)) {
        given.title = JoinWords(args, 7);
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
int MsgBeep(CShell& shell, CWords& args, COptions& options) {
    auto beep = std::make_unique<SBeepPayload>();
    static constexpr int kSounds[] = {-1, 64, 48, 16, 32, 0};
    const SOption* kind = FindOption(options, L"SAEHQO");
    if (kind) {
        beep->sound = kSounds[std::wstring_view(L"SAEHQO").find(kind->letter)];
    } else if (args.size() >= 3) {
        long long frequency = 1000;
        long long duration = 500;
        if (args[1].text != L"*" && !EvalInteger(args[1].text, frequency)) return 65;
        if (args[2].text != L"*" && !EvalInteger(args[2].text, duration)) return 66;
        beep->frequency = static_cast<int>(frequency);
        beep->duration = static_cast<int>(duration);
    }
    shell.Env().PostOrder(ORDER_BEEP, std::move(beep));
    return 0;
}

int MsgDesktop(CShell& shell, Text& result) {
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

int MsgCommand(CShell& shell, CWords& args, COptions& options, int selector, Text& result) {
    CShellEnv& env = shell.Env();
    // The keyword stays the first argument for the forms that count words from it.
    args.insert(args.begin(), SWord{SWord::Plain, kMsgKeywords[selector]});
    switch (selector) {
    case MSG_KW_LOOP:
        shell.SetState(HasOption(options, L"Nn") ? SHELL_POLLING : SHELL_WAITING);
        // The wait itself happens in the frame cycle before the next line.
        if (!shell.m_pFrame) shell.WaitMessage();
        return 0;
    case MSG_KW_EXIT: {
        if (args.size() < 2) return 2;
        std::vector<CShell*> shells;
        if (!AddressedShells(shell, args[1].text, shells)) return 15;
        int count = 0;
        for (CShell* s : shells) count += s->Post(nullptr, MSG_EXIT, 0) ? 1 : 0;
        shell.SetVar(L"#MSG", IntText(count));
        return 0;
    }
    case MSG_KW_RUN: {
        if (args.size() < 3) return 2;
        std::vector<CShell*> shells;
        if (!AddressedShells(shell, args[1].text, shells)) return 15;
        const Text text = JoinWords(args, 2, true);
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
    case MSG_KW_LOGFILE: {
        if (args.size() < 2 || args[1].text == L"*") {
            env.PostOrder(ORDER_LOG_FILE);
        } else {
            env.PostOrder(ORDER_LOG_FILE, std::make_unique<STextPayload>(args[1].text));
        }
        return 0;
    }
    case MSG_KW_NOMAIN:
        env.PostOrder(ORDER_HIDE);
        shell.SetVar(L"#MSG", L"0");
        return 0;
    case MSG_KW_MENU: {
        const int mode = OptionMode(options, L"AaSsDd");
        if (mode < 0) return 6;
        if (mode == 1) {
            env.PostOrder(ORDER_SHOW_MENU);
            return 0;
        }
        if (mode == 2) {
            env.PostOrder(ORDER_CLEAR_MENUS);
            return 0;
        }
        if (args.size() < 2) return 2;
        auto menu = std::make_unique<SMenuPayload>();
        menu->title = args[1].text;
        std::vector<Text> texts;
        if (HasOption(options, L"Tt")) {
            // The first field of the table's rows are the items.
            if (args.size() < 3) return 66;
            const int rc = TableFirstFields(shell, args[2].text, texts);
            if (rc != 0) return rc == 64 ? 66 : rc;
        } else {
            for (size_t i = 2; i < args.size(); ++i) texts.push_back(args[i].text);
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
    case MSG_KW_DEBUG:
        return MsgDebug(shell, args, result);
    case MSG_KW_BEEP:
        return MsgBeep(shell, args, options);
    case MSG_KW_DESKTOP:
        return MsgDesktop(shell, result);
    case MSG_KW_MAIN:
        return MsgMain(shell, args, result);
    default:
        return 64;
    }
}

int ArgCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    auto* frame = dynamic_cast<CMacroFrame*>(shell.m_pFrame);
    if (!frame) return 8;
    const CWords& argv = frame->m_argv;
    if (args.empty()) {
        result = IntText(static_cast<long long>(argv.size()));
        return 0;
    }
    const bool byName = HasOption(options, L"Vv") || HasOption(options, L"Ss");
    if (!byName) {
        long long n = 0;
        if (!EvalInteger(args[0].text, n)) return 64;
        result =
            (n >= 0 && n < static_cast<long long>(argv.size())) ? argv[static_cast<size_t>(n)].text : Text();
        return 0;
    }
    long long start = 0;
    if (const SOption* i = FindOption(options, L"Ii")) {
        if (!EvalInteger(i->text, start) || start < 0) return 111;
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

constexpr CCommandRow kShellRows[] = {
    {L"MSG", &MsgCommand, true, 1, 0, &kMsgTable, L"#MSG", L"*"},
    {L"MESSAGE", &MsgCommand, true, 1, 0, &kMsgTable, L"#MSG", L"*"},
    {L"ARG", &ArgCommand, true, 0, 0, nullptr, nullptr, nullptr},
};

} // namespace

void RegisterShellCommands() {
    CCommandRegistry::Register(kShellRows, std::size(kShellRows));
}
