#include "shell/shell.h"

#include "shell/error_table.h"
#include "shell/message_codes.h"
#include "shell/shell_env.h"

namespace {
// Deep but finite macro recursion runs on the machine stack of the shell's thread.
constexpr size_t kShellStackBytes = size_t{256} << 20;
constexpr auto kDebugKeyWindow = std::chrono::milliseconds(2000);

// Bits of a WHEEL message's low word, in the order the line reports them.
constexpr intptr_t kWheelButtons[] = {0x01 /*left*/, 0x02 /*right*/, 0x04 /*shift*/, 0x08 /*ctrl*/,
                                      0x10 /*middle*/};
} // namespace

CShell::CShell(CShellEnv& env, uint32_t id)
    : m_ticks(std::chrono::steady_clock::now()), m_env(env), m_id(id), m_idText(L"X" + HexText(id, 8)) {}

CShell::~CShell() {
    if (State() < SHELL_ENDING) {
        // The thread may sit in MSG LOOP or wait idle: the EXIT message wakes it.
        m_messages.Post(MSG_EXIT, nullptr, 0);
        SetState(SHELL_ENDING);
    }
    if (m_items.Count())
        m_env.Log(Format(L"Shell %.08X Destruct - Warning: %d shell items are still active!", m_id,
                         static_cast<int>(m_items.Count())),
                  ELogKind::FAULT);
    {
        std::lock_guard lock(m_threadLock);
        if (m_threadAlive) m_resume.Set();
    }
    if (m_threadAlive) m_finished.Wait();
    m_thread.Join();
    {
        std::lock_guard lock(m_threadLock);
        m_threadAlive = false;
    }
    m_messages.Close();
    m_messages.Clear();
    while (auto* e = m_items.Last()) RemoveItem(e);
}

bool CShell::StartThread() {
    std::lock_guard lock(m_threadLock);
    // The thread waits for Resume, so it cannot run before the caller has set up the first frame.
    m_threadAlive = m_thread.Start([this] { ThreadMain(); }, kShellStackBytes);
    return m_threadAlive;
}

void CShell::ThreadMain() {
    m_resume.Wait();
    IMacroRuntime* runtime = CShellEnv::Runtime();
    while (State() != SHELL_ENDING && State() != SHELL_DEAD) {
        const bool idle = runtime ? runtime->RunFrames(*this) : State() == SHELL_RUNNING;
        if (!idle) {
            // MSG LOOP in a line that ran without a frame waits here.
            if (State() == SHELL_WAITING || State() == SHELL_POLLING) WaitMessage();
            continue;
        }
        {
            std::lock_guard lock(m_idleLock);
            ++m_idleCount;
        }
        m_idleChanged.notify_all();
        SMessage message;
        const uint32_t code = NextMessage(true, message);
        if (code == MSG_EXIT || (code == 0 && m_messages.Closed())) {
            SetState(SHELL_ENDING);
        } else if (code == MSG_RUN) {
            if (auto* text = dynamic_cast<STextPayload*>(message.payload.get()); text && runtime)
                runtime->ExecuteText(*this, text->text);
        }
    }
    if (runtime) runtime->UnwindFrames(*this);
    m_level = 0;
    {
        std::lock_guard lock(m_threadLock);
        SetState(SHELL_DEAD);
    }
    m_env.ShellEnded();
    m_finished.Set();
    { std::lock_guard lock(m_idleLock); }
    m_idleChanged.notify_all();
}

uint64_t CShell::IdleCount() const {
    std::lock_guard lock(m_idleLock);
    return m_idleCount;
}

bool CShell::WaitIdleAfter(uint64_t count, int milliseconds) const {
    std::unique_lock lock(m_idleLock);
    auto moved = [&] { return m_idleCount > count || m_finished.IsSet(); };
    if (milliseconds < 0) {
        m_idleChanged.wait(lock, moved);
        return true;
    }
    return m_idleChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), moved);
}

bool CShell::Post(void* source, uint32_t code, intptr_t param, std::unique_ptr<SPayload> payload) {
    std::lock_guard lock(m_threadLock);
    if (State() >= SHELL_ENDING || !m_threadAlive) return false;
    return m_messages.Post(code, source, param, std::move(payload));
}

int CShell::Run(const Text& text, const CShell* sender) {
    if (State() >= SHELL_ENDING) return RC_SHELL_CANCELLED;
    if (text.empty()) return RC_SHELL_BUSY;
    const CShell* from = sender ? sender : this;
    // The sender's id travels as the parameter: a shell may be gone by the time the line is made.
    if (!Post(const_cast<CShell*>(from), MSG_RUN, static_cast<intptr_t>(from->Id()),
              std::make_unique<STextPayload>(text)))
        return RC_SHELL_BUSY;
    return 0;
}

