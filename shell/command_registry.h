// The built-in commands: one row and one function per command. Each folder
// registers its rows at start-up; the compiler binds a line's first word to
// a row once, and the dispatcher runs the row's function.
#pragma once

#include <vector>

#include "base/keyword_table.h"
#include "base/name_list.h"
#include "base/subcommand_table.h"
#include "shell/words.h"

class CShell;

// Every command has this one form: the words (options taken out when the row
// asks for it), the options, the selector and the result text; it returns a
// code of the error table.
using CommandHandler = int (*)(CShell& shell, CWords& args, COptions& options, int selector, Text& result);

// A keyword of a command (MSG LOOP, LOAD MACROCODE): its handler gets the
// words behind the keyword. The command's table of these is the one source
// for its dispatch, KVOCONSTANTS and HELP; another layer adds a keyword by
// CSubcommandRegistry::Extend<SubcommandHandler>(command name, row).
using SubcommandHandler = int (*)(CShell& shell, CWords& args, COptions& options, Text& result);
using CCommandSubcommands = CSubcommandTable<SubcommandHandler>;
using SCommandSubcommand = SSubcommand<SubcommandHandler>;

// Flags of a command row.
enum : unsigned {
    COMMAND_BEFORE_ITEMS = 1u << 0, // a run-time line takes it before an item of that name (SET)
    COMMAND_UNLISTED = 1u << 1,     // a keyword of the language, not in KVOCONSTANTS COMMANDS
    COMMAND_CALL = 1u << 2,         // a call (GOSUB, MACRO ...): EXIT's result takes it as text
};

struct CCommandRow {
    const wchar_t* name = nullptr;
    CommandHandler handler = nullptr;
    bool m_bOptions = false; // scan the words for options first
    int minArgs = 0;         // fewer arguments (options not counted): code 2
    int selector = 0;        // handed to the handler
    const CKeywordTable* pKeywords =
        nullptr;                        // the first argument must be one of these; its index is the selector
    const wchar_t* resultVar = nullptr; // success result from this variable ("RC": "0")
    const wchar_t* failText = nullptr;  // result on failure
    // The first argument must be one of these keywords (a number may stand for
    // one); that keyword's handler runs in the place of `handler`, whose
    // minimum then counts the keyword too.
    const CCommandSubcommands* pSubcommands = nullptr;
    unsigned flags = 0; // COMMAND_...
};

// The same command under a second name (MESSAGE for MSG).
constexpr CCommandRow Alias(CCommandRow row, const wchar_t* name) {
    row.name = name;
    return row;
}

class CCommandRegistry {
public:
    // Rows live for the process (static tables); a name registered again replaces the row.
    static void Register(const CCommandRow& row);
    static void Register(const CCommandRow* rows, size_t count);
    // Exact, case-insensitive; command names are never abbreviated.
    static const CCommandRow* Find(TextView name);
    static size_t Count();
    // The names of the listed rows, in the order of their first registration.
    static std::vector<Text> Names();
};
