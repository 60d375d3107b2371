#include "macro/execution.h"

#include "base/stack_guard.h"
#include "expr/ex_eval.h"
#include "expr/numeric_args.h"
#include "shell/command_registry.h"
#include "macro/classes.h"
#include "macro/compiler.h"
#include "macro/dispatcher.h"
#include "shell/options.h"
#include "shell/error_table.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr size_t kMaxWords = 256;
constexpr size_t kMaxBracketArgs = 9;
// Nesting stops while this much machine stack is left: enough for one more
// statement, a command and the program check, whatever they call.
constexpr size_t kStackReserve = size_t{2} << 20;

constexpr const wchar_t* kNameChars = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789#";
constexpr const wchar_t* kTildeNameEnd = L" \t[]~%^()/$+-:?*._\\',;=`\"<>";

bool InSet(wchar_t c, const wchar_t* set) {
    for (; *set; ++set)
        if (*set == c) return true;
    return false;
}

bool IsInternalCode(wchar_t c) {
    return c == CODE_QUOTE || c == CODE_ITEM || c == CODE_OPEN || c == CODE_CLOSE;
}

CMacroFrame* TopFrame(CShell& shell) {
    return static_cast<CMacroFrame*>(shell.m_pFrame);
}

// The stack guard: refuse to nest once more, tell the user, and drop the frame that asked.
bool StackExhausted(CShell& shell) {
    if (StackRemaining() >= kStackReserve) return false;
    shell.Env().Log(L"Stack overflow - probably infinite or too deep macro recursion", ELogKind::FAULT);
    return true;
}

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

// Runs frames inside the current line until `caller` is the current frame again.
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

// A result that names a number object becomes the number's text.
void NumberToText(CShell& shell, Text& result) {
    if (result.empty()) return;
    if (CShell::ItemEntry* e = shell.FindItem(result, KIND_NUMBER)) {
        CItemKind* kind = CItemKindRegistry::Find(KIND_NUMBER);
        Text text;
        if (kind && kind->NumberText(e->value, text)) result = text;
    }
}

bool IsAsciiLetter(wchar_t c) {
    return (c >= L'A' && c <= L'Z') || (c >= L'a' && c <= L'z');
}

// A first word is taken as a name: a letter or '_', then letters, digits, '_', '#' and ':'.
bool IsCallableName(const SWord& word) {
    if (word.kind != SWord::Plain || word.text.empty()) return false;
    const wchar_t c = word.text[0];
    // "::method" starts the search for a method at the running class's parent.
    const bool parentCall = word.text.size() > 2 && word.text.compare(0, 2, L"::") == 0;
    if (!IsAsciiLetter(c) && c != L'_' && !parentCall) return false;
    for (wchar_t ch : word.text)
        if (!IsAsciiLetter(ch) && !(ch >= L'0' && ch <= L'9') && ch != L'_' && ch != L'#' && ch != L':')
            return false;
    return true;
}

int RunBuiltin(CShell& shell, const CCommandRow& row, CWords& words, Text& result, bool& effective) {
    return Dispatch(shell, row, words, result, effective);
}

} // namespace

// Assembly ---------------------------------------------------------------------

int Assemble(CShell& shell, const CPieceChain& pieces, Text& out, bool secondPass, bool firstBracketKept) {
    Text joined;
    Text value;
    for (const CCodePiece& piece : pieces) {
        switch (piece.type) {
        case CCodePiece::LITERAL:
            joined += piece.text;
            break;
        case CCodePiece::VARIABLE:
            if (shell.GetVar(piece.text, value)) joined += value;
            break;
        case CCodePiece::INLINE: {
            value.clear();
            const int code = ExecuteLine(shell, *piece.line, &value);
            if (IsError(code)) return code;
            joined += value;
            break;
        }
        default:
            break;
        }
    }
    if (secondPass)
        Substitute(shell, joined, out, firstBracketKept);
    else
        out = std::move(joined);
    return 0;
}

namespace {

// The arguments of a status bracket from just behind '[': up to the matching ']'.
size_t BracketArguments(CShell& shell, TextView text, size_t pos, std::vector<Text>& args) {
    int depth = 0;
    size_t start = pos;
    size_t i = pos;
    auto take = [&](size_t end) {
        Text part;
        Substitute(shell, text.substr(start, end - start), part, false);
        if (args.size() < kMaxBracketArgs) args.push_back(Trim(part));
    };
    for (; i < text.size(); ++i) {
        const wchar_t c = text[i];
        if (c == CODE_OPEN) {
            ++depth;
        } else if (c == CODE_CLOSE) {
            if (depth == 0) break;
            --depth;
        } else if (c == L',' && depth == 0) {
            take(i);
            start = i + 1;
        }
    }
    take(i);
    return i < text.size() ? i + 1 : i;
}

void AppendStatus(CShell& shell, const Text& name, const std::vector<Text>& args, Text& out) {
    CShell::ItemEntry* e = shell.FindItem(name);
    if (!e) return;
    if (CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user))) {
        Text status;
        kind->Status(shell, e->value, args, status);
        out += status;
    }
}

} // namespace

