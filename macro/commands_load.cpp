// LOAD and UNLOAD of code: source files, libraries and the /M form that adds
// a source file to a library.
#include "macro/commands_load.h"

#include "items/shell_table.h"
#include "macro/library_file.h"
#include "macro/source_loader.h"
#include "shell/command_registry.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr const wchar_t* kLoadKeywords[] = {L"MACROCODE", L"SPUCODE", L"SOUNDFILE", L"SOURCECODE", nullptr};
const CKeywordTable kLoadTable(kLoadKeywords);
enum { LOAD_MACROCODE, LOAD_SPUCODE, LOAD_SOUNDFILE, LOAD_SOURCECODE };

constexpr int kNotSupported = 157;
constexpr int kInvalidConstant = 156;

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
int LoadCommand(CShell& shell, CWords& args, COptions& options, int selector, Text&) {
    // Sound files come with the sound file layer.
    if (selector == LOAD_SOUNDFILE) return kNotSupported;
    const int failure = HasOption(options, L"Ss") ? 316 : 455;
    CConstantList constants;
    for (const SOption& option : options) {
        if (option.letter != L'D' && option.letter != L'd') continue;
        if (!IsConstantName(option.text)) return kInvalidConstant;
        if (!constants.Find(option.text)) constants.Add(option.text, 0);
    }
    CShellEnv& env = shell.Env();
    CLoadLog log = MakeLog(env, options);
    if (HasOption(options, L"Mm")) {
        if (args.size() < 2) return 2;
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

int UnloadCommand(CShell& shell, CWords& args, COptions& options, int selector, Text&) {
    struct SCodes {
        int plain, silent;
    };
    static constexpr SCodes kCodes[] = {{342, 343}, {340, 341}, {311, 312}, {344, 345}};
    // Sound files are attached by the sound file item, which is not part of this build yet.
    if (selector == LOAD_SOUNDFILE) return kNotSupported;
    CShellEnv& env = shell.Env();
    CLoadLog log = MakeLog(env, options);
    const bool force = HasOption(options, L"Ff");
    int failures = 0;
    for (const SWord& word : args)
        if (!UnloadSourceFile(env, word.text, force, log)) ++failures;
    if (failures == 0) return 0;
    return HasOption(options, L"Ss") ? kCodes[selector].silent : kCodes[selector].plain;
}

constexpr CCommandRow kLoadRows[] = {
    {.name = L"LOAD",
     .handler = LoadCommand,
     .m_bOptions = true,
     .minArgs = 2,
     .pKeywords = &kLoadTable,
     .resultVar = L"RC"},
    {.name = L"UNLOAD",
     .handler = UnloadCommand,
     .m_bOptions = true,
     .minArgs = 2,
     .pKeywords = &kLoadTable,
     .resultVar = L"RC"},
};

} // namespace

void RegisterSourceLoading() {
    InstallMacroLoader();
    CCommandRegistry::Register(kLoadRows, std::size(kLoadRows));
}
