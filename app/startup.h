// What every front end does before the environment starts: register the
// kinds and commands of all layers, and set the start values.
#pragma once

#include "base/text.h"

class CShellEnv;

// Registers the item kinds, commands and runtime of every core layer; once per process.
void RegisterCore();
// The full path of the running executable.
Text ExecutablePath();
// BUILD, TEMPDIR, OSVER and ROOT from this process.
void SetProcessStartValues(CShellEnv& env);
// The program's own arguments are taken out by the caller; the rest is
// joined for MASTERSHELL, words with blanks in double quotes (which start-up
// turns into the language's quotes).
Text JoinCommandLine(int argc, char** argv, int first);

constexpr const wchar_t* kStartupFailed = L"Startup failed! Program terminated.";
// Exit statuses of the program's own. The shipped MASTERSHELL adds 66 (the
// source file cannot be loaded) and 127 (no such macro); any other status is
// the value the macro ended with.
constexpr int kStartupFailedExit = 2;
constexpr int kUsageExit = 64;      // an option the program does not know
constexpr int kStrictStopExit = 70; // --strict: a program check stopped the run

struct SHeadlessOptions;

// The front ends.
int RunHeadless(const Text& commandLine, const SHeadlessOptions& options);
int RunWindowed(int& argc, char** argv, const Text& commandLine);
