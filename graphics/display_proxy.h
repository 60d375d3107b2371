// The shell side of the request channel: small objects that a command builds
// on its stack. DisplayProxy reaches a display, GraphProxy a graph. The first
// call for a working copy asks the window for it; the destructor commits the
// copy when the command asked for it with /A, so several SET commands build up
// one change that shows in one redraw.
#pragma once

#include <memory>

#include "graphics/display_layout.h"
#include "graphics/graph_settings.h"
#include "graphics/gui_channel.h"

class CRequestProxy {
public:
    explicit CRequestProxy(WindowSlotPtr slot) : m_slot(std::move(slot)) {}
    CRequestProxy(const CRequestProxy&) = delete;
    CRequestProxy& operator=(const CRequestProxy&) = delete;

    // Clears the block, hands it to the window and waits; the block's result
    // (0 at once when the window is gone).
    long long Request(int code, void* data = nullptr);
    // Whether the last request reached a window.
    bool Served() const { return m_block.served; }
    SRequestBlock& Block() { return m_block; }
    const WindowSlotPtr& Slot() const { return m_slot; }

protected:
    WindowSlotPtr m_slot;
    SRequestBlock m_block;
};

// A working copy and its two requests (get, commit).
template <class Record> class CWorkingCopy {
public:
    CWorkingCopy(int getCode, int commitCode) : m_get(getCode), m_commit(commitCode) {}
    Record* Get(CRequestProxy& proxy) {
        if (!m_copy) proxy.Request(m_get, &m_copy);
        return m_copy.get();
    }
    bool Fetched() const { return m_copy != nullptr; }
    // With apply the window commits whatever working copy it holds, also one that
    // an earlier command without /A left: /A on any keyword shows every change.
    void Commit(CRequestProxy& proxy, bool apply) {
        if (!apply) return;
        proxy.Block().args[0] = 1;
        proxy.Request(m_commit);
        m_copy.reset();
    }

private:
    int m_get, m_commit;
    std::shared_ptr<Record> m_copy;
};

class DisplayProxy : public CRequestProxy {
public:
    explicit DisplayProxy(WindowSlotPtr slot);
    ~DisplayProxy();
    SSPDisplayLayout* WorkingLayout() { return m_layout.Get(*this); }
    SSPGraphSettings* WorkingSettings() { return m_settings.Get(*this); }
    void SetApply(bool apply) { m_apply = apply; }
    // Commits now (the destructor's work, for callers that read back at once).
    void Finish();

private:
    CWorkingCopy<SSPDisplayLayout> m_layout;
    CWorkingCopy<SSPGraphSettings> m_settings;
    bool m_apply = false;
    bool m_finished = false;
};

class GraphProxy : public CRequestProxy {
public:
    explicit GraphProxy(WindowSlotPtr slot);
    ~GraphProxy();
    SSPGraphSettings* WorkingSettings() { return m_settings.Get(*this); }
    void SetApply(bool apply) { m_apply = apply; }
    void Finish();

private:
    CWorkingCopy<SSPGraphSettings> m_settings;
    bool m_apply = false;
    bool m_finished = false;
};
