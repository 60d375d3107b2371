#include "shell/command_registry.h"

#include <mutex>

namespace {
// Filled at start-up before any shell runs; read without a lock afterwards.
CNameMap<const CCommandRow*>& Rows() {
    static CNameMap<const CCommandRow*> rows;
    return rows;
}
std::mutex g_registerLock;
} // namespace

void CCommandRegistry::Register(const CCommandRow& row) {
    std::lock_guard lock(g_registerLock);
    if (auto* e = Rows().Find(row.name)) {
        e->value = &row;
        return;
    }
    Rows().Add(row.name, &row);
}

void CCommandRegistry::Register(const CCommandRow* rows, size_t count) {
    for (size_t i = 0; i < count; ++i) Register(rows[i]);
}

const CCommandRow* CCommandRegistry::Find(TextView name) {
    auto* e = Rows().Find(name);
    return e ? e->value : nullptr;
}

size_t CCommandRegistry::Count() {
    return Rows().Count();
}

std::vector<Text> CCommandRegistry::Names() {
    std::lock_guard lock(g_registerLock);
    std::vector<Text> names;
    for (auto* e = Rows().First(); e; e = e->next)
        if (!(e->value->flags & COMMAND_UNLISTED)) names.push_back(e->key);
    return names;
}
