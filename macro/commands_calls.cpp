// The call commands GOSUB, GOSUBX, MACRO, MACROX and SHELL, and SET, which
// hands a line to an item's kind: rows of the command table like every other
// command, bound at compile time like them.
#include "macro/commands_calls.h"

#include "macro/execution.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"

namespace {

// GOSUB label args... (own locals) and GOSUBX (the caller's); selector 1 shares.
int GosubCommand(CShell& shell, CWords& words, COptions&, int selector, Text& result) {
    return CallLabel(shell, words, selector == 1, shell.m_bResultWanted, result);
}

// MACRO name args... (selector 0), MACROX (1: the caller's locals), SHELL (2: a new shell).
int MacroCommand(CShell& shell, CWords& words, COptions&, int selector, Text& result) {
    return CallMacro(shell, words, selector, shell.m_bResultWanted, result);
}

// SET item args...: the item's kind takes the line; without an item the words are the result.
int SetCommand(CShell& shell, CWords& words, COptions&, int, Text& result) {
    if (!words.empty() && shell.FindItem(words[0].text))
        return ItemCommand(shell, words, result, shell.m_bResultWanted);
    result = JoinWords(words);
    return 0;
}

// Keywords of the language rather than commands: KVOCONSTANTS COMMANDS does not list them.
constexpr CCommandRow CallRow(const wchar_t* name, CommandHandler handler, int selector) {
    return {.name = name,
            .handler = handler,
            .minArgs = 1,
            .selector = selector,
            .flags = COMMAND_UNLISTED | COMMAND_CALL};
}
constexpr CCommandRow kCallRows[] = {
    CallRow(L"GOSUB", GosubCommand, 0),
    CallRow(L"GOSUBX", GosubCommand, 1),
    CallRow(L"MACRO", MacroCommand, 0),
    CallRow(L"MACROX", MacroCommand, 1),
    CallRow(L"SHELL", MacroCommand, 2),
    // The way to force a word to be taken as text, even the name of an item called SET.
    {.name = L"SET", .handler = SetCommand, .flags = COMMAND_UNLISTED | COMMAND_BEFORE_ITEMS},
};

} // namespace

void RegisterCallCommands() {
    CCommandRegistry::Register(kCallRows, std::size(kCallRows));
}
