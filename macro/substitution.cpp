// The second pass over an assembled text: ~name becomes the item's value,
// name[...] its status, name[] its size.
#include "macro/execution.h"
#include "macro/execution_internal.h"

namespace {

constexpr size_t kMaxBracketArgs = 9;
constexpr const wchar_t* kNameChars = L"ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789#";
constexpr const wchar_t* kTildeNameEnd = L" \t[]~%^()/$+-:?*._\\',;=`\"<>";

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
