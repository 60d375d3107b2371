// The parts of macro execution that its files share: the running frame, the
// stack guard, nested runs of frames, the run of a command row, and the
// characters the compiler leaves in code text. Only macro/ includes this.
#pragma once

#include "macro/code.h"
#include "macro/frame.h"
#include "shell/command_registry.h"
#include "shell/shell.h"

inline CMacroFrame* TopFrame(CShell& shell) {
    return static_cast<CMacroFrame*>(shell.m_pFrame);
}

inline bool InSet(wchar_t c, const wchar_t* set) {
    for (; *set; ++set)
        if (*set == c) return true;
    return false;
}

inline bool IsInternalCode(wchar_t c) {
    return c == CODE_QUOTE || c == CODE_ITEM || c == CODE_OPEN || c == CODE_CLOSE;
}

// The stack guard: true (and a log line) when nesting once more would leave too little machine stack.
bool StackExhausted(CShell& shell);
// Runs frames inside the current line until `caller` is the current frame again.
void RunNested(CShell& shell, CFrameBase* caller);
// A result that names a number object becomes the number's text.
void NumberToText(CShell& shell, Text& result);
// A command row through the dispatcher, telling a call whether its result is wanted.
int RunBuiltin(CShell& shell, const CCommandRow& row, CWords& words, Text& result, bool& effective,
               bool wantResult);
