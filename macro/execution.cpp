// Macro execution: one code line is assembled, dispatched, its result
// assigned and its code checked; the frames of a shell run line by line.
// The other concerns live beside it: text assembly (text_assembly.cpp),
// substitution of item values and status brackets (substitution.cpp), the
// dispatch of a line by its first word (line_dispatch.cpp), calls and frames
// (calls.cpp), conditions (conditions.cpp) and assignment (assignment.cpp).
#include "macro/execution.h"

#include <utility>

#include "base/stack_guard.h"
#include "macro/compiler.h"
#include "macro/dispatcher.h"
#include "macro/execution_internal.h"
#include "shell/error_table.h"
#include "shell/shell_env.h"

namespace {

// Nesting stops while this much machine stack is left: enough for one more
// statement, a command and the program check, whatever they call.
constexpr size_t kStackReserve = size_t{2} << 20;

void ProgramCheck(CShell& shell, int code, const CCodeLine& line) {
    if (!IsError(code)) return;
    CShellEnv& env = shell.Env();
    if (!env.m_bProgramCheck) return;
    CMacroFrame* frame = TopFrame(shell);
    SProgramCheck check;
    check.code = code;
    if (frame) {
        check.macro = frame->m_pCode->m_name;
        check.file = frame->m_pCode->m_source;
    }
    check.line = line.sourceLine + 1;
    check.message = ErrorText(code);
    check.text =
        Format(L"Program check interruption #%d in macro %s, line %d:\n\n %s.\n\nChoose \"Retry\" to "
               L"debug your application, choose \"Ignore\" to ignore this error once, or choose "
               L"\"Abort\" to ignore any further errors.",
               code, check.macro.c_str(), check.line, check.message.c_str());
    IMainWindow* window = env.MainWnd();
    const int answer = window ? window->ProgramCheck(check) : CHECK_IGNORE;
    if (answer == CHECK_ABORT) {
        env.m_bProgramCheck = false;
    } else if (answer == CHECK_STOP) {
        shell.SetState(SHELL_ENDING);
    } else if (answer == CHECK_RETRY) {
        const bool allowed = shell.m_bDebugAllowed;
        shell.m_bDebugAllowed = true;
        shell.EnterDebugMode(Format(L"Program check interruption in line %d - RC=%d, EMSG=%s",
                                    line.sourceLine + 1, code, ErrorText(code).c_str()));
        shell.m_bDebugAllowed = allowed;
    }
}

} // namespace

bool StackExhausted(CShell& shell) {
    if (StackRemaining() >= kStackReserve) return false;
    shell.Env().Log(L"Stack overflow - probably infinite or too deep macro recursion", ELogKind::FAULT);
    return true;
}

void RunNested(CShell& shell, CFrameBase* caller) {
    while (shell.m_pFrame && shell.m_pFrame != caller) {
        const int state = shell.State();
        if (state == SHELL_RUNNING) {
            CMacroFrame* frame = TopFrame(shell);
            if (CCodeLine* line = frame->Fetch())
                ExecuteLine(shell, *line, nullptr);
            else
                PopFrame(shell);
        } else if (state == SHELL_WAITING || state == SHELL_POLLING) {
            shell.WaitMessage();
        } else {
            break;
        }
        shell.Pump(false);
    }
}

void NumberToText(CShell& shell, Text& result) {
    if (result.empty()) return;
    if (CShell::ItemEntry* e = shell.FindItem(result, KIND_NUMBER)) {
        CItemKind* kind = CItemKindRegistry::Find(KIND_NUMBER);
        Text text;
        if (kind && kind->NumberText(e->value, text)) result = text;
    }
}

int RunBuiltin(CShell& shell, const CCommandRow& row, CWords& words, Text& result, bool& effective,
               bool wantResult) {
    const bool wasWanted = std::exchange(shell.m_bResultWanted, wantResult);
    const int code = Dispatch(shell, row, words, result, effective);
    shell.m_bResultWanted = wasWanted;
    return code;
}

// Lines -------------------------------------------------------------------------

