// The DISPLAY item: the shell's handle on a display window. The window lives
// on the GUI thread; the item holds the slot through which requests reach it
// and the sink through which the window's events reach the owning shell.
#pragma once

#include "base/keyword_table.h"
#include "graphics/display_requests.h"
#include "items/shell_item.h"

class CDisplayItem : public CShellItem {
public:
    CDisplayItem(CShellEnv* env, int style, int kind, int dialogStyle);
    // Clears the sink, then asks the window to close and waits for it.
    ~CDisplayItem() override;
    void Describe(Text& out) override;

    const WindowSlotPtr& Slot() const { return m_slot; }
    const EventSinkPtr& Sink() const { return m_sink; }
    int Style() const { return m_style; }
    int DisplayKind() const { return m_kind; }
    int DialogStyle() const { return m_dialogStyle; }
    void SetSlot(WindowSlotPtr slot) { m_slot = std::move(slot); }

private:
    WindowSlotPtr m_slot;
    EventSinkPtr m_sink = std::make_shared<CEventSink>();
    int m_style;
    int m_kind;
    int m_dialogStyle;
};

class CDisplayKind : public CShellItemKind {
public:
    CDisplayKind() : CShellItemKind(KIND_DISPLAY, L"DISPLAY", L"D", false) {}
    int Create(CShell& shell, const Text& name, CWords& args, COptions& options, void*& object) override;
    int Status(CShell& shell, void* object, const std::vector<Text>& args, Text& out) override;

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text& name, CWords& args, COptions& options,
                Text& result) override;
};

// The display item named `name` in the shell, or null.
CDisplayItem* FindDisplayItem(CShell& shell, TextView name);
// SET on a display (display_commands.cpp).
int DisplaySet(CShell& shell, CDisplayItem& item, CWords& args, COptions& options, Text& result);
// The keywords of SET on a display, in their table's order.
std::vector<Text> DisplayKeywords();
// The status keys of a display in their order (display_window_status.cpp serves them).
extern const CKeywordTable kDisplayStatusKeys;
