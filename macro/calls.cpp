// Calls and frames: MACRO, MACROX, SHELL, GOSUB, GOSUBX and methods push a
// frame; EXIT leaves frames with a result; the items of left levels go.
#include "expr/numeric_args.h"
#include "macro/execution.h"
#include "macro/execution_internal.h"
#include "shell/options.h"
#include "shell/shell_env.h"

namespace {

void SetCallVariables(CMacroFrame& frame, const CWords& words, const Text& macroName) {
    frame.m_argv.assign(words.begin() + 1, words.end());
    frame.Locals().Set(L"ARGV", JoinWords(frame.m_argv, 0, true));
    frame.Locals().Set(L"MAC", macroName);
}

int PushFrame(CShell& shell, CMacroFrame* frame, bool wantResult, Text& result) {
    CFrameBase* caller = shell.m_pFrame;
    shell.m_pFrame = frame;
    ++shell.m_level;
    if (!wantResult) return 0;
    if (StackExhausted(shell)) {
        PopFrame(shell);
        return RC_STACK_OVERFLOW;
    }
    RunNested(shell, caller);
    result = shell.GetVar(L"RESULT");
    return 0;
}

} // namespace

int StartMethodFrame(CShell& shell, CMacroCode* code, int line, void* instance, const Text& instanceName,
                     CWords& words, bool wantResult, Text& result) {
    auto* frame = new CMacroFrame(code, shell.m_pFrame, nullptr);
    frame->m_next = line;
    frame->SetInstance(instance);
    SetCallVariables(*frame, words, code->m_name);
    frame->Locals().Set(L"THIS", instanceName);
    return PushFrame(shell, frame, wantResult, result);
}

int CallMacro(CShell& shell, CWords& words, int mode, bool wantResult, Text& result) {
    CShellEnv& env = shell.Env();
    CMacroCode* code = nullptr;
    {
        std::lock_guard lock(env.Lock());
        code = dynamic_cast<CMacroCode*>(env.FindMacro(words[0].text));
        if (code) code->Use();
    }
    if (!code) return RC_UNKNOWN_MACRO;
    const Text name = code->m_name;
    if (mode == 2) {
        CMacroFrame* frame = nullptr;
        CFrameBase hold(nullptr);
        CShell* child = env.NewShell(&hold, &shell);
        if (!child) {
            code->Unuse();
            return RC_NO_MEMORY;
        }
        frame = new CMacroFrame(code, nullptr, nullptr);
        code->Unuse();
        SetCallVariables(*frame, words, name);
        child->m_pFrame = frame;
        child->m_level = 1;
        child->Resume();
        return 0;
    }
    CMacroFrame* parent = TopFrame(shell);
    CVariableMap* shared = (mode == 1 && parent) ? &parent->Locals() : nullptr;
    auto* frame = new CMacroFrame(code, shell.m_pFrame, shared);
    code->Unuse();
    SetCallVariables(*frame, words, name);
    return PushFrame(shell, frame, wantResult, result);
}

int CallLabel(CShell& shell, CWords& words, bool share, bool wantResult, Text& result) {
    CMacroFrame* parent = TopFrame(shell);
    if (!parent) return RC_UNKNOWN_MACRO;
    auto* e = parent->m_pCode->m_labels.Find(words[0].text);
    if (!e) return RC_UNKNOWN_LABEL;
    auto* frame = new CMacroFrame(parent->m_pCode, parent, share ? &parent->Locals() : nullptr);
    frame->m_next = e->value;
    SetCallVariables(*frame, words, parent->m_pCode->m_name);
    return PushFrame(shell, frame, wantResult, result);
}

void PopFrame(CShell& shell) {
    CFrameBase* frame = shell.m_pFrame;
    if (!frame) return;
    shell.m_pFrame = frame->Parent();
    delete frame;
    if (shell.m_level) --shell.m_level;
}

int ExitFrames(CShell& shell, CWords& words) {
    long long level = 1;
    if (!words.empty()) {
        long long v = 0;
        if (EvalInteger(words[0].text, v)) level = v;
    }
    Text result;
    int code = 0;
    if (words.size() >= 2) {
        CWords rest(words.begin() + 1, words.end());
        const Text& second = rest[0].text;
        bool effective = true;
        const CCommandRow* row = rest[0].kind == SWord::Plain ? CCommandRegistry::Find(second) : nullptr;
        if (row && (row->flags & COMMAND_CALL)) row = nullptr;
        if (!(row && (row->flags & COMMAND_BEFORE_ITEMS)) && rest[0].kind == SWord::Plain &&
            shell.FindItem(second)) {
            code = ItemCommand(shell, rest, result);
        } else if (row) {
            rest.erase(rest.begin());
            code = RunBuiltin(shell, *row, rest, result, effective, false);
        } else {
            result = JoinWords(rest);
        }
    }

    if (level == 0) {
        shell.SetState(SHELL_ENDING);
    } else if (level > 0) {
        for (long long i = 0; i < level && shell.m_pFrame && shell.m_pFrame->Parent(); ++i) PopFrame(shell);
    } else {
        while (shell.m_pFrame && shell.m_pFrame->Parent()) {
            if (!shell.m_pFrame->Locals().Get(L"OnExitAll").empty()) break;
            PopFrame(shell);
        }
    }

    NumberToText(shell, result);
    shell.Vars().Set(L"RESULT", result);
    // A temporary item of the callee named as the result goes to the caller.
    if (CShell::ItemEntry* e = result.empty() ? nullptr : shell.FindItem(result)) {
        if ((e->user & ITEM_TEMPORARY) && ItemLevelOf(e->user) > shell.m_level)
            shell.SetItemFlags(e, WithItemLevel(e->user | ITEM_HANDED_BACK, shell.m_level));
    }
    return code;
}

void SweepTemporaryItems(CShell& shell) {
    for (auto* e = shell.Items().First(); e;) {
        auto* next = e->next;
        if ((e->user & ITEM_TEMPORARY) && ItemLevelOf(e->user) > shell.m_level) {
            CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
            if (!kind || kind->CheckDelete(shell, e->value, true) == 0) shell.RemoveItem(e);
        }
        e = next;
    }
}