void Substitute(CShell& shell, TextView text, Text& out, bool firstBracketKept) {
    out.clear();
    size_t i = 0;
    bool keepBracket = firstBracketKept;
    while (i < text.size()) {
        const wchar_t c = text[i];
        if (c == CODE_ITEM) {
            size_t end = i + 1;
            while (end < text.size() && !InSet(text[end], kTildeNameEnd) && !IsInternalCode(text[end]) &&
                   text[end] != CODE_VARIABLE && text[end] != CODE_INLINE_OPEN &&
                   text[end] != CODE_INLINE_CLOSE)
                ++end;
            const Text name(text.substr(i + 1, end - i - 1));
            if (end < text.size() && text[end] == CODE_OPEN) {
                std::vector<Text> args;
                i = BracketArguments(shell, text, end + 1, args);
                AppendStatus(shell, name, args, out);
                continue;
            }
            CShell::ItemEntry* e = shell.FindItem(name);
            if (!e) {
                out += L'*';
            } else {
                Text value;
                if (CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user)))
                    kind->ValueText(shell, e->value, value);
                else
                    value = CItemKindRegistry::Keyword(ItemKindOf(e->user));
                out += value;
            }
            i = end;
            continue;
        }
        if (c == CODE_OPEN) {
            if (keepBracket) {
                keepBracket = false;
                out += c;
                ++i;
                continue;
            }
            // The name is what stands in front of the bracket, from the name characters.
            size_t begin = out.size();
            while (begin > 0 && InSet(out[begin - 1], kNameChars)) --begin;
            const Text name = out.substr(begin);
            if (name.empty()) {
                out += c;
                ++i;
                continue;
            }
            if (i + 1 < text.size() && text[i + 1] == CODE_CLOSE) {
                out.resize(begin);
                CShell::ItemEntry* e = shell.FindItem(name);
                if (!e) {
                    out += L"-1";
                } else {
                    CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
                    out += IntText(kind ? kind->Size(e->value) : 0);
                }
                i += 2;
                continue;
            }
            CShell::ItemEntry* e = shell.FindItem(name);
            if (!e) {
                // Not an item: the bracket stays as plain text for whoever reads the words.
                out += L'[';
                ++i;
                continue;
            }
            out.resize(begin);
            std::vector<Text> args;
            i = BracketArguments(shell, text, i + 1, args);
            AppendStatus(shell, name, args, out);
            continue;
        }
        out += c;
        ++i;
    }
}

void SplitWords(TextView text, CWords& words) {
    words.clear();
    words.reserve(16);
    size_t i = 0;
    const size_t n = text.size();
    auto plainChar = [](wchar_t c) -> wchar_t {
        // Status codes that were left in place read as their characters from here on.
        return c == CODE_ITEM ? L'~' : c == CODE_OPEN ? L'[' : c == CODE_CLOSE ? L']' : c;
    };
    // A word is taken in one piece and its status codes mapped afterwards.
    auto take = [&](size_t begin, size_t end, int kind) {
        SWord& w = words.emplace_back();
        w.kind = kind;
        w.text.assign(text.data() + begin, end - begin);
        for (wchar_t& ch : w.text) ch = plainChar(ch);
    };
    auto separates = [](wchar_t c) { return c <= L' ' && c != CODE_ITEM && c != CODE_OPEN && c != CODE_CLOSE; };
    while (i < n && words.size() < kMaxWords) {
        const wchar_t c = text[i];
        if (c == CODE_QUOTE) {
            const size_t begin = ++i;
            while (i < n && text[i] != CODE_QUOTE) ++i;
            take(begin, i, SWord::Quoted);
            ++i;
            continue;
        }
        if (separates(c)) {
            ++i;
            continue;
        }
        const size_t begin = i;
        while (i < n && text[i] != CODE_QUOTE && !separates(text[i])) ++i;
        take(begin, i, SWord::Plain);
    }
}

// Lines -------------------------------------------------------------------------

int ExecuteLine(CShell& shell, CCodeLine& line, Text* out) {
    CMacroFrame* frame = TopFrame(shell);
    const int kind = line.Kind();
    if (kind == CCodeLine::GOTO) {
        if (out) return 7;
        if (!frame) return 8;
        frame->m_next = line.target;
        return 0;
    }
    if (kind != CCodeLine::STATEMENT) {
        if (out) return 7;
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
                        code = 8;
                }
                break;
            }
            case CCodeLine::COMPUTED_GOTO: {
                code = 10;
                if (!frame) {
                    code = 8;
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
                code = 26;
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
        code = Dispatch(shell, *line.command, words, result, effective);
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
            code = 303;
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
        code = 259;
        shell.SetResultCode(code);
    }
    ProgramCheck(shell, code, line);
    return code;
}

