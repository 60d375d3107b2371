#include "macro/classes.h"

#include <iterator>
#include <mutex>

#include "base/subcommand_table.h"
#include "macro/execution.h"
#include "shell/rc_codes.h"
#include "shell/shell.h"
#include "shell/shell_env.h"

CShellInstance::CShellInstance(CShellEnv* env, CMacroCode* cls, Text shellId)
    : CShellItem(env), m_pClass(cls), m_pMembers(std::make_unique<CVariableMap>()),
      m_shellId(std::move(shellId)) {
    m_pClass->Use();
}

CShellInstance::~CShellInstance() {
    m_pClass->Unuse();
}

void CShellInstance::Describe(Text& out) {
    out = Format(L"CShellInstance %p for shell %p, class %p, table %p, usage count %d",
                 static_cast<void*>(this), static_cast<void*>(m_pShell), static_cast<void*>(m_pClass),
                 static_cast<void*>(m_pMembers.get()), m_nShare);
}

namespace {

bool DerivesFrom(const CMacroCode* cls, const CMacroCode* base) {
    for (; cls; cls = cls->m_pParent)
        if (cls == base) return true;
    return false;
}

// The running frame's instance, or null.
CShellInstance* CallerInstance(CShell& shell) {
    return shell.m_pFrame && shell.m_pFrame->Instance() ? AsInstance(shell.m_pFrame->Instance()) : nullptr;
}

// The class whose code runs in the current frame, when the frame runs a class.
CMacroCode* RunningClass(CShell& shell) {
    auto* frame = dynamic_cast<CMacroFrame*>(shell.m_pFrame);
    return frame && frame->m_pCode->m_bClass ? frame->m_pCode : nullptr;
}

} // namespace

bool HasMethod(void* instance, TextView name) {
    for (CMacroCode* cls = AsInstance(instance)->m_pClass; cls; cls = cls->m_pParent)
        if (cls->m_methods.Find(name)) return true;
    return false;
}

int CallMethod(CShell& shell, CWords& words, void* instanceObject, bool wantResult, Text& result) {
    CShellInstance* caller = CallerInstance(shell);
    CShellInstance* instance = instanceObject ? AsInstance(instanceObject) : caller;
    if (!instance) return RC_COMMAND_ERROR;
    if (words.empty()) return RC_TOO_FEW_ARGUMENTS;
    Text method = words[0].text;
    CMacroCode* start = instance->m_pClass;
    if (const size_t colons = method.find(L"::"); colons != Text::npos) {
        const Text className = method.substr(0, colons);
        method.erase(0, colons + 2);
        if (method.empty()) return RC_MEMBER_NAME_EXPECTED;
        if (className.empty()) {
            CMacroCode* running = RunningClass(shell);
            start = running ? running->m_pParent : nullptr;
            if (!start) return RC_NO_SUCH_CLASS;
        } else {
            std::lock_guard lock(shell.Env().Lock());
            auto* named = dynamic_cast<CMacroCode*>(shell.Env().FindMacro(className));
            if (!named || !named->m_bClass || !DerivesFrom(instance->m_pClass, named))
                return RC_NO_SUCH_CLASS;
            start = named;
        }
    }
    // Private methods are open to the same instance only, protected ones to instances of
    // derived classes; the check is by instance, not by class.
    int allowed = caller == instance ? ACCESS_PRIVATE : ACCESS_PUBLIC;
    for (CMacroCode* cls = start; cls; cls = cls->m_pParent) {
        if (allowed == ACCESS_PUBLIC && caller && DerivesFrom(caller->m_pClass, cls))
            allowed = ACCESS_PROTECTED;
        auto* e = cls->m_methods.Find(method);
        if (!e || e->value.access > allowed) continue;
        const CShell::ItemEntry* entry = shell.FindItemByObject(static_cast<CShellItem*>(instance));
        return StartMethodFrame(shell, cls, e->value.line, static_cast<CShellItem*>(instance),
                                entry ? entry->key : Text(), words, wantResult, result);
    }
    return RC_NO_SUCH_METHOD;
}

