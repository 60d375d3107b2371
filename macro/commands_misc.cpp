// Lists of what the program holds (LIST), the keyword lists of the language
// (KVOCONSTANTS) and text replacement (TRANSLATE).
#include "macro/commands_misc.h"

#include <iterator>
#include <mutex>

#include "base/keyword_table.h"
#include "expr/numeric_args.h"
#include "macro/code.h"
#include "macro/commands_tables.h"
#include "macro/constants.h"
#include "shell/command_registry.h"
#include "shell/item_kind.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr const wchar_t* kListKeywords[] = {
    L"TABLE",   L"FILE", L"MENU", L"VALUE", L"SPU",       L"DISPLAY", L"GRAPH",     L"WAVE",  L"INSTANCE",
    L"DDECONV", L"IP",   L"DCOM", L"SHELL", L"MACROCODE", L"SPUCODE", L"SOUNDFILE", L"CLASS", nullptr};
const CKeywordTable kListTable(kListKeywords);
enum { LIST_LAST_KIND = 11, LIST_SHELL, LIST_MACROCODE, LIST_SPUCODE, LIST_SOUNDFILE, LIST_CLASS };

void ListNames(CShell& shell, int selector, std::vector<Text>& names) {
    CShellEnv& env = shell.Env();
    if (selector <= LIST_LAST_KIND) {
        const int kind = selector + 2;
        for (auto* e = shell.Items().First(); e; e = e->next)
            if (ItemKindOf(e->user) == kind) names.push_back(e->key);
        return;
    }
    if (selector == LIST_SHELL) {
        std::lock_guard lock(env.Lock());
        for (CShell* s = env.NextShell(nullptr); s; s = env.NextShell(s)) names.push_back(s->IdText());
        return;
    }
    if (selector == LIST_CLASS) {
        std::lock_guard lock(env.Lock());
        for (auto* e = env.Macros().First(); e; e = e->next) {
            const auto* code = dynamic_cast<const CMacroCode*>(e->value);
            if (!code || !code->m_bClass) continue;
            names.push_back(code->m_parentName.empty() ? e->key : e->key + L' ' + code->m_parentName);
        }
        return;
    }
    Text title;
    env.ListNames(selector - LIST_MACROCODE + 1, title, names);
}

// LIST keyword table? field? empty?: the count; with a table, one entry a name.
int ListCommand(CShell& shell, CWords& args, COptions&, int selector, Text& result) {
    std::vector<Text> names;
    ListNames(shell, selector, names);
    if (!args.empty()) {
        bool clear = false;
        // The keyword is gone from the words: the table is the first, the truth value the third.
        if (args.size() > 2) {
            long long flag = 0;
            if (!EvalInteger(args[2].text, flag)) return 67;
            clear = flag != 0;
        }
        const Text field = args.size() > 1 && args[1].text != L"*" ? args[1].text : Text();
        const int rc = AppendTableEntries(shell, args[0].text, names, field, clear);
        if (rc != 0) return rc == 64 ? 65 : (rc == 65 ? 66 : rc);
    }
    result = IntText(static_cast<long long>(names.size()));
    return 0;
}

// TRANSLATE text from1 to1 ...: pair by pair, in their order, every
// occurrence of `from` becomes `to`; a later pair sees what earlier ones made.
int TranslateCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    Text text;
    size_t first = 1;
    if (HasOption(options, L"Tt")) {
        if (args.size() < 2) return 2;
        const int rc = TableRowText(shell, args[0].text, args[1].text, text);
        if (rc != 0) return rc;
        first = 2;
    } else if (HasOption(options, L"Vv")) {
        text = shell.GetVar(args[0].text);
    } else {
        text = args[0].text;
    }
    const size_t words = args.size() - first;
    if (words == 0 || words % 2 != 0) return 2;
    for (size_t i = first; i + 1 < args.size(); i += 2) {
        const Text& from = args[i].text;
        const Text& to = args[i + 1].text;
        if (from.empty()) continue;
        for (size_t at = text.find(from); at != Text::npos; at = text.find(from, at + to.size())) {
            text.replace(at, from.size(), to);
        }
    }
    result = std::move(text);
    return 0;
}

const CKeywordTable& ConstantsTable() {
    static const CKeywordTable table(ConstantKeywords());
    return table;
}

// KVOCONSTANTS keyword? table?: the words of one list, or the list of lists.
int ConstantsCommand(CShell& shell, CWords& args, COptions&, int, Text& result) {
    std::vector<Text> words;
    if (args.empty()) {
        result.clear();
        for (const wchar_t* const* w = ConstantKeywords(); *w; ++w)
            result += (result.empty() ? L"" : L" ") + Text(*w);
        return 0;
    }
    const int index = ConstantsTable().Find(args[0].text, true);
    if (index < 0) return RC_BAD_ARG1;
    size_t count = 0;
    const SConstantList& list = ConstantLists(count)[index];
    if (EqualNoCase(list.name, L"COMMANDS")) {
        words = CCommandRegistry::Names();
    } else if (EqualNoCase(list.name, L"FONTS")) {
        // Only a window knows the fonts; without one the list is empty.
        if (IMainWindow* window = shell.Env().MainWnd()) window->FontFamilies(words);
    } else if (const CSubcommandList* table = CSubcommandRegistry::Find(list.name)) {
        words = table->Keywords();
    } else if (list.words) {
        for (const wchar_t* const* w = list.words; *w; ++w) words.push_back(*w);
    }
    if (args.size() > 1) {
        const int rc = AppendTableEntries(shell, args[1].text, words, Text(), false);
        if (rc != 0) return rc == 64 ? 65 : rc;
        result = IntText(static_cast<long long>(words.size()));
        return 0;
    }
    result.clear();
    for (const Text& w : words) {
        if (!result.empty()) result += L' ';
        result += w;
    }
    return 0;
}

constexpr CCommandRow kMiscRows[] = {
    {.name = L"LIST", .handler = ListCommand, .minArgs = 1, .pKeywords = &kListTable},
    {.name = L"TRANSLATE", .handler = TranslateCommand, .m_bOptions = true, .minArgs = 3},
    {.name = L"KVOCONSTANTS", .handler = ConstantsCommand},
};

} // namespace

void RegisterMiscCommands() {
    CCommandRegistry::Register(kMiscRows, std::size(kMiscRows));
}