bool CShell::PostDroppedFiles(std::vector<Text> paths, void* target) {
    auto payload = std::make_unique<SLinesPayload>();
    payload->lines = std::move(paths);
    return Post(target, MSG_DROPFILE, 0, std::move(payload));
}

uint32_t CShell::NextMessage(bool block, SMessage& out) {
    while (m_messages.Receive(out, block)) {
        const uint32_t code = out.code;
        if (code < MSG_EXIT || code > MSG_LAST) {
            // Not one of ours: nothing to hand to a macro.
            if (!block) return 0;
            continue;
        }
        if (code == MSG_SYNC || code == MSG_DATA) {
            for (auto* e = m_items.First(); e; e = e->next) {
                if (ItemKindOf(e->user) != KIND_VALUE) continue;
                CItemKind* kind = CItemKindRegistry::Find(KIND_VALUE);
                if (kind && kind->Claim(e->value, out)) {
                    out.source = e->value;
                    break;
                }
            }
        } else if (out.source && (code == MSG_DEVICE_EXIT || code == MSG_DEVICE_STOP ||
                                  code == MSG_DDE_DISCONNECTED || code == MSG_DDE_ADVISEDATA)) {
            if (ItemEntry* e = FindItemByObject(out.source)) {
                const int k = ItemKindOf(e->user);
                const bool told = (code <= MSG_DEVICE_STOP) ? k == KIND_WAVE : k == KIND_DDECONV;
                if (CItemKind* kind = CItemKindRegistry::Find(k); told && kind)
                    kind->Notify(*this, e->value, out);
            }
        }
        return code;
    }
    return 0;
}

void CShell::Pump(bool block) {
    SMessage message;
    if (!NextMessage(block, message)) return;
    Text line;
    if (MessageLine(message, line) && !line.empty()) m_queue.push_back(std::move(line));
}

static const Text* PayloadText(const SMessage& m) {
    auto* p = dynamic_cast<const STextPayload*>(m.payload.get());
    return p ? &p->text : nullptr;
}

bool CShell::MessageLine(SMessage& m, Text& line) {
    const uint32_t code = m.code;
    const wchar_t* name = MessageName(code);
    switch (code) {
    case 0:
        return false;
    case MSG_EXIT:
        SetState(SHELL_ENDING);
        return false;
    case MSG_RUN:
        if (State() >= SHELL_ENDING || !PayloadText(m)) return false;
        line = Format(L"SHELL X%.08lX RUN %s", static_cast<unsigned long>(m.param), PayloadText(m)->c_str());
        return true;
    case MSG_TRACE:
        if (State() >= SHELL_ENDING) return false;
        line = Format(L"SHELL X%.08lX DEBUG", static_cast<unsigned long>(m.param ? m.param : m_id));
        if (const Text* t = PayloadText(m))
            EnterDebugMode(Format(L"Trace-Message \"%s\" received -> enter debug mode", t->c_str()));
        else
            EnterDebugMode(L"Trace-Message \"\" received -> enter debug mode");
        return true;
    default:
        break;
    }

    ItemEntry* source = nullptr;
    if (m.source) {
        source = FindItemByObject(m.source);
        // The source item went away meanwhile: the message has nobody to speak of.
        if (!source) return false;
    }
    const wchar_t* kindWord = source ? CItemKindRegistry::Keyword(ItemKindOf(source->user)) : L"MAIN";
    const wchar_t* itemName = source ? source->key.c_str() : L"MAIN";

    switch (code) {
    case MSG_DROPFILE: {
        CItemKind* tables = CItemKindRegistry::Find(KIND_TABLE);
        auto* lines = dynamic_cast<SLinesPayload*>(m.payload.get());
        void* table = (tables && lines) ? tables->FromLines(lines->lines) : nullptr;
        Text tableName;
        if (!table || !MakeItemName(L"", tableName, KIND_TABLE)) {
            if (table) tables->Release(table);
            m_env.Log(L"DROPFILE: cannot make a table of the dropped files", ELogKind::FAULT);
            return false;
        }
        AddItem(tableName, table, WithItemLevel(static_cast<uint32_t>(KIND_TABLE) | ITEM_TEMPORARY, m_level));
        line = Format(L"%s %s DROPFILE %s", kindWord, itemName, tableName.c_str());
        return true;
    }
    default:
        break;
    }
    if (source) {
        CItemKind* kind = CItemKindRegistry::Find(ItemKindOf(source->user));
        if (kind && kind->MessageLine(*this, source->value, source->key, m, line)) return true;
    }

    if (!source) {
        line = Format(L"MAIN MAIN %s %d", name, static_cast<int>(m.param));
        return true;
    }

    switch (code) {
    case MSG_VALUE:
    case MSG_CELLEDITED:
    case MSG_CELLCANCELLED:
    case MSG_CELLEDITEDBACKTAB:
    case MSG_CELLEDITEDTAB:
    case MSG_DATASETLOADED:
        line =
            Format(L"%s %s %s %s", kindWord, itemName, name, PayloadText(m) ? PayloadText(m)->c_str() : L"");
        return true;
    case MSG_KEY:
        CheckDebugKey(m.param);
        if ((m.param & 0xFFFF) == KEYCODE_ESCAPE)
            line = Format(L"%s %s %s -1", kindWord, itemName, name);
        else
            line = Format(L"%s %s %s %d %s", kindWord, itemName, name, static_cast<int>(m.param),
                          KeyName(m.param).c_str());
        return true;
    case MSG_WHEEL: {
        const auto delta = static_cast<int16_t>((m.param >> 16) & 0xFFFF);
        line = Format(L"%s %s %s %d", kindWord, itemName, name, static_cast<int>(delta));
        for (intptr_t bit : kWheelButtons) line += (m.param & bit) ? L" 1" : L" 0";
        return true;
    }
    case MSG_TBCOMMAND:
    case MSG_TBCHECK:
    case MSG_TBUNCHECK:
        line = Format(L"%s %s %s %d %s", kindWord, itemName, name, static_cast<int>(m.param),
                      PayloadText(m) ? PayloadText(m)->c_str() : L"");
        return true;
    default:
        line = Format(L"%s %s %s %d", kindWord, itemName, name, static_cast<int>(m.param));
        return true;
    }
}

