// LOAD and UNLOAD of code: source files, libraries and the /M form that adds
// a source file to a library.
#include "macro/commands_load.h"

#include "items/shell_table.h"
#include "macro/library_file.h"
#include "macro/source_loader.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

CLoadLog MakeLog(CShellEnv& env, const COptions& options) {
    if (HasOption(options, L"Nn")) return CLoadLog();
    return CLoadLog(LogSink(env));
}

// The rows of a table as source text: the first field of each row, in row order.
bool TableSource(CShell& shell, const Text& name, Text& text) {
    CShellTable* table = CShellTable::Find(shell, name);
    if (!table) return false;
    CItemSection hold(table->m_cs);
    Text line;
    for (long row = 0; row < table->m_nRows; ++row) {
        table->GetCell(row, 0, line);
        text += line;
        text += L'\n';
    }
    return true;
}

// MACROCODE, SPUCODE and SOURCECODE all go through the one section loader:
// a file may hold macros, classes and SPUs side by side.
int LoadCode(CShell& shell, CWords& args, COptions& options, Text&) {
    const int failure = HasOption(options, L"Ss") ? RC_LOAD_FAILED_WARNING : RC_LOAD_FAILED;
    CConstantList constants;
    for (const SOption& option : options) {
        if (option.letter != L'D' && option.letter != L'd') continue;
        if (!IsConstantName(option.text)) return RC_BAD_CONSTANT;
        if (!constants.Find(option.text)) constants.Add(option.text, 0);
    }
    CShellEnv& env = shell.Env();
    CLoadLog log = MakeLog(env, options);
    if (HasOption(options, L"Mm")) {
        if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
        return AddSourceToLibrary(args[0].text, args[1].text, constants, log) ? 0 : failure;
    }
    bool ok = true;
    if (HasOption(options, L"Tt")) {
        // The words name tables whose rows are the source lines (a macro that writes macros).
        for (const SWord& word : args) {
            Text text;
            if (!TableSource(shell, word.text, text)) {
                log.Fault(Format(L"no table %s to load sources from", word.text.c_str()));
                ok = false;
            } else if (!LoadSourceText(env, Text(), text, constants, log)) {
                ok = false;
            }
        }
        return ok ? 0 : failure;
    }
    for (const SWord& word : args)
        if (!LoadSourceFile(env, word.text, constants, log)) ok = false;
    return ok ? 0 : failure;
}

// Each keyword fails with its own code; the sources of all three are unloaded alike.
int UnloadCode(CShell& shell, CWords& args, COptions& options, int failure) {
    CShellEnv& env = shell.Env();
    CLoadLog log = MakeLog(env, options);
    const bool force = HasOption(options, L"Ff");
    int failures = 0;
    for (const SWord& word : args)
        if (!UnloadSourceFile(env, word.text, force, log)) ++failures;
    if (failures == 0) return 0;
    return Silent(failure, HasOption(options, L"Ss"));
}
int UnloadMacroCode(CShell& shell, CWords& args, COptions& options, Text&) {
    return UnloadCode(shell, args, options, RC_CANNOT_UNLOAD_MACRO);
}
int UnloadSpuCode(CShell& shell, CWords& args, COptions& options, Text&) {
    return UnloadCode(shell, args, options, RC_CANNOT_UNLOAD_SPU);
}
int UnloadSourceCode(CShell& shell, CWords& args, COptions& options, Text&) {
    return UnloadCode(shell, args, options, RC_CANNOT_UNLOAD_SOURCE);
}

// SOUNDFILE keeps its place (and its number); the sound layer registers it.
constexpr SCommandSubcommand kLoadKeywords[] = {
    {L"MACROCODE", LoadCode},
    {L"SPUCODE", LoadCode},
    {L"SOUNDFILE", nullptr},
    {L"SOURCECODE", LoadCode},
};
constexpr SCommandSubcommand kUnloadKeywords[] = {
    {L"MACROCODE", UnloadMacroCode},
    {L"SPUCODE", UnloadSpuCode},
    {L"SOUNDFILE", nullptr},
    {L"SOURCECODE", UnloadSourceCode},
};
CCommandSubcommands g_load(L"LOAD", kLoadKeywords);
CCommandSubcommands g_unload(L"UNLOAD", kUnloadKeywords);

const CCommandRow kLoadRows[] = {
    {.name = L"LOAD", .m_bOptions = true, .minArgs = 2, .resultVar = L"RC", .pSubcommands = &g_load},
    {.name = L"UNLOAD", .m_bOptions = true, .minArgs = 2, .resultVar = L"RC", .pSubcommands = &g_unload},
};

} // namespace

void RegisterSourceLoading() {
    InstallMacroLoader();
    CSubcommandRegistry::Register(g_load);
    CSubcommandRegistry::Register(g_unload);
    CCommandRegistry::Register(kLoadRows, std::size(kLoadRows));
}
