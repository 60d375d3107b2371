#include "graphics/item_sources.h"

#include "items/shell_table.h"
#include "numeric/matrix.h"
#include "shell/shell.h"

namespace {
CShellTable* FindTable(CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_TABLE);
    return e ? static_cast<CShellTable*>(AsItem(e->value)) : nullptr;
}
} // namespace

bool ReadTableMatrix(CShell& shell, TextView name, Matrix& out) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_TABLE);
    CItemKind* kind = CItemKindRegistry::Find(KIND_TABLE);
    return e && kind && kind->ToMatrix(e->value, {}, out) && !out.IsEmpty();
}

bool ReadTableCells(CShell& shell, TextView name, std::vector<std::vector<Text>>& out) {
    CShellTable* t = FindTable(shell, name);
    if (!t) return false;
    CItemSection hold(t->m_cs);
    out.clear();
    const long rows = t->GetRows();
    const int fields = std::max(1, t->GetFields(false));
    for (long r = 0; r < rows; ++r) {
        std::vector<Text>& row = out.emplace_back();
        for (int f = 0; f < fields; ++f) {
            Text cell;
            if (!t->GetCell(r, f, cell)) break;
            row.push_back(std::move(cell));
        }
    }
    return true;
}

bool ReadTableLines(CShell& shell, TextView name, std::vector<Text>& out) {
    std::vector<std::vector<Text>> cells;
    if (!ReadTableCells(shell, name, cells)) return false;
    out.clear();
    for (auto& row : cells) out.push_back(row.empty() ? Text() : row[0]);
    return true;
}
