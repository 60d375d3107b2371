// kvo [--headless] [--help] [--version] [arguments for MASTERSHELL...]
#include <cstdio>
#include <cstring>

#include "app/startup.h"

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
} // namespace

int main(int argc, char** argv) {
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
