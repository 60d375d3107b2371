// The request channel between shells and windows. Qt keeps widgets on one
// thread, so the GUI thread plays the part of every display's own thread: a
// shell reaches a window only by handing it a request block as a queued call
// and waiting on the block's event. The GUI thread never waits on a shell; it
// serves the block and sets the event. Worker threads (long recalculations)
// only post work back and never wait.
#pragma once

#include <atomic>
#include <functional>
#include <memory>

#include "base/event.h"

class QObject;

// One request in flight: an event, a result word and eight argument slots.
// `data` points at an object on the requester's stack (a text to fill, a
// record to read): the requester waits, so the window may use it while serving.
struct SRequestBlock {
    CEvent event;
    long long result = 0;
    long long args[8] = {};
    void* data = nullptr;
    // Set when a window took the block up (a window that is gone leaves it clear).
    bool served = false;

    void Clear() {
        result = 0;
        for (long long& a : args) a = 0;
        data = nullptr;
    }
};

// A window that serves requests; GUI thread only.
class IRequestTarget {
public:
    virtual ~IRequestTarget() = default;
    virtual void ServeRequest(int code, SRequestBlock& block) = 0;
};

// What a shell-side item holds of its window. The window lives on the GUI
// thread and may go at any time (a close box without a shell); only the GUI
// thread reads `target`, and the window clears it as it goes.
struct SWindowSlot {
    IRequestTarget* target = nullptr;
    std::atomic<bool> gone{false};
};
using WindowSlotPtr = std::shared_ptr<SWindowSlot>;

namespace GuiChannel {
// Opens the channel; called on the GUI thread once the application object exists.
void Open();
// Refuses every later request and releases the waiting ones with a cleared
// result: called on the GUI thread before the environment (and its shells) goes.
void Close();
bool IsOpen();
// Blocks handed to the GUI thread and not yet taken up.
size_t Pending();
bool OnGuiThread();
// Serves the block on the GUI thread and waits for it (on the GUI thread itself the
// request is served at once). False, with the block's result cleared, when the
// window is gone or the channel closed.
bool Request(const WindowSlotPtr& slot, int code, SRequestBlock& block);
// Work for the GUI thread, not waited for (workers report back this way). `context`
// is a QObject: if it is gone by the time the work would run, the work is dropped.
void Post(QObject* context, std::function<void()> work);
} // namespace GuiChannel