void CShell::CheckDebugKey(intptr_t param) {
    const int key = static_cast<int>(param & 0xFFFF);
    const bool debugKey = (param & KEY_CTRL) && (key == 'B' || key == 'D');
    if (!debugKey) {
        m_keyPresses = 0;
        return;
    }
    // Only a running macro can be interrupted.
    if (!m_pFrame) return;
    const auto now = std::chrono::steady_clock::now();
    if (m_keyPresses > 0 && now <= m_keyDeadline) {
        m_keyPresses = 0;
        EnterDebugMode(L"debug key detected -> enter debug mode");
        return;
    }
    m_keyPresses = 1;
    m_keyDeadline = now + kDebugKeyWindow;
}

void CShell::WaitMessage() {
    if (State() == SHELL_WAITING) {
        while (m_queue.empty() && State() == SHELL_WAITING) Pump(true);
    }
    if (!m_queue.empty()) {
        SetVar(L"#MSG", m_queue.front());
        m_queue.pop_front();
    } else {
        SetVar(L"#MSG", L"");
    }
    if (State() != SHELL_ENDING) SetState(SHELL_RUNNING);
}

void CShell::EnterDebugMode(const Text& reason) {
    // The debugger window arrives with the debugger; until then the reason goes to the log.
    m_env.Log(Format(L"Shell %s: %s", m_idText.c_str(), reason.c_str()));
}

// Variables ------------------------------------------------------------------

static TextView AfterPrefix(TextView name) {
    return name.substr(1);
}

void CShell::SetVar(TextView name, TextView value, bool dereference) {
    Text number;
    if (dereference && !value.empty()) {
        if (ItemEntry* e = FindItem(value, KIND_NUMBER)) {
            CItemKind* kind = CItemKindRegistry::Find(KIND_NUMBER);
            if (kind && kind->NumberText(e->value, number)) value = number;
        }
    }
    if (name.empty()) return;
    if (const size_t dot = name.find(L'.'); dot != TextView::npos) {
        ItemEntry* e = FindItem(name.substr(0, dot), KIND_INSTANCE);
        CItemKind* kind = CItemKindRegistry::Find(KIND_INSTANCE);
        CVariableMap* members = (e && kind) ? kind->Members(e->value) : nullptr;
        if (!members) return;
        TextView member = name.substr(dot + 1);
        if (!member.empty() && member[0] == L'&') member.remove_prefix(1);
        members->Set(member, value);
        return;
    }
    switch (name[0]) {
    case L'@': {
        std::lock_guard lock(m_env.Lock());
        m_env.Globals().Set(AfterPrefix(name), value);
        return;
    }
    case L'#':
        if (m_pFrame) {
            m_pFrame->Locals().Set(AfterPrefix(name), value);
            return;
        }
        break;
    case L'&':
        if (m_pFrame && m_pFrame->Instance()) {
            CItemKind* kind = CItemKindRegistry::Find(KIND_INSTANCE);
            if (CVariableMap* members = kind ? kind->Members(m_pFrame->Instance()) : nullptr) {
                members->Set(AfterPrefix(name), value);
                return;
            }
        }
        break;
    default:
        break;
    }
    m_vars.Set(name, value);
}

