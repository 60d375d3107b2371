// CShellItem: the base of every item a macro makes and drives by name. It
// gives each kind a share count (an item may be entered in several shells),
// the owner lock that LOCK/UNLOCK/TRYLOCK take, a short critical section for
// its own data, and a description for status output.
#pragma once

#include <atomic>
#include <condition_variable>
#include <mutex>

#include "base/subcommand_table.h"
#include "base/text.h"
#include "shell/item_kind.h"
#include "shell/rc_codes.h"

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
// One SET on an item of kind Item, as its keyword's handler gets it: the
// words behind the keyword, the options, the result text, and whether the
// silent option was given.
template <class Item> struct SSetCall {
    CShell& shell;
    Item& item;
    CWords& args;
    COptions& options;
    Text& result;
    const wchar_t* keyword;
    bool quiet;
};
template <class Item> using SetHandler = int (*)(SSetCall<Item>&);
// The SET keywords of a kind: one row and one function per keyword, registered
// under the kind's keyword for KVOCONSTANTS and HELP.
template <class Item> using CSetTable = CSubcommandTable<SetHandler<Item>>;
template <class Item> using SSetRow = SSubcommand<SetHandler<Item>>;

// Row options every SET table knows; a kind's own flags start at SET_KIND_FLAGS.
enum : unsigned {
    SET_UNHELD = 1u << 0, // runs without holding the item (the lock words themselves)
    SET_KIND_FLAGS = 1u << 8,
};

class CShellItemKind : public CItemKind {
public:
    CShellItemKind(int kind, const wchar_t* keyword, const wchar_t* prefix, bool lockEachSet)
        : CItemKind(kind, keyword, prefix), m_lockEachSet(lockEachSet) {}

    bool AddRef(void* object) override;
    void Release(void* object) override;
    int Set(CShell& shell, void* object, const Text& name, CWords& args, COptions& options,
            Text& result) final;

    // LOCK, UNLOCK, TRYLOCK with their codes (silent twins with /s; an
    // instance answers 7 where the others name the owner state). `args` are
    // the words behind the keyword.
    static int Lock(CShell& shell, CShellItem& item, const COptions& options, bool instance);
    static int Unlock(CShell& shell, CShellItem& item, const COptions& options, bool instance);
    static int TryLock(CShell& shell, CShellItem& item, const CWords& args, const COptions& options);

protected:
    // The kind's own SET, with the item held when the kind locks each SET.
    virtual int SetItem(CShell&, CShellItem&, const Text& /*name*/, CWords& /*args*/, COptions& /*options*/,
                        Text& /*result*/) {
        return RC_SET_UNSUPPORTED_KIND;
    }
    // False for a SET that must not hold the item: an abbreviated lock word.
    virtual bool HoldsFor(const CWords& /*args*/) { return true; }

private:
    bool m_lockEachSet;
};

// The lock words as rows of a kind's SET table; like every lock word they
// answer their code as the result.
template <class Item> int SetLock(SSetCall<Item>& call) {
    const int code = CShellItemKind::Lock(call.shell, call.item, call.options, false);
    call.result = IntText(code);
    return code;
}
template <class Item> int SetUnlock(SSetCall<Item>& call) {
    const int code = CShellItemKind::Unlock(call.shell, call.item, call.options, false);
    call.result = IntText(code);
    return code;
}
template <class Item> int SetTryLock(SSetCall<Item>& call) {
    const int code = CShellItemKind::TryLock(call.shell, call.item, call.args, call.options);
    call.result = IntText(code);
    return code;
}
template <class Item> constexpr SSetRow<Item> kSetLockRow{L"LOCK", SetLock<Item>, 0, SET_UNHELD};
template <class Item> constexpr SSetRow<Item> kSetUnlockRow{L"UNLOCK", SetUnlock<Item>, 0, SET_UNHELD};
template <class Item> constexpr SSetRow<Item> kSetTryLockRow{L"TRYLOCK", SetTryLock<Item>, 0, SET_UNHELD};

// True when the first word selects a row of `table` that runs unheld.
template <class Item> bool SetRowUnheld(const CSetTable<Item>& table, const CWords& args) {
    const SSetRow<Item>* row = args.empty() ? nullptr : table.Find(args[0].text);
    return row && (row->options & SET_UNHELD);
}

inline CShellItem* AsItem(void* object) {
    return static_cast<CShellItem*>(object);
}
