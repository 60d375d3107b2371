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
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

// LIST keyword table? field? empty?: the count of the names; with a table, one
// entry a name (the keyword is gone from the words: the table is the first,
// the field the second, the truth value that empties it first the third).
int ListInto(CShell& shell, CWords& args, const std::vector<Text>& names, Text& result) {
    if (!args.empty()) {
        bool clear = false;
        if (args.size() > 2) {
            long long flag = 0;
            if (!EvalInteger(args[2].text, flag)) return RC_BAD_ARG4;
            clear = flag != 0;
        }
        const Text field = args.size() > 1 && args[1].text != L"*" ? args[1].text : Text();
        const int rc = AppendTableEntries(shell, args[0].text, names, field, clear);
        if (rc != 0) return rc == RC_BAD_ARG1 ? RC_BAD_ARG2 : (rc == RC_BAD_ARG2 ? RC_BAD_ARG3 : rc);
    }
    result = IntText(static_cast<long long>(names.size()));
    return 0;
}

// The items of this shell of one kind.
template <int Kind> int ListKind(CShell& shell, CWords& args, COptions&, Text& result) {
    std::vector<Text> names;
    for (auto* e = shell.Items().First(); e; e = e->next)
        if (ItemKindOf(e->user) == Kind) names.push_back(e->key);
    return ListInto(shell, args, names, result);
}

int ListShells(CShell& shell, CWords& args, COptions&, Text& result) {
    std::vector<Text> names;
    {
        std::lock_guard lock(shell.Env().Lock());
        for (CShell* s = shell.Env().NextShell(nullptr); s; s = shell.Env().NextShell(s))
            names.push_back(s->IdText());
    }
    return ListInto(shell, args, names, result);
}

// One of the environment's lists (1 macros, 2 SPUs, 3 sound files).
template <int Number> int ListEnvironment(CShell& shell, CWords& args, COptions&, Text& result) {
    std::vector<Text> names;
    Text title;
    shell.Env().ListNames(Number, title, names);
    return ListInto(shell, args, names, result);
}

// The class macros, each "class parent" or "class".
int ListClasses(CShell& shell, CWords& args, COptions&, Text& result) {
    std::vector<Text> names;
    {
        std::lock_guard lock(shell.Env().Lock());
        for (auto* e = shell.Env().Macros().First(); e; e = e->next) {
            const auto* code = dynamic_cast<const CMacroCode*>(e->value);
            if (!code || !code->m_bClass) continue;
            names.push_back(code->m_parentName.empty() ? e->key : e->key + L' ' + code->m_parentName);
        }
    }
    return ListInto(shell, args, names, result);
}

// The item kinds first, by the item-kind registry's keywords, then the lists
// of the environment.
std::vector<SCommandSubcommand> ListRows() {
    static constexpr SubcommandHandler kKinds[] = {
        ListKind<KIND_TABLE>,    ListKind<KIND_FILE>,    ListKind<KIND_MENU>,  ListKind<KIND_VALUE>,
        ListKind<KIND_SPU>,      ListKind<KIND_DISPLAY>, ListKind<KIND_GRAPH>, ListKind<KIND_WAVE>,
        ListKind<KIND_INSTANCE>, ListKind<KIND_DDECONV>, ListKind<KIND_IP>,    ListKind<KIND_DCOM>,
    };
    const auto& kinds = CItemKindRegistry::NewKeywords();
    std::vector<SCommandSubcommand> rows;
    for (size_t i = 0; i < kinds.Count(); ++i)
        rows.push_back({kinds.Keyword(i), kKinds[kinds[i].handler - KIND_TABLE]});
    rows.push_back({L"SHELL", ListShells});
    rows.push_back({L"MACROCODE", ListEnvironment<1>});
    rows.push_back({L"SPUCODE", ListEnvironment<2>});
    rows.push_back({L"SOUNDFILE", ListEnvironment<3>});
    rows.push_back({L"CLASS", ListClasses});
    return rows;
}
CCommandSubcommands g_list(L"LIST", ListRows());

// TRANSLATE text from1 to1 ...: pair by pair, in their order, every
// occurrence of `from` becomes `to`; a later pair sees what earlier ones made.
int TranslateCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    Text text;
    size_t first = 1;
    if (HasOption(options, L"Tt")) {
        if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
        const int rc = TableRowText(shell, args[0].text, args[1].text, text);
        if (rc != 0) return rc;
        first = 2;
    } else if (HasOption(options, L"Vv")) {
        text = shell.GetVar(args[0].text);
    } else {
        text = args[0].text;
    }
    const size_t words = args.size() - first;
    if (words == 0 || words % 2 != 0) return RC_TOO_FEW_ARGUMENTS;
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
        if (rc != 0) return rc == RC_BAD_ARG1 ? RC_BAD_ARG2 : rc;
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

const CCommandRow kMiscRows[] = {
    {.name = L"LIST", .minArgs = 1, .pSubcommands = &g_list},
    {.name = L"TRANSLATE", .handler = TranslateCommand, .m_bOptions = true, .minArgs = 3},
    {.name = L"KVOCONSTANTS", .handler = ConstantsCommand},
};

} // namespace

void RegisterMiscCommands() {
    CSubcommandRegistry::Register(g_list);
    CCommandRegistry::Register(kMiscRows, std::size(kMiscRows));
}
