#include "expr/number_object.h"

#include <atomic>

#include "shell/shell.h"

namespace {

// "X#..." names of the tables that stand for printed matrices. They are not
// the automatic names of the table kind, so a free one is searched here.
bool MakeMatrixTableName(CShell& shell, Text& name) {
    static std::atomic<uint32_t> counter{0};
    for (int tries = 0; tries < 1 << 20; ++tries) {
        name = L"X#" + HexText(counter.fetch_add(1, std::memory_order_relaxed));
        if (!shell.FindItem(name)) return true;
    }
    return false;
}

} // namespace

void CNumberKind::Release(void* object) {
    delete static_cast<SNumberObject*>(object);
}

bool CNumberKind::NumberText(void* object, Text& out) {
    if (!object) return false;
    auto* number = static_cast<SNumberObject*>(object);
    return NumberValueText(number->shell, number->value, out);
}

void CNumberKind::ValueText(CShell&, void* object, Text& out) {
    if (!NumberText(object, out)) out.clear();
}

bool CNumberKind::ToMatrix(void* object, TextView part, Matrix& out) {
    if (!object || !part.empty()) return false;
    out = static_cast<const SNumberObject*>(object)->value;
    return true;
}

void* CNumberKind::NewFromMatrix(CShell& shell, const Matrix& value) {
    return new SNumberObject{value, &shell};
}

bool NumberValueText(CShell* shell, const Matrix& value, Text& out) {
    out.clear();
    if (value.IsEmpty()) return true;
    if (value.IsScalar()) {
        out = DoubleText(value.Scalar());
        return true;
    }
    CItemKind* tables = CItemKindRegistry::Find(KIND_TABLE);
    if (!shell || !tables) return false;
    Text name;
    if (!MakeMatrixTableName(*shell, name)) return false;
    void* table = tables->NewFromMatrix(*shell, value);
    if (!table) return false;
    shell->AddItem(name, table,
                   WithItemLevel(static_cast<uint32_t>(KIND_TABLE) | ITEM_TEMPORARY, shell->m_level));
    out = name;
    return true;
}

bool NewNumberObject(CShell& shell, Matrix value, Text& name) {
    if (!shell.MakeItemName(L"", name, KIND_NUMBER)) return false;
    auto* number = new SNumberObject{std::move(value), &shell};
    shell.AddItem(name, number,
                  WithItemLevel(static_cast<uint32_t>(KIND_NUMBER) | ITEM_TEMPORARY, shell.m_level));
    return true;
}

SNumberObject* FindNumberObject(const CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_NUMBER);
    return e ? static_cast<SNumberObject*>(e->value) : nullptr;
}
