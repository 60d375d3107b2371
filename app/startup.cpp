#include "app/startup.h"

#include <cstdlib>
#include <mutex>
#include <unistd.h>

#include "macro/register.h"
#include "shell/shell_env.h"
#include "signal/register_signal.h"

void RegisterCore() {
    static std::once_flag once;
    std::call_once(once, [] {
        RegisterMacroLayer();
        RegisterSignalLayer();
    });
}

Text ExecutablePath() {
    char buf[4096];
    const ssize_t n = ::readlink("/proc/self/exe", buf, sizeof buf - 1);
    if (n <= 0) return Text();
    return FromUtf8(std::string_view(buf, static_cast<size_t>(n)));
}

void SetProcessStartValues(CShellEnv& env) {
    // TEMP is what macros know; TMPDIR is the same thing under its Linux name.
    const char* temp = std::getenv("TEMP");
    if (!temp) temp = std::getenv("TMPDIR");
    const Text tempText = temp ? FromUtf8(temp) : Text();
    env.SetStartValues(ExecutablePath(), temp ? &tempText : nullptr);
}

Text JoinCommandLine(int argc, char** argv, int first) {
    Text line;
    for (int i = first; i < argc; ++i) {
        const Text word = FromUtf8(argv[i]);
        if (!line.empty()) line += L' ';
        if (word.empty() || word.find_first_of(L" \t") != Text::npos)
            line += L'"' + word + L'"';
        else
            line += word;
    }
    return line;
}
