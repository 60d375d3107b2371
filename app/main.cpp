// kvo [--headless] [--verbose] [--strict] [--help] [--version] [--] [arguments for MASTERSHELL...]
#include <cstdio>
#include <cstring>
#include <filesystem>

#include "app/headless.h"
#include "app/startup.h"
#include "macro/library_file.h"

namespace {
void PrintHelp() {
    std::printf("usage: kvo [--headless] [--verbose] [--strict] [--] [file [macro [arguments...]]]\n"
                "\n"
                "Starts the macro library kvo.lib beside the program and hands the arguments\n"
                "to its macro MASTERSHELL (a \" around a word keeps it one word). The shipped\n"
                "MASTERSHELL loads the source file and runs its macro (MAIN when none is\n"
                "named) with the arguments; with no arguments it is a console that runs\n"
                "each line of standard input.\n"
                "\n"
                "  --headless  run without a window system: what macros write goes to\n"
                "              standard output, errors and warnings to standard error, and\n"
                "              the program ends when the last shell has ended\n"
                "  --verbose   with --headless, also the loader's lines (standard error)\n"
                "  --strict    with --headless, the first program check (a statement that\n"
                "              fails with an error) ends the run\n"
                "  --help      this text\n"
                "  --version   the program's version\n"
                "  --          everything after it goes to MASTERSHELL, also words like --help\n"
                "\n"
                "A program check headless is one line on standard error:\n"
                "  file:line: error N: text (in macro NAME)\n"
                "\n"
                "Exit status of a headless run:\n"
                "  0-255  the value the macro ended with: its result (EXIT 1 3 gives 3), or\n"
                "         when it leaves none, the RC of its last line; clamped to 0..255\n"
                "  %d      start-up failed (the library kvo.lib is missing or bad)\n"
                "  %d     an option the program does not know\n"
                "  %d     the source file cannot be loaded (the loader says why)\n"
                "  %d     --strict: a program check stopped the run\n"
                "  %d    the macro does not exist in the source file\n",
                kStartupFailedExit, kUsageExit, 66, kStrictStopExit, 127);
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
    SHeadlessOptions options;
    int first = 1;
    for (; first < argc; ++first) {
        const char* arg = argv[first];
        if (std::strcmp(arg, "--headless") == 0) {
            headless = true;
        } else if (std::strcmp(arg, "--verbose") == 0) {
            options.verbose = true;
        } else if (std::strcmp(arg, "--strict") == 0) {
            options.strict = true;
        } else if (std::strcmp(arg, "--help") == 0) {
            PrintHelp();
            return 0;
        } else if (std::strcmp(arg, "--version") == 0) {
            std::puts("kvo " KVO_VERSION);
            return 0;
        } else if (std::strcmp(arg, "--") == 0) {
            ++first;
            break;
        } else if (std::strncmp(arg, "--", 2) == 0) {
            std::fprintf(stderr, "kvo: unknown option %s (kvo --help lists the options)\n", arg);
            return kUsageExit;
        } else {
            break;
        }
    }
    const Text commandLine = JoinCommandLine(argc, argv, first);
#ifdef KVO_WITH_GUI
    // The window's log shows every line, and its program check asks.
    if (!headless) return RunWindowed(argc, argv, commandLine);
#endif
    (void)headless;
    return RunHeadless(commandLine, options);
}
