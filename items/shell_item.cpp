#include "items/shell_item.h"

#include <chrono>

#include "expr/numeric_args.h"
#include "shell/options.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

std::atomic<bool> CShellItem::s_bInternalReports{true};

// CItemGate -------------------------------------------------------------------

void CItemGate::Take() {
    std::unique_lock<std::mutex> lock(m_lock);
    m_opened.wait(lock, [this] { return !m_taken; });
    m_taken = true;
}

bool CItemGate::TakeFor(int milliseconds) {
    if (milliseconds < 0) {
        Take();
        return true;
    }
    std::unique_lock<std::mutex> lock(m_lock);
    if (!m_opened.wait_for(lock, std::chrono::milliseconds(milliseconds), [this] { return !m_taken; }))
        return false;
    m_taken = true;
    return true;
}

void CItemGate::Give() {
    {
        std::lock_guard<std::mutex> lock(m_lock);
        m_taken = false;
    }
    m_opened.notify_one();
}

// CShellItem -------------------------------------------------------------------

CShellItem::CShellItem(CShellEnv* env) : m_pShell(env) {}

void CShellItem::ShellDying(CShellEnv*) {
    CItemSection hold(m_cs);
    m_pShell = nullptr;
}

CShellItem::~CShellItem() {
    CheckDecomposing();
}

void CShellItem::CheckDecomposing() {
    if (!s_bInternalReports.load()) return;
    if (m_nShare != 0)
        ReportInternal(Format(L"Internal error: CShellItem %s decomposing with m_nShare=%d (should be 0). "
                              L"Answering \"No\" will suppress future runtime error reporting.",
                              GetDescription().c_str(), m_nShare));
    if (m_pOwner)
        ReportInternal(Format(L"Internal error: CShellItem %s decomposing while locked (owner is %p). "
                              L"Answering \"No\" will suppress future runtime error reporting.",
                              GetDescription().c_str(), static_cast<const void*>(m_pOwner)));
}

void CShellItem::ReportInternal(const Text& text) {
    if (m_pShell) m_pShell->Log(text, ELogKind::FAULT);
}

bool CShellItem::Lock(const CShell* owner, bool save) {
    {
        CItemSection hold(m_cs);
        if (m_pOwner == owner) return true;
    }
    m_mutex.Take();
    CItemSection hold(m_cs);
    m_pOwner = owner;
    if (save) SaveState();
    return false;
}

void CShellItem::Unlock(bool keepSaved) {
    if (keepSaved) return;
    CItemSection hold(m_cs);
    if (!m_pOwner) return;
    RestoreState();
    m_pOwner = nullptr;
    m_mutex.Give();
}

bool CShellItem::LockIfFree(const CShell* owner, bool& wasOwner, int milliseconds, bool save) {
    wasOwner = false;
    CItemSection hold(m_cs); // held through the wait: the timeout is meant to be short
    if (m_pOwner == owner) {
        wasOwner = true;
        return true;
    }
    if (m_pOwner) return false;
    if (!m_mutex.TakeFor(milliseconds)) return false;
    m_pOwner = owner;
    if (save) SaveState();
    return true;
}

bool CShellItem::TryLock(const CShell* owner, int milliseconds, bool save) {
    bool wasOwner = false;
    return LockIfFree(owner, wasOwner, milliseconds, save) && !wasOwner;
}

Text CShellItem::GetDescription() {
    Text out;
    Describe(out);
    return out;
}

void CShellItem::Describe(Text& out) {
    out = Format(L"unknown item at %p, usage count %d", static_cast<void*>(this), m_nShare);
}

void CShellItem::AddRef() {
    CItemSection hold(m_cs);
    ++m_nShare;
}

bool CShellItem::Release() {
    {
        CItemSection hold(m_cs);
        if (--m_nShare > 0) return false;
        m_nShare = 0;
        m_pOwner = nullptr;
    }
    delete this;
    return true;
}

int CShellItem::Share() const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return m_nShare;
}

const CShell* CShellItem::Owner() const {
    auto& cs = const_cast<std::recursive_mutex&>(m_cs);
    CItemSection hold(cs);
    return m_pOwner;
}

// CShellItemKind --------------------------------------------------------------------

bool CShellItemKind::AddRef(void* object) {
    AsItem(object)->AddRef();
    return true;
}

void CShellItemKind::Release(void* object) {
    AsItem(object)->Release();
}

int CShellItemKind::Lock(CShell& shell, CShellItem& item, const COptions& options, bool instance) {
    if (!item.Lock(&shell, HasOption(options, L"S"))) return 0;
    return instance ? RC_COMMAND_ERROR : Silent(RC_ALREADY_OWNER, HasOption(options, L"s"));
}

int CShellItemKind::Unlock(CShell& shell, CShellItem& item, const COptions& options, bool instance) {
    const bool wasOwner = item.Lock(&shell, false);
    item.Unlock(false);
    if (wasOwner) return 0;
    return instance ? RC_COMMAND_ERROR : Silent(RC_NOT_OWNER, HasOption(options, L"s"));
}

int CShellItemKind::TryLock(CShell& shell, CShellItem& item, const CWords& args, const COptions& options) {
    const bool quiet = HasOption(options, L"s");
    long long timeout = 1;
    if (!args.empty() && !EvalInteger(args[0].text, timeout)) timeout = 1;
    bool wasOwner = false;
    if (!item.LockIfFree(&shell, wasOwner, static_cast<int>(timeout), HasOption(options, L"S")))
        return Silent(RC_LOCKED_BY_OTHER, quiet);
    return wasOwner ? Silent(RC_ALREADY_OWNER, quiet) : 0;
}

int CShellItemKind::Set(CShell& shell, void* object, const Text& name, CWords& args, COptions& options,
                        Text& result) {
    CShellItem& item = *AsItem(object);
    // The lock words in full are every item's, whether its kind lists them or not.
    if (!args.empty() && args[0].kind == SWord::Plain) {
        const Text& word = args[0].text;
        const bool instance = Kind() == KIND_INSTANCE;
        int code = -1;
        if (EqualNoCase(word, L"LOCK")) {
            code = Lock(shell, item, options, instance);
        } else if (EqualNoCase(word, L"UNLOCK")) {
            code = Unlock(shell, item, options, instance);
        } else if (EqualNoCase(word, L"TRYLOCK")) {
            const CWords rest(args.begin() + 1, args.end());
            code = TryLock(shell, item, rest, options);
        }
        if (code >= 0) {
            result = IntText(code);
            return code;
        }
    }
    if (!m_lockEachSet || !HoldsFor(args)) return SetItem(shell, item, name, args, options, result);
    const bool wasOwner = item.Lock(&shell, false);
    const int code = SetItem(shell, item, name, args, options, result);
    item.Unlock(wasOwner);
    return code;
}
