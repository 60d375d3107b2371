// LOAD and UNLOAD of code: source files, libraries and the /M form that adds
// a source file to a library.
#include "macro/commands_load.h"

#include "shell/command_registry.h"
#include "macro/library_file.h"
#include "shell/options.h"
#include "macro/source_loader.h"
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
    return CLoadLog([&env](const Text& line) { env.Log(line); });
}

// MACROCODE, SPUCODE and SOURCECODE all go through the one section loader:
// a file may hold macros, classes and SPUs side by side.
int LoadCommand(CShell& shell, CWords& args, COptions& options, int selector, Text&) {
    // Sound files and table sources come with the item kinds that hold them.
    if (selector == LOAD_SOUNDFILE || HasOption(options, L"Tt")) return kNotSupported;
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