bool CShell::GetVar(TextView name, Text& out) const {
    out.clear();
    if (name.empty()) return false;
    if (const size_t dot = name.find(L'.'); dot != TextView::npos) {
        ItemEntry* e = FindItem(name.substr(0, dot), KIND_INSTANCE);
        CItemKind* kind = CItemKindRegistry::Find(KIND_INSTANCE);
        CVariableMap* members = (e && kind) ? kind->Members(e->value) : nullptr;
        if (!members) return false;
        TextView member = name.substr(dot + 1);
        if (!member.empty() && member[0] == L'&') member.remove_prefix(1);
        return members->Get(member, out);
    }
    switch (name[0]) {
    case L'@': {
        std::lock_guard lock(m_env.Lock());
        return m_env.Globals().Get(AfterPrefix(name), out);
    }
    case L'#':
        if (m_pFrame) return m_pFrame->Locals().Get(AfterPrefix(name), out);
        break;
    case L'&':
        if (m_pFrame && m_pFrame->Instance()) {
            CItemKind* kind = CItemKindRegistry::Find(KIND_INSTANCE);
            if (CVariableMap* members = kind ? kind->Members(m_pFrame->Instance()) : nullptr)
                return members->Get(AfterPrefix(name), out);
        }
        break;
    default:
        break;
    }
    return m_vars.Get(name, out);
}

Text CShell::GetVar(TextView name) const {
    Text out;
    GetVar(name, out);
    return out;
}

void CShell::SetResultCode(int code) {
    if (code == 0) {
        m_vars.Set(L"RC", L"0");
        m_vars.Remove(L"EMSG");
        return;
    }
    m_vars.Set(L"RC", IntText(code));
    m_vars.Set(L"EMSG", ErrorText(code));
}

// Items ----------------------------------------------------------------------

CShell::ItemEntry* CShell::FindItem(TextView name, int kind) const {
    ItemEntry* e = m_items.Find(name);
    if (e && kind && ItemKindOf(e->user) != kind) return nullptr;
    return e;
}

void* CShell::ItemObject(TextView name, int kind) const {
    ItemEntry* e = FindItem(name, kind);
    return e ? e->value : nullptr;
}

CShell::ItemEntry* CShell::FindItemByObject(const void* object) const {
    auto it = m_itemByObject.find(object);
    return it == m_itemByObject.end() ? nullptr : it->second;
}

bool CShell::MakeItemName(TextView name, Text& out, int kind) {
    if (!name.empty() && name != L"*") {
        if (m_items.Find(name)) return false;
        out.assign(name);
        return true;
    }
    const Text prefix = CItemKindRegistry::Prefix(kind);
    uint32_t& counter = m_nameCounters[kind & 15];
    // Every attempt counts, so a name freed later is not handed out again soon.
    for (uint64_t tries = 0; tries <= 0xFFFFFFFFull; ++tries) {
        out = prefix + L"#" + HexText(counter++);
        if (!m_items.Find(out)) return true;
    }
    return false;
}

CShell::ItemEntry* CShell::AddItem(TextView name, void* object, uint32_t flags) {
    std::lock_guard lock(m_env.Lock());
    ItemEntry* e = m_items.Add(name, object, flags);
    if (flags & ITEM_TEMPORARY) ++m_temporaryItems;
    // The same object may stand under several names (shares); the first entry answers for it.
    if (object) m_itemByObject.emplace(object, e);
    return e;
}

void CShell::RemoveItem(ItemEntry* entry, bool release) {
    void* object = entry->value;
    const int kind = ItemKindOf(entry->user);
    {
        std::lock_guard lock(m_env.Lock());
        auto it = m_itemByObject.find(object);
        if (it != m_itemByObject.end() && it->second == entry) {
            m_itemByObject.erase(it);
            for (auto* e = m_items.First(); e; e = e->next)
                if (e != entry && e->value == object) {
                    m_itemByObject.emplace(object, e);
                    break;
                }
        }
        if (entry->user & ITEM_TEMPORARY) --m_temporaryItems;
        m_items.Remove(entry);
    }
    if (release && object)
        if (CItemKind* k = CItemKindRegistry::Find(kind)) k->Release(object);
}

void CShell::SetItemFlags(ItemEntry* entry, uint32_t flags) {
    std::lock_guard lock(m_env.Lock());
    if ((entry->user ^ flags) & ITEM_TEMPORARY)
        (flags & ITEM_TEMPORARY) ? ++m_temporaryItems : --m_temporaryItems;
    entry->user = flags;
}
