// CShell: one interpreter with its own thread, items, variables, stack of
// macro frames and queue of messages. Whatever happens elsewhere reaches a
// shell as a posted message, which Pump turns into one text line of its
// queue; a macro takes the lines one at a time with MSG LOOP.
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <unordered_map>

#include "base/event.h"
#include "base/message_queue.h"
#include "base/name_list.h"
#include "base/thread.h"
#include "shell/frame.h"
#include "shell/item_kind.h"
#include "shell/variable_map.h"

class CShellEnv;

// A message's payload that becomes an item of the receiving shell (DROPFILE).
struct SLinesPayload : SPayload {
    std::vector<Text> lines;
};

enum EShellState : int {
    SHELL_RUNNING = 0, // executes lines
    SHELL_WAITING = 1, // MSG LOOP: blocks for a message
    SHELL_POLLING = 2, // MSG LOOP /N: looks once
    SHELL_ENDING = 3,  // no more lines
    SHELL_DEAD = 4,    // the thread has ended
};

class CShell {
public:
    using ItemEntry = CNameMap<void*>::Entry;

    // Made by CShellEnv::NewShell only; the thread starts suspended.
    CShell(CShellEnv& env, uint32_t id);
    ~CShell();
    CShell(const CShell&) = delete;
    CShell& operator=(const CShell&) = delete;

    uint32_t Id() const { return m_id; }
    // "X%.08lX" of the id: how macros address a shell.
    const Text& IdText() const { return m_idText; }
    CShellEnv& Env() const { return m_env; }

    bool StartThread();
    void Resume() { m_resume.Set(); }
    int State() const { return m_state.load(); }
    void SetState(int state) { m_state.store(state); }
    // Set when the thread has ended.
    const CEvent& Finished() const { return m_finished; }
    // Counts the times the thread had nothing to run and began to wait for a
    // message: a front end that sent a line waits for the count to move on.
    uint64_t IdleCount() const;
    // False on time-out (a negative time waits for ever).
    bool WaitIdleAfter(uint64_t count, int milliseconds = -1) const;

    // Messages. Post is for every other thread; refused from state 3 on.
    bool Post(void* source, uint32_t code, intptr_t param = 0, std::unique_ptr<SPayload> payload = {});
    // A command text for this shell: 0, 15 when the shell is ending, 14 for an empty text or a failed post.
    int Run(const Text& text, const CShell* sender = nullptr);
    // The paths of files dropped on a window, as a table for the shell (DROPFILE).
    bool PostDroppedFiles(std::vector<Text> paths, void* target = nullptr);
    // One message, blocking or not; its code, or 0 for none.
    uint32_t NextMessage(bool block, SMessage& out);
    // One message turned into a line of the queue.
    void Pump(bool block);
    // MSG LOOP: the wait of states 1 and 2.
    void WaitMessage();
    std::deque<Text>& Queue() { return m_queue; }

    // Variables, by the first character of the name: '@' global, '#' local,
    // '&' instance member, "item.member" a named member, else the shell's.
    void SetVar(TextView name, TextView value, bool dereference = false);
    Text GetVar(TextView name) const;
    bool GetVar(TextView name, Text& out) const;
    CVariableMap& Vars() { return m_vars; }
    // RC and EMSG after a statement.
    void SetResultCode(int code);

    // Items.
    ItemEntry* FindItem(TextView name, int kind = 0) const;
    void* ItemObject(TextView name, int kind = 0) const;
    ItemEntry* FindItemByObject(const void* object) const;
    // A free name: the given one (false when taken) or "%s#%X" of the kind's prefix and counter.
    bool MakeItemName(TextView name, Text& out, int kind);
    ItemEntry* AddItem(TextView name, void* object, uint32_t flags);
    // Removes the entry; with `release` the kind drops the entry's share.
    void RemoveItem(ItemEntry* entry, bool release = true);
    // Flags of an entry changed in place (temporary bit, level, protection).
    void SetItemFlags(ItemEntry* entry, uint32_t flags);
    // Entries that carry the temporary bit: the sweep after a line looks only when there are some.
    size_t TemporaryItems() const { return m_temporaryItems; }
    CNameMap<void*>& Items() { return m_items; }
    const CNameMap<void*>& Items() const { return m_items; }

    // Frames, call level and the line's pending result target (INTERPRET).
    CFrameBase* m_pFrame = nullptr;
    unsigned m_level = 0;
    Text m_interpretTarget;
    // Whether the command running now must leave its result at once (an inline
    // command, an assignment): a call then runs its frame to the end first.
    bool m_bResultWanted = false;
    std::chrono::steady_clock::time_point m_ticks;
    bool m_bDebugAllowed = true;

    // The debugger takes over from here; without one the reason is logged.
    void EnterDebugMode(const Text& reason);

private:
    void ThreadMain();
    bool MessageLine(SMessage& message, Text& line);
    void CheckDebugKey(intptr_t param);

    std::mutex m_threadLock; // guards the thread's existence against the shell's own end
    std::atomic<int> m_state{SHELL_RUNNING};
    CThread m_thread;
    bool m_threadAlive = false;
    CEvent m_finished;
    CEvent m_resume;
    mutable std::mutex m_idleLock;
    mutable std::condition_variable m_idleChanged;
    uint64_t m_idleCount = 0;
    CShellEnv& m_env;
    const uint32_t m_id;
    const Text m_idText;
    CVariableMap m_vars;
    CMessageQueue m_messages;
    std::deque<Text> m_queue;
    CNameMap<void*> m_items;
    std::unordered_map<const void*, ItemEntry*> m_itemByObject;
    size_t m_temporaryItems = 0;
    uint32_t m_nameCounters[16] = {};
    int m_keyPresses = 0;
    std::chrono::steady_clock::time_point m_keyDeadline;
};
