// kvo [--headless] [--help] [--version] [arguments for MASTERSHELL...]
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/startup.h"
#include "macro/library_file.h"

namespace {
void PrintHelp() {
    std::puts("usage: kvo [--headless] [--] [arguments...]\n"
              "\n"
              "Starts the macro library kvo.lib beside the program and hands the arguments\n"
              "to its macro MASTERSHELL (a \" around a word keeps it one word).\n"
              "\n"
              "  --headless  run without a window system: the log goes to standard output,\n"
              "              and the program ends when the last shell has ended\n"
              "  --help      this text\n"
              "  --version   the program's version\n"
              "  --          everything after it goes to MASTERSHELL, also words like --help\n"
              "\n"
              "Exit code 2: start-up failed (library missing or bad).");
}

// The build makes kvo.lib with this: kvo --make-library OUT SOURCE...
int MakeLibrary(int argc, char** argv) {
    if (argc < 4) {
        std::fputs("usage: kvo --make-library OUT SOURCE...\n", stderr);
        return 1;
    }
    RegisterCore();
    std::error_code ec;
    std::filesystem::remove(argv[2], ec);
    for (int i = 3; i < argc; ++i) {
        CLoadLog log;
        CConstantList constants;
        if (!AddSourceToLibrary(FromUtf8(argv[i]), FromUtf8(argv[2]), constants, log)) {
            std::fputs(ToUtf8(log.AllText()).c_str(), stderr);
            return 1;
        }
    }
    return 0;
}
} // namespace

int main(int argc, char** argv) {
    if (argc > 1 && std::strcmp(argv[1], "--make-library") == 0) return MakeLibrary(argc, argv);
    bool headless = false;
    int first = 1;
    for (; first < argc; ++first) {
        const char* arg = argv[first];
        if (std::strcmp(arg, "--headless") == 0) {
            headless = true;
        } else if (std::strcmp(arg, "--help") == 0) {
            PrintHelp();
            return 0;
        } else if (std::strcmp(arg, "--version") == 0) {
            std::puts("kvo " KVO_VERSION);
            return 0;
        } else if (std::strcmp(arg, "--") == 0) {
            ++first;
            break;
        } else {
            break;
        }
    }
    const Text commandLine = JoinCommandLine(argc, argv, first);
#ifdef KVO_WITH_GUI
    if (!headless) return RunWindowed(argc, argv, commandLine);
#endif
    (void)headless;
    return RunHeadless(commandLine);
}
