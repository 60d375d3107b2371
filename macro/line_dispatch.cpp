// The dispatch of a line whose first word is known only at run time: an item,
// a command row, a method or a macro, else the words are the result.
#include "macro/classes.h"
#include "macro/execution.h"
#include "macro/execution_internal.h"
#include "shell/options.h"
#include "shell/shell_env.h"

namespace {

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

} // namespace

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
    // An item's name comes before a command of the same name, except before SET.
    const CCommandRow* row = CCommandRegistry::Find(first);
    if (!(row && (row->flags & COMMAND_BEFORE_ITEMS)) && shell.FindItem(first))
        return ItemCommand(shell, words, result, wantResult);
    if (row) {
        words.erase(words.begin());
        return RunBuiltin(shell, *row, words, result, effective, wantResult);
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
    if (!e) return RC_NO_SUCH_ITEM;
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
    if (!kind) return RC_SET_UNSUPPORTED_KIND;
    const Text name = e->key;
    void* object = e->value;
    words.erase(words.begin());
    COptions options;
    ScanOptions(words, options);
    const int code = kind->Set(shell, object, name, words, options, result);
    if (code != 0) result = IntText(code);
    return code;
}
