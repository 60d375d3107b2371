// The GRAPH item: the shell's handle on a graph window in a display's cell.
#pragma once

#include "base/keyword_table.h"
#include "graphics/graph_requests.h"
#include "items/shell_item.h"

class CGraphItem : public CShellItem {
public:
    CGraphItem(CShellEnv* env, WindowSlotPtr display, int inputs);
    // Takes the graph out of its cell (the display may already be gone).
    ~CGraphItem() override;
    void Describe(Text& out) override;

    const WindowSlotPtr& Slot() const { return m_slot; }
    const WindowSlotPtr& Display() const { return m_display; }
    const EventSinkPtr& Sink() const { return m_sink; }
    int Inputs() const { return m_inputs; }
    void SetSlot(WindowSlotPtr slot) { m_slot = std::move(slot); }

private:
    WindowSlotPtr m_slot;
    WindowSlotPtr m_display;
    EventSinkPtr m_sink = std::make_shared<CEventSink>();
    int m_inputs;
};

class CGraphKind : public CShellItemKind {
public:
    CGraphKind() : CShellItemKind(KIND_GRAPH, L"GRAPH", L"G", false) {}
    int Create(CShell& shell, const Text& name, CWords& args, COptions& options, void*& object) override;
    int Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) override;

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text& name, CWords& args, COptions& options,
                Text& result) override;
};

CGraphItem* FindGraphItem(CShell& shell, TextView name);
// SET on a graph (graph_commands.cpp).
int GraphSet(CShell& shell, CGraphItem& item, CWords& args, COptions& options, Text& result);
extern const CKeywordTable kGraphStatusKeys;
// The keywords of SET on a graph, in their table's order.
std::vector<Text> GraphKeywords();