int ExecuteLine(CShell& shell, CCodeLine& line, Text* out) {
    CMacroFrame* frame = TopFrame(shell);
    const int kind = line.Kind();
    if (kind == CCodeLine::GOTO) {
        if (out) return RC_COMMAND_ERROR;
        if (!frame) return RC_UNKNOWN_MACRO;
        frame->m_next = line.target;
        return 0;
    }
    if (kind != CCodeLine::STATEMENT) {
        if (out) return RC_COMMAND_ERROR;
        Text text;
        int code = Assemble(shell, line.commandText, text, line.flags & CCodeLine::COMMAND_HAS_STATUS, false);
        CWords words;
        if (code == 0) SplitWords(text, words);
        if (code == 0) {
            switch (kind) {
            case CCodeLine::IF_GOTO:
            case CCodeLine::IFNOT_GOTO: {
                bool value = false;
                code = EvalCondition(shell, words, value);
                if (code == 0 && value == (kind == CCodeLine::IF_GOTO)) {
                    if (frame)
                        frame->m_next = line.target;
                    else
                        code = RC_UNKNOWN_MACRO;
                }
                break;
            }
            case CCodeLine::COMPUTED_GOTO: {
                code = RC_UNKNOWN_LABEL;
                if (!frame) {
                    code = RC_UNKNOWN_MACRO;
                    break;
                }
                for (size_t w = 0; w < words.size() && w < 2; ++w) {
                    if (auto* e = frame->m_pCode->m_labels.Find(words[w].text)) {
                        frame->m_next = e->value;
                        code = 0;
                        break;
                    }
                }
                break;
            }
            case CCodeLine::EXIT:
                code = ExitFrames(shell, words);
                break;
            default:
                code = RC_INTERNAL_PARSER_ERROR;
                break;
            }
        }
        if (code != 0) {
            shell.SetResultCode(code);
            ProgramCheck(shell, code, line);
        }
        return code;
    }

    // A statement.
    Text pendingTarget;
    if (!shell.m_interpretTarget.empty()) pendingTarget.swap(shell.m_interpretTarget);
    const bool interpretLine = frame && frame->m_pendingLine && &line == frame->m_pendingLine.get();

    Text target;
    int code = 0;
    if (line.hasAssign)
        code = Assemble(shell, line.assignTarget, target, line.flags & CCodeLine::TARGET_HAS_STATUS, true);
    Text command;
    if (code == 0)
        code = Assemble(shell, line.commandText, command, line.flags & CCodeLine::COMMAND_HAS_STATUS, false);
    if (code != 0) {
        // An inline command failed: the line is abandoned, the inner code stands.
        return code;
    }

    Text result;
    bool effective = true;
    const bool wantResult = line.hasAssign || out || !pendingTarget.empty();
    if (line.flags & CCodeLine::BOUND) {
        CWords words;
        SplitWords(command, words);
        code = RunBuiltin(shell, *line.command, words, result, effective, wantResult);
    } else if (!command.empty()) {
        code = DispatchLine(shell, command, wantResult, result, effective);
    } else {
        effective = false;
    }
    shell.SetResultCode(code);

    if (!line.hasAssign) {
        if (out || !pendingTarget.empty()) {
            NumberToText(shell, result);
            if (!pendingTarget.empty()) shell.SetVar(pendingTarget, result);
            if (out) *out = result;
        }
    } else if (target.empty()) {
        if (code == 0 && effective) {
            code = RC_EMPTY_ASSIGNMENT_TARGET;
            shell.SetResultCode(code);
        }
    } else {
        const int assignCode = Assign(shell, target, result);
        effective = true;
        if (assignCode != 0) {
            code = assignCode;
            shell.SetResultCode(code);
        }
    }

    if (interpretLine) {
        const Text emsg = shell.GetVar(L"EMSG");
        Text tail = emsg;
        if (!effective) {
            if (!tail.empty()) tail += L" -- ";
            tail += ErrorText(259);
        }
        shell.Queue().push_back(
            Format(L"SHELL X%.08lX INTERPRET %d %d %d %d %s%s%s", static_cast<unsigned long>(shell.Id()),
                   code, static_cast<int>(pendingTarget.size()), static_cast<int>(result.size()),
                   static_cast<int>(tail.size()), pendingTarget.c_str(), result.c_str(), tail.c_str()));
    }
    if (!out && shell.TemporaryItems()) SweepTemporaryItems(shell);
    if (!effective && code == 0) {
        code = RC_INEFFECTIVE_STATEMENT;
        shell.SetResultCode(code);
    }
    ProgramCheck(shell, code, line);
    return code;
}

// The runtime -----------------------------------------------------------------------

bool CMacroRuntime::RunFrames(CShell& shell) {
    RunNested(shell, nullptr);
    return shell.State() == SHELL_RUNNING;
}

void CMacroRuntime::ExecuteText(CShell& shell, const Text& text) {
    CCodeLine line;
    Text message;
    if (!CompileRunTimeLine(text, line, message)) {
        shell.Env().Log(message, ELogKind::FAULT);
        shell.SetResultCode(RC_COMMAND_ERROR);
        return;
    }
    ExecuteLine(shell, line, nullptr);
}

void CMacroRuntime::UnwindFrames(CShell& shell) {
    while (shell.m_pFrame) PopFrame(shell);
    shell.m_level = 0;
}

void CMacroRuntime::Install() {
    static CMacroRuntime runtime;
    CShellEnv::SetRuntime(&runtime);
}
