// Where the events of a window go: the owning shell and the item that the
// shell knows the window by. The window posts from the GUI thread; the item
// clears the sink under its lock before it (and with it the shell's entry)
// goes, so a post never reaches a shell that no longer holds the item.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "base/message_queue.h"
#include "base/text.h"

class CShell;

class CEventSink {
public:
    void Set(CShell* shell, void* source);
    void Clear();
    bool HasShell() const;
    // Posts code and parameter with the item as source; false without a shell.
    bool Post(uint32_t code, intptr_t param, std::unique_ptr<SPayload> payload = {}) const;
    // One DROPFILE message per path.
    bool PostFiles(const std::vector<Text>& paths) const;

private:
    mutable std::mutex m_lock;
    CShell* m_pShell = nullptr;
    void* m_source = nullptr;
};
using EventSinkPtr = std::shared_ptr<CEventSink>;
