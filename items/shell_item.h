// CShellItem: the base of every item a macro makes and drives by name. It
// gives each kind a share count (an item may be entered in several shells),
// the owner lock that LOCK/UNLOCK/TRYLOCK take, a short critical section for
// its own data, and a description for status output.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "base/text.h"
#include "shell/item_kind.h"

class CShell;
class CShellEnv;

// The owner lock proper. A lock belongs to a shell, not to a thread, so it is
// a gate that any thread may open, not a thread-owned mutex.
class CItemGate {
public:
    void Take();
    // False when the gate stays closed for `milliseconds` (negative: for ever).
    bool TakeFor(int milliseconds);
    void Give();

private:
    std::mutex m_lock;
    std::condition_variable m_opened;
    bool m_taken = false;
};

class CShellItem {
public:
    explicit CShellItem(CShellEnv* env);
    CShellItem(const CShellItem&) = delete;
    CShellItem& operator=(const CShellItem&) = delete;

    virtual void ShellDying(CShellEnv* env);
    virtual ~CShellItem();
    // Waits for the item. True when `owner` held it already (nothing changes then).
    virtual bool Lock(const CShell* owner, bool save);
    // keepSaved false ends the lock of whoever owns it; true leaves everything as it is
    // (the end of a SET by a shell that owned the item before the SET).
    virtual void Unlock(bool keepSaved);
    // True only when the lock was newly taken within `milliseconds`.
    virtual bool TryLock(const CShell* owner, int milliseconds, bool save);
    // True when the caller owns the item afterwards; `wasOwner` tells whether it did before.
    virtual bool LockIfFree(const CShell* owner, bool& wasOwner, int milliseconds, bool save);
    Text GetDescription();
    virtual void Describe(Text& out);

    void AddRef();
    // Drops one share; the item deletes itself at 0. True when it died.
    bool Release();
    int Share() const;
    const CShell* Owner() const;
    CShellEnv* Env() const { return m_pShell; }

    // The process-wide switch of internal reports; a user's "No" clears it.
    static std::atomic<bool> s_bInternalReports;

    CItemGate m_mutex;
    std::recursive_mutex m_cs;
    CShellEnv* m_pShell;
    const CShell* m_pOwner = nullptr;
    int m_nShare = 1;

protected:
    // A table saves its tag state when a lock is newly taken with `save`.
    virtual void SaveState() {}
    virtual void RestoreState() {}
    // Internal faults on destruction go to the log, which is where a user without a
    // message box looks.
    void ReportInternal(const Text& text);
    // The base checks of the destructor; a kind that reports in its own words clears
    // m_nShare first.
    void CheckDecomposing();
};

// RAII for m_cs.
using CItemSection = std::lock_guard<std::recursive_mutex>;

// The item kind of every CShellItem: shares and the lock words. Objects are
// CShellItem* stored as void*. Kinds whose SET holds the item for the whole
// command (tables and files) say so with `lockEachSet`.
class CShellItemKind : public CItemKind {
public:
    CShellItemKind(int kind, const wchar_t* keyword, const wchar_t* prefix, bool lockEachSet)
        : CItemKind(kind, keyword, prefix), m_lockEachSet(lockEachSet) {}

    bool AddRef(void* object) override;
    void Release(void* object) override;
    int Set(CShell& shell, void* object, const Text& name, CWords& args, COptions& options,
            Text& result) final;

    // LOCK, UNLOCK, TRYLOCK with their codes (silent twins with /s... as told by the
    // caller); -1 when the first word is none of them.
    static int LockWord(CShell& shell, CShellItem& item, CWords& args, COptions& options, bool instance);

protected:
    // The kind's own SET, with the item held when the kind locks each SET.
    virtual int SetItem(CShell&, CShellItem&, const Text& /*name*/, CWords& /*args*/, COptions& /*options*/,
                        Text& /*result*/) {
        return 261;
    }

private:
    bool m_lockEachSet;
};

inline CShellItem* AsItem(void* object) {
    return static_cast<CShellItem*>(object);
}
