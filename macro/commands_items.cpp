#include "macro/commands_items.h"

#include <iterator>
#include <mutex>

#include "shell/command_registry.h"
#include "shell/error_table.h"
#include "shell/item_kind.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

namespace {

constexpr uint32_t kProtectionBits = ITEM_PROTECTED | ITEM_BARRIER;

bool HasBarrier(const CShell& shell) {
    for (auto* e = shell.Items().First(); e; e = e->next)
        if (e->user & kProtectionBits) return true;
    return false;
}

// NEW kind name /Z item [shell]: a further share of an item that this or another shell holds.
int ShareItem(CShell& shell, int kind, CWords& args, bool silent, void*& object) {
    if (kind != KIND_TABLE && kind != KIND_FILE && kind != KIND_INSTANCE)
        return Silent(RC_TYPE_MISMATCH, silent);
    if (args.size() < 2) return RC_TOO_FEW_ARGUMENTS;
    CItemKind* itemKind = CItemKindRegistry::Find(kind);
    if (!itemKind) return RC_NOT_SUPPORTED;
    std::lock_guard<std::recursive_mutex> envLock(shell.Env().Lock());
    CShell* holder = &shell;
    if (args.size() >= 3 && args[2].text != L"=") {
        holder = shell.Env().FindShell(args[2].text);
        if (!holder || args[2].text.empty()) return RC_SHELL_CANCELLED;
    }
    CShell::ItemEntry* e = holder->FindItem(args[1].text, kind);
    if (!e) return RC_NO_SUCH_SHELL;
    if (!itemKind->AddRef(e->value)) return Silent(RC_TYPE_MISMATCH, silent);
    object = e->value;
    return 0;
}

// NEW kind name args...: the kind by the item-kind registry's keywords.
int NewCommand(CShell& shell, CWords& args, COptions& options, int, Text& result) {
    const int kind = CItemKindRegistry::FindNewKind(args[0].text);
    if (kind < 0) return RC_BAD_ARG1;
    args.erase(args.begin());
    const bool barrier = HasOption(options, L"U");
    const bool silent = HasOption(options, L"s");
    if (barrier && HasBarrier(shell)) return RC_INVALID_OPTION;
    shell.SetVar(L"#NEW", L"*");
    Text name;
    if (!shell.MakeItemName(args.empty() ? TextView() : TextView(args[0].text), name, kind))
        return RC_CANNOT_CREATE_NAME;

    void* object = nullptr;
    int code;
    if (HasOption(options, L"Zz")) {
        code = ShareItem(shell, kind, args, silent, object);
    } else if (CItemKind* itemKind = CItemKindRegistry::Find(kind)) {
        CWords rest(args.begin() + (args.empty() ? 0 : 1), args.end());
        code = itemKind->Create(shell, name, rest, options, object);
    } else {
        code = RC_NOT_SUPPORTED; // a kind this build does not have
    }
    if (!object) {
        if (code == 0) code = silent ? RC_CANNOT_ALLOCATE_ITEM_WARNING : RC_CANNOT_ALLOCATE_ITEM;
        return code;
    }

    uint32_t flags = WithItemLevel(static_cast<uint32_t>(kind), shell.m_level);
    if (HasOption(options, L"Gg")) flags |= ITEM_TEMPORARY;
    if (HasOption(options, L"u")) flags |= ITEM_USER_PROTECTED;
    if (barrier) {
        flags |= ITEM_BARRIER;
        for (auto* e = shell.Items().First(); e; e = e->next) {
            const int k = ItemKindOf(e->user);
            if (k != KIND_SOURCECODE && k != KIND_NUMBER) shell.SetItemFlags(e, e->user | ITEM_PROTECTED);
        }
    }
    shell.AddItem(name, object, flags);
    shell.SetVar(L"#NEW", name);
    result = name;
    return 0;
}

// One name of DELETE; 0 when the entry is gone.
int DeleteOne(CShell& shell, const Text& name, bool silent) {
    CShell::ItemEntry* e = shell.FindItem(name);
    if (!e) return Silent(RC_NO_SUCH_ITEM, silent);
    // DELETE by a macro may remove a /u item; only the clean-up of a level may not.
    shell.SetItemFlags(e, e->user & ~ITEM_USER_PROTECTED);
    if ((e->user & ITEM_BARRIER) && ItemLevelOf(e->user) >= shell.m_level) {
        for (auto* other = shell.Items().First(); other; other = other->next)
            if (other->user & kProtectionBits) shell.SetItemFlags(other, other->user & ~kProtectionBits);
    }
    if (e->user & (ITEM_PROTECTED | ITEM_USER_PROTECTED)) return Silent(RC_DELETE_PROTECTED_ITEM, silent);
    if (CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user))) {
        if (const int code = kind->CheckDelete(shell, e->value, silent)) return code;
    }
    shell.RemoveItem(e);
    return 0;
}

int DeleteCommand(CShell& shell, CWords& args, COptions& options, int, Text&) {
    const bool silent = HasOption(options, L"Ss");
    int first = 0;
    for (const SWord& word : args) {
        const int code = DeleteOne(shell, word.text, silent);
        if (code && !first) first = code;
    }
    return first;
}

constexpr CCommandRow kItemCommands[] = {
    {L"NEW", &NewCommand, true, 2, 0, nullptr, L"#NEW", L"*"},
    {L"DELETE", &DeleteCommand, true, 1, 0, nullptr, L"RC", nullptr},
};

} // namespace

void RegisterItemCommands() {
    CSubcommandRegistry::Register(CItemKindRegistry::NewKeywords());
    CCommandRegistry::Register(kItemCommands, std::size(kItemCommands));
}
