#include "base/subcommand_table.h"

#include <cstdio>
#include <cstdlib>
#include <mutex>

namespace {

struct SExtension {
    Text name;
    std::function<bool(CSubcommandList&)> extend;
};

struct SRegistry {
    std::mutex lock;
    std::vector<CSubcommandList*> tables;
    std::vector<SExtension> extensions;
};

SRegistry& Registry() {
    static SRegistry registry;
    return registry;
}

void Apply(const SExtension& extension, CSubcommandList& table) {
    if (extension.extend(table)) return;
    std::fprintf(stderr, "kvo: a row for the sub-commands of %ls does not fit their handlers\n",
                 extension.name.c_str());
    std::abort();
}

} // namespace

void CSubcommandRegistry::Register(CSubcommandList& table) {
    SRegistry& r = Registry();
    std::lock_guard hold(r.lock);
    bool replaced = false;
    for (CSubcommandList*& known : r.tables) {
        if (EqualNoCase(known->Name(), table.Name())) {
            known = &table;
            replaced = true;
        }
    }
    if (!replaced) r.tables.push_back(&table);
    for (const SExtension& extension : r.extensions)
        if (EqualNoCase(extension.name, table.Name())) Apply(extension, table);
}

void CSubcommandRegistry::Unregister(CSubcommandList& table) {
    SRegistry& r = Registry();
    std::lock_guard hold(r.lock);
    std::erase(r.tables, &table);
}

const CSubcommandList* CSubcommandRegistry::Find(TextView name) {
    SRegistry& r = Registry();
    std::lock_guard hold(r.lock);
    for (CSubcommandList* table : r.tables)
        if (EqualNoCase(table->Name(), name)) return table;
    return nullptr;
}

std::vector<Text> CSubcommandRegistry::Names() {
    SRegistry& r = Registry();
    std::lock_guard hold(r.lock);
    std::vector<Text> names;
    for (CSubcommandList* table : r.tables) names.emplace_back(table->Name());
    return names;
}

void CSubcommandRegistry::AddExtension(const wchar_t* name, std::function<bool(CSubcommandList&)> extend) {
    SRegistry& r = Registry();
    std::lock_guard hold(r.lock);
    SExtension& extension = r.extensions.emplace_back(SExtension{Text(name), std::move(extend)});
    for (CSubcommandList* table : r.tables)
        if (EqualNoCase(table->Name(), extension.name)) Apply(extension, *table);
}