int DispatchLine(CShell& shell, const Text& text, bool wantResult, Text& result, bool& effective) {
    CWords words;
    SplitWords(text, words);
    effective = true;
    result.clear();
    if (words.empty() || !IsCallableName(words[0])) {
        result = JoinWords(words);
        effective = false;
        return 0;
    }
    const Text& first = words[0].text;

    if (EqualNoCase(first, L"SET")) {
        if (words.size() >= 2 && shell.FindItem(words[1].text)) {
            words.erase(words.begin());
            return ItemCommand(shell, words, result, wantResult);
        }
        result = JoinWords(words, 1);
        return 0;
    }
    if (shell.FindItem(first)) return ItemCommand(shell, words, result, wantResult);
    if (const CCommandRow* row = CCommandRegistry::Find(first)) {
        words.erase(words.begin());
        return RunBuiltin(shell, *row, words, result, effective);
    }
    static constexpr const wchar_t* kCallWords[] = {L"GOSUB", L"GOSUBX", L"MACRO", L"MACROX", L"SHELL"};
    for (int k = 0; k < 5; ++k) {
        if (!EqualNoCase(first, kCallWords[k])) continue;
        if (words.size() < 2) return 2;
        words.erase(words.begin());
        if (k < 2) return CallLabel(shell, words, k == 1, wantResult, result);
        return CallMacro(shell, words, k - 2, wantResult, result);
    }
    if (first.find(L"::") != Text::npos) return CallMethod(shell, words, nullptr, wantResult, result);
    // Inside a method a method's name is a call on the same instance.
    if (shell.m_pFrame && shell.m_pFrame->Instance() && HasMethod(shell.m_pFrame->Instance(), first))
        return CallMethod(shell, words, nullptr, wantResult, result);
    if (shell.Env().FindMacro(first)) return CallMacro(shell, words, 0, wantResult, result);
    result = JoinWords(words);
    effective = false;
    return 0;
}

int ItemCommand(CShell& shell, CWords& words, Text& result, bool wantResult) {
    CShell::ItemEntry* e = shell.FindItem(words[0].text);
    if (!e) return 379;
    if (words.size() == 1) {
        result = e->key;
        return 0;
    }
    if (ItemKindOf(e->user) == KIND_INSTANCE && HasMethod(e->value, words[1].text)) {
        void* instance = e->value;
        words.erase(words.begin());
        return CallMethod(shell, words, instance, wantResult, result);
    }
    CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
    if (!kind) return 261;
    const Text name = e->key;
    void* object = e->value;
    words.erase(words.begin());
    COptions options;
    ScanOptions(words, options);
    const int code = kind->Set(shell, object, name, words, options, result);
    if (code != 0) result = IntText(code);
    return code;
}

