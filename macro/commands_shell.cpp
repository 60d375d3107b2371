// Commands of the shell itself: MSG (the message loop, other shells, the main
// window, debugging) and ARG.
#include <algorithm>
#include <cstdio>

#include "expr/numeric_args.h"
#include "shell/command_registry.h"
#include "macro/commands_shell.h"
#include "macro/frame.h"
#include "shell/options.h"
#include "shell/main_window.h"
#include "shell/message_codes.h"
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
        for (size_t i = 2; i < args.size(); ++i) {
            SMenuItem item;
            item.text = args[i].text;
            if (item.text == L"-") item.flags = MENU_SEPARATOR;
            menu->items.push_back(std::move(item));
        }
        env.PostOrder(ORDER_ADD_MENU, std::move(menu));
        return 0;
    }
    case MSG_KW_DEBUG:
        return MsgDebug(shell, args, result);
    case MSG_KW_BEEP:
        // No system sounds on a Linux desktop session: the terminal bell stands for every kind.
        std::fputs("\a", stderr);
        return 0;
    case MSG_KW_DESKTOP:
    case MSG_KW_MAIN:
    default:
        return 157;
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
