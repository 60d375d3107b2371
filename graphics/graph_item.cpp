#include "graphics/graph_item.h"

#include "graphics/display_item.h"
#include "graphics/display_proxy.h"
#include "graphics/graph_words.h"
#include "shell/options.h"
#include "shell/shell.h"

namespace {
constexpr const wchar_t* kStatusWords[] = {L"FUNCTIONS", L"DISPLAY",    L"INDEX",       L"INPUTS",
                                           L"SEGMENTS",  L"RANGE",      L"ORIENTATION", L"VIEW",
                                           L"MODE",      L"CURSORMODE", L"CURSORLIMIT", nullptr};
} // namespace

const CKeywordTable kGraphStatusKeys(kStatusWords);

CGraphItem::CGraphItem(CShellEnv* env, WindowSlotPtr display, int inputs)
    : CShellItem(env), m_display(std::move(display)), m_inputs(inputs) {}

CGraphItem::~CGraphItem() {
    m_sink->Clear();
    if (m_slot && m_display) {
        CRequestProxy proxy(m_display);
        WindowSlotPtr slot = m_slot;
        proxy.Request(DR_REMOVE_GRAPH, &slot);
    }
}

void CGraphItem::Describe(Text& out) {
    out = Format(L"CGraphItem %p, usage count %d", static_cast<void*>(this), m_nShare);
}

CGraphItem* FindGraphItem(CShell& shell, TextView name) {
    CShell::ItemEntry* e = shell.FindItem(name, KIND_GRAPH);
    return e ? static_cast<CGraphItem*>(AsItem(e->value)) : nullptr;
}

int CGraphKind::Create(CShell& shell, const Text& name, CWords& args, COptions& options, void*& object) {
    long long inputs = 0, row = 0, column = 0;
    if (args.empty() || !ReadInteger(args[0].text, inputs) || inputs < 1) return 66;
    CDisplayItem* display = args.size() > 1 ? FindDisplayItem(shell, args[1].text) : nullptr;
    if (!display) return 67;
    if (args.size() > 2 && !ReadInteger(args[2].text, row)) return 68;
    if (args.size() > 3 && !ReadInteger(args[3].text, column)) return 69;
    int flags = 0;
    if (HasOption(options, L"Oo")) flags |= GRAPH_NO_X_AXIS;
    if (const SOption* c = FindOption(options, L"Cc")) {
        bool on = false;
        if (!ReadSwitch(c->text, on)) return 5;
        if (on) flags |= GRAPH_NO_Y_AXIS;
    }
    auto* item = new CGraphItem(&shell.Env(), display->Slot(), static_cast<int>(inputs));
    // The graph's events go to the shell that owns its display.
    item->Sink()->Set(&shell, static_cast<CShellItem*>(item));
    SGraphCreate create;
    create.name = name;
    create.displayName = args[1].text;
    create.inputs = static_cast<int>(inputs);
    create.row = static_cast<int>(row);
    create.column = static_cast<int>(column);
    create.flags = flags;
    create.sink = item->Sink();
    {
        CRequestProxy proxy(display->Slot());
        proxy.Request(DR_ADD_GRAPH, &create);
        if (!proxy.Served()) create.code = 7;
    }
    if (!create.slot) {
        item->Sink()->Clear();
        item->Release();
        return create.code ? create.code : 7;
    }
    item->SetSlot(create.slot);
    object = static_cast<CShellItem*>(item);
    return 0;
}

int CGraphKind::SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                        Text& result) {
    return GraphSet(shell, static_cast<CGraphItem&>(item), args, options, result);
}

int CGraphKind::Status(CShell&, void* object, const std::vector<Text>& args, Text& out) {
    auto& item = *static_cast<CGraphItem*>(AsItem(object));
    SGraphStatusQuery query;
    if (!args.empty() && !args[0].empty()) {
        TextView key = args[0];
        if (key[0] == L'!') key.remove_prefix(1);
        query.key = kGraphStatusKeys.Find(key, true);
        if (query.key < 0) {
            out.clear();
            return 65;
        }
        query.args.assign(args.begin() + 1, args.end());
    }
    CRequestProxy proxy(item.Slot());
    proxy.Request(GR_STATUS, &query);
    out = query.out;
    return 0;
}