// Calls -------------------------------------------------------------------------

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
        return 211;
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
    if (!code) return 8;
    const Text name = code->m_name;
    if (mode == 2) {
        CMacroFrame* frame = nullptr;
        CFrameBase hold(nullptr);
        CShell* child = env.NewShell(&hold, &shell);
        if (!child) {
            code->Unuse();
            return 1;
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
    if (!parent) return 8;
    auto* e = parent->m_pCode->m_labels.Find(words[0].text);
    if (!e) return 10;
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
        if (rest[0].kind == SWord::Plain && EqualNoCase(second, L"SET")) {
            if (rest.size() >= 2 && shell.FindItem(rest[1].text)) {
                rest.erase(rest.begin());
                code = ItemCommand(shell, rest, result);
            } else {
                result = JoinWords(rest, 1);
            }
        } else if (rest[0].kind == SWord::Plain && shell.FindItem(second)) {
            code = ItemCommand(shell, rest, result);
        } else if (const CCommandRow* row =
                       rest[0].kind == SWord::Plain ? CCommandRegistry::Find(second) : nullptr) {
            rest.erase(rest.begin());
            code = Dispatch(shell, *row, rest, result, effective);
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

// Conditions --------------------------------------------------------------------

bool MatchPattern(TextView text, TextView pattern, bool ignoreCase) {
    size_t t = 0, p = 0, starP = TextView::npos, starT = 0;
    auto same = [ignoreCase](wchar_t a, wchar_t b) {
        return ignoreCase ? UpperChar(a) == UpperChar(b) : a == b;
    };
    while (t < text.size()) {
        if (p < pattern.size() && (pattern[p] == L'?' || (pattern[p] != L'*' && same(pattern[p], text[t])))) {
            ++t;
            ++p;
        } else if (p < pattern.size() && pattern[p] == L'*') {
            starP = p++;
            starT = t;
        } else if (starP != TextView::npos) {
            p = starP + 1;
            t = ++starT;
        } else {
            return false;
        }
    }
    while (p < pattern.size() && pattern[p] == L'*') ++p;
    return p == pattern.size();
}

bool IsValidName(TextView text, bool left) {
    if (text.empty() || text[0] <= L' ' || (text[0] >= L'0' && text[0] <= L'9')) return false;
    static constexpr const wchar_t* kBad = L"+-_=\",\t :'$/([])<>";
    for (wchar_t c : text) {
        if (InSet(c, kBad)) return false;
        if (left && (c == L'*' || c == L'?')) return false;
    }
    if (left && text.back() == L'.') return false;
    return true;
}

namespace {

// A side of a comparison as a number: a plain decimal number at once, anything
// else through the expression evaluator (names of number objects, tables,
// constants, functions); only a single value counts.
bool SideNumber(CShell& shell, const Text& side, double& value) {
    if (side.empty()) return false;
    if (side.find_first_not_of(L"0123456789+-.eE") == Text::npos && ParseWholeDouble(side, value))
        return true;
    CExEval eval(&shell);
    eval.SetExpression(side);
    if (!eval.Evaluate()) return false;
    const Matrix* result = eval.GetResult();
    if (!result || !result->IsScalar()) return false;
    value = result->At(0, 0);
    return true;
}

int CompareTriple(CShell& shell, const Text& left, const Text& op, const Text& right, bool& value) {
    static constexpr const wchar_t* kRelations[] = {L"<", L"<=", L"==", L"!=", L">=", L">"};
    for (int r = 0; r < 6; ++r) {
        if (op != kRelations[r]) continue;
        double a = 0, b = 0;
        int cmp;
        if (SideNumber(shell, left, a) && SideNumber(shell, right, b))
            cmp = a < b ? -1 : (a > b ? 1 : 0);
        else
            cmp = CompareNoCase(left, right);
        static constexpr bool kTable[6][3] = {{true, false, false}, {true, true, false},
                                              {false, true, false}, {true, false, true},
                                              {false, true, true},  {false, false, true}};
        value = kTable[r][cmp + 1];
        return 0;
    }
    if (op.size() == 3 && (op[0] == L'=' || op[0] == L'!')) {
        const bool negative = op[0] == L'!';
        const wchar_t what = UpperChar(op[1]);
        const wchar_t how = UpperChar(op[2]);
        if ((what == L'S' || what == L'N') && (how == L'I' || how == L'R')) {
            bool match;
            if (what == L'N' && !(IsValidName(left, true) && IsValidName(right, false)))
                match = false;
            else
                match = MatchPattern(left, right, how == L'I');
            value = negative ? !match : match;
            return 0;
        }
    }
    return 12;
}

} // namespace

int EvalCondition(CShell& shell, const CWords& words, bool& value) {
    if (words.size() % 4 != 3) return 2;
    value = false;
    for (size_t i = 0; i < words.size(); i += 4) {
        bool v = false;
        const int code = CompareTriple(shell, words[i].text, words[i + 1].text, words[i + 2].text, v);
        if (code) return code;
        if (i == 0) {
            value = v;
            continue;
        }
        const Text& logical = words[i - 1].text;
        if (logical == L"||" || EqualNoCase(logical, L"OR"))
            value = value || v;
        else if (logical == L"&&" || EqualNoCase(logical, L"AND"))
            value = value && v;
        else
            return 12;
    }
    return 0;
}

// Assignment ----------------------------------------------------------------------

int Assign(CShell& shell, const Text& target, const Text& value) {
    const size_t bracket = target.find_first_of(Text{L'[', wchar_t(CODE_OPEN)});
    if (bracket != Text::npos) {
        const Text name = Trim(target.substr(0, bracket));
        size_t close = target.find_last_of(Text{L']', wchar_t(CODE_CLOSE)});
        if (close == Text::npos || close < bracket) close = target.size();
        const Text args = target.substr(bracket + 1, close - bracket - 1);
        CShell::ItemEntry* e = shell.FindItem(name);
        if (!e) return 379;
        CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
        return kind ? kind->AssignElement(shell, e->value, args, value) : 174;
    }
    if (target.find(L'.') == Text::npos) {
        if (CShell::ItemEntry* e = shell.FindItem(target)) {
            CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
            return kind ? kind->Assign(shell, e->value, value) : 174;
        }
    }
    shell.SetVar(target, value, true);
    return 0;
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
        shell.SetResultCode(7);
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
