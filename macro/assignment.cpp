// Assignment: `target := value` to a variable, an item, or an element of an item.
#include "macro/execution.h"
#include "macro/execution_internal.h"

int Assign(CShell& shell, const Text& target, const Text& value) {
    const size_t bracket = target.find_first_of(Text{L'[', wchar_t(CODE_OPEN)});
    if (bracket != Text::npos) {
        const Text name = Trim(target.substr(0, bracket));
        size_t close = target.find_last_of(Text{L']', wchar_t(CODE_CLOSE)});
        if (close == Text::npos || close < bracket) close = target.size();
        const Text args = target.substr(bracket + 1, close - bracket - 1);
        CShell::ItemEntry* e = shell.FindItem(name);
        if (!e) return RC_NO_SUCH_ITEM;
        CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
        return kind ? kind->AssignElement(shell, e->value, args, value) : RC_ASSIGNMENT_FAILED;
    }
    if (target.find(L'.') == Text::npos) {
        if (CShell::ItemEntry* e = shell.FindItem(target)) {
            CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(e->user));
            return kind ? kind->Assign(shell, e->value, value) : RC_ASSIGNMENT_FAILED;
        }
    }
    shell.SetVar(target, value, true);
    return 0;
}