namespace {

constexpr const wchar_t* kAccessWords[] = {L"", L"public", L"protected", L"private"};

Text Member(CShellInstance& instance, TextView name) {
    if (!name.empty() && name[0] == L'&') name.remove_prefix(1);
    Text out;
    instance.m_pMembers->Get(name, out);
    return out;
}

// What i[key second] reads.
struct SInstanceQuery {
    CShellInstance& instance;
    const CMacroCode* cls;
    const CMacroCode* root; // the class the line of parents starts from
    TextView second;        // the word after the key, empty when none
    bool hasSecond;
};
using InstanceStatusHandler = Text (*)(SInstanceQuery& q);

// BASE: the root class; with a class name 1 when the instance derives from it.
Text InstanceBase(SInstanceQuery& q) {
    if (!q.hasSecond) return q.root->m_name;
    for (const CMacroCode* c = q.cls; c; c = c->m_pParent)
        if (EqualNoCase(c->m_name, q.second)) return L"1";
    return L"0";
}

// MEMBER method: its access word, from the class or a parent.
Text InstanceMemberAccess(SInstanceQuery& q) {
    for (const CMacroCode* c = q.cls; c; c = c->m_pParent)
        if (auto* e = c->m_methods.Find(q.second)) return kAccessWords[e->value.access];
    return {};
}

constexpr SSubcommand<InstanceStatusHandler> kInstanceStatus[] = {
    {L"CLASS", [](SInstanceQuery& q) { return q.cls->m_name; }},
    {L"PARENT", [](SInstanceQuery& q) { return q.cls->m_pParent ? q.cls->m_pParent->m_name : Text(); }},
    {L"VARIABLE", [](SInstanceQuery& q) { return Member(q.instance, q.second); }},
    {L"SHELL", [](SInstanceQuery& q) { return q.instance.m_shellId; }},
    {L"BASE", InstanceBase},
    {L"USERS", [](SInstanceQuery& q) { return IntText(q.instance.Share()); }},
    {L"MEMBER", InstanceMemberAccess},
};
const CSubcommandTable<InstanceStatusHandler> g_instanceStatus(L"INSTANCE STATUS", kInstanceStatus);

// SET i: an instance has the lock words only (its methods were tried before the
// kind is asked); LOCK and UNLOCK answer 7 where other items name the owner state.
using SInstanceSet = SSetCall<CShellItem>;
int InstanceLock(SInstanceSet& c) {
    const int code = CShellItemKind::Lock(c.shell, c.item, c.options, true);
    c.result = IntText(code);
    return code;
}
int InstanceUnlock(SInstanceSet& c) {
    const int code = CShellItemKind::Unlock(c.shell, c.item, c.options, true);
    c.result = IntText(code);
    return code;
}
constexpr SSetRow<CShellItem> kInstanceRows[] = {
    {L"LOCK", InstanceLock, 0, SET_UNHELD},
    {L"UNLOCK", InstanceUnlock, 0, SET_UNHELD},
    kSetTryLockRow<CShellItem>,
};
CSetTable<CShellItem> g_instanceSet(L"INSTANCE", kInstanceRows);

class CInstanceKind : public CShellItemKind {
public:
    CInstanceKind() : CShellItemKind(KIND_INSTANCE, L"INSTANCE", L"I", false) {}

    int Create(CShell& shell, const Text&, CWords& args, COptions&, void*& object) override {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        CMacroCode* cls = nullptr;
        {
            std::lock_guard lock(shell.Env().Lock());
            cls = dynamic_cast<CMacroCode*>(shell.Env().FindMacro(args[0].text));
            if (!cls || !cls->m_bClass) return RC_BAD_ARG3;
            object = static_cast<CShellItem*>(new CShellInstance(&shell.Env(), cls, shell.IdText()));
        }
        return 0;
    }

    CVariableMap* Members(void* object) override { return AsInstance(object)->m_pMembers.get(); }

    int Status(CShell&, void* object, const std::vector<Text>& args, Text& out) override {
        CShellInstance& instance = *AsInstance(object);
        const CMacroCode* cls = instance.m_pClass;
        const CMacroCode* root = cls;
        while (root->m_pParent) root = root->m_pParent;
        out.clear();
        if (args.empty()) {
            out = Format(L"class=%s, shell=%s, users=%d", cls->m_name.c_str(), instance.m_shellId.c_str(),
                         instance.Share());
            if (cls->m_pParent)
                out += Format(L", parent=%s, base=%s", cls->m_pParent->m_name.c_str(), root->m_name.c_str());
            return 0;
        }
        TextView word = args[0];
        const bool marked = !word.empty() && word[0] == L'!';
        if (marked) word.remove_prefix(1);
        // Only a word marked with '!' may be a number for a key.
        const auto* key = g_instanceStatus.Find(word);
        if (!key && marked) key = g_instanceStatus.Find(word, true);
        if (!key) {
            out = Member(instance, args[0]);
            return 0;
        }
        SInstanceQuery query{instance, cls, root, args.size() > 1 ? TextView(args[1]) : TextView(),
                             args.size() > 1};
        out = key->handler(query);
        return 0;
    }

    int AssignElement(CShell&, void* object, TextView args, TextView value) override {
        Text name = Trim(args);
        if (!name.empty() && name[0] == L'&') name.erase(0, 1);
        if (name.empty()) return RC_BAD_TABLE_INDEX;
        AsInstance(object)->m_pMembers->Set(name, value);
        return 0;
    }

protected:
    int SetItem(CShell& shell, CShellItem& item, const Text&, CWords& args, COptions& options,
                Text& result) override {
        if (args.empty()) return RC_TOO_FEW_ARGUMENTS;
        const SSetRow<CShellItem>* row = g_instanceSet.Find(args[0].text);
        if (!row) return RC_BAD_ARG2;
        CWords rest(args.begin() + 1, args.end());
        SInstanceSet call{shell, item, rest, options, result, row->keyword, false};
        return row->handler(call);
    }
};

} // namespace

void RegisterClasses() {
    static CInstanceKind kind;
    CItemKindRegistry::Register(&kind);
    CSubcommandRegistry::Register(g_instanceSet);
}
