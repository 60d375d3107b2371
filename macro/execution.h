// Macro execution: a code line is assembled from its pieces, split into
// words, and handed to whatever its first word names: a built-in command,
// an item, a call keyword or a macro. All values are text at all times.
#pragma once

#include "macro/frame.h"
#include "shell/runtime.h"
#include "shell/words.h"

class CShell;
struct CCommandRow;

class CMacroRuntime : public IMacroRuntime {
public:
    bool RunFrames(CShell& shell) override;
    void ExecuteText(CShell& shell, const Text& text) override;
    void UnwindFrames(CShell& shell) override;

    // Installs the runtime for the process.
    static void Install();
};

// Executes one code line. `out` null: an ordinary line of a frame; `out`
// given: an inline command whose result text is wanted. Returns the code.
int ExecuteLine(CShell& shell, CCodeLine& line, Text* out);

// The text of a piece chain; the second pass of '~' and '[' when asked.
// A failing inline command abandons the assembly: its code is returned.
int Assemble(CShell& shell, const CPieceChain& pieces, Text& out, bool secondPass, bool firstBracketKept);
// The second pass over an assembled text: item values, status brackets, sizes.
void Substitute(CShell& shell, TextView text, Text& out, bool firstBracketKept);
// At most 256 words; blanks and control characters separate; the quote code opens a word that ends at the
// next.
void SplitWords(TextView text, CWords& words);

// A line whose first word was not bound at compile time.
int DispatchLine(CShell& shell, const Text& text, bool wantResult, Text& result, bool& effective);
// An item's command: SET handler by kind, a method of an instance.
int ItemCommand(CShell& shell, CWords& words, Text& result, bool wantResult = false);

// Calls. `mode` 0 MACRO (own locals), 1 MACROX (caller's locals), 2 SHELL (a new shell).
int CallMacro(CShell& shell, CWords& words, int mode, bool wantResult, Text& result);
// GOSUB (own locals) and GOSUBX (shared).
int CallLabel(CShell& shell, CWords& words, bool share, bool wantResult, Text& result);
// A method's frame: `code` from `line`, bound to `instance`; words[0] is the method's word.
int StartMethodFrame(CShell& shell, CMacroCode* code, int line, void* instance, const Text& instanceName,
                     CWords& words, bool wantResult, Text& result);
// EXIT [level [result...]].
int ExitFrames(CShell& shell, CWords& words);
// Pops the current frame.
void PopFrame(CShell& shell);

// A condition of 4k-1 words: triples joined by logical words, left to right.
int EvalCondition(CShell& shell, const CWords& words, bool& value);
// `target := value`: a variable, an item, a member, an element.
int Assign(CShell& shell, const Text& target, const Text& value);
// Deletes temporary items of deeper levels than the current one.
void SweepTemporaryItems(CShell& shell);

// Pattern of conditions: '*' any run, '?' any one character.
bool MatchPattern(TextView text, TextView pattern, bool ignoreCase);
// A valid name for the =N... comparisons.
bool IsValidName(TextView text, bool left);
