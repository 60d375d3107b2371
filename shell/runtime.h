// Hooks by which a shell's thread runs macros. The macro layer installs its
// runtime in the environment; the shell only drives the cycle.
#pragma once

#include "base/text.h"

class CShell;
class CShellEnv;

class IMacroRuntime {
public:
    virtual ~IMacroRuntime() = default;
    // Runs the active frames until none is left or the shell leaves state 0
    // for good; the waits of MSG LOOP happen in here. True when the state is 0 afterwards.
    virtual bool RunFrames(CShell& shell) = 0;
    // A RUN message that reached an idle shell: compile the text as one line and run it at once.
    virtual void ExecuteText(CShell& shell, const Text& text) = 0;
    // Pops every frame that is left when the shell ends.
    virtual void UnwindFrames(CShell& shell) = 0;
};

// Loads a source or library file into the environment's macro and SPU lists.
class IMacroLoader {
public:
    virtual ~IMacroLoader() = default;
    virtual bool LoadMacros(CShellEnv& env, const Text& path, bool withLog) = 0;
    // Unloads all code at the end, without regard to users.
    virtual void UnloadAll(CShellEnv& env) = 0;
};
