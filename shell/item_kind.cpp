#include "shell/item_kind.h"

#include <array>
#include <atomic>
#include <vector>

namespace {
constexpr int kKinds = 15;
std::array<std::atomic<CItemKind*>, kKinds> g_kinds{};

constexpr const wchar_t* kPrefixes[kKinds] = {L"",  L"",  L"T", L"F",   L"M",  L"V",    L"S", L"D",
                                              L"G", L"W", L"I", L"DDE", L"IP", L"DCOM", L"N"};
// ~name of an item whose kind is unknown to this build still says what it is.
constexpr const wchar_t* kKeywords[kKinds] = {L"SOURCECODE", L"",        L"TABLE",   L"FILE",  L"MENU",
                                              L"VALUE",      L"SPU",     L"DISPLAY", L"GRAPH", L"WAVE",
                                              L"INSTANCE",   L"DDECONV", L"IP",      L"DCOM",  L""};
} // namespace

void CItemKindRegistry::Register(CItemKind* kind) {
    if (kind && kind->Kind() >= 0 && kind->Kind() < kKinds) g_kinds[kind->Kind()] = kind;
}

void CItemKindRegistry::Unregister(int kind) {
    if (kind >= 0 && kind < kKinds) g_kinds[kind] = nullptr;
}

CItemKind* CItemKindRegistry::Find(int kind) {
    return kind >= 0 && kind < kKinds ? g_kinds[kind].load() : nullptr;
}

CSubcommandTable<int>& CItemKindRegistry::NewKeywords() {
    static CSubcommandTable<int> table(L"NEW", [] {
        std::vector<SSubcommand<int>> rows;
        for (int kind = KIND_TABLE; kind <= KIND_DCOM; ++kind) rows.push_back({kKeywords[kind], kind});
        return rows;
    }());
    return table;
}

int CItemKindRegistry::FindNewKind(TextView word) {
    const SSubcommand<int>* row = NewKeywords().Find(word, true);
    return row ? row->handler : -1;
}

const wchar_t* CItemKindRegistry::Prefix(int kind) {
    if (CItemKind* k = Find(kind)) return k->Prefix();
    return kind >= 0 && kind < kKinds ? kPrefixes[kind] : L"";
}

const wchar_t* CItemKindRegistry::Keyword(int kind) {
    if (CItemKind* k = Find(kind)) return k->Keyword();
    return kind >= 0 && kind < kKinds ? kKeywords[kind] : L"";
}
