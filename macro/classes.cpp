#include "macro/classes.h"

#include <iterator>
#include <mutex>

#include "base/keyword_table.h"
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

constexpr const wchar_t* kStatusWords[] = {L"CLASS", L"PARENT", L"VARIABLE", L"SHELL",
                                           L"BASE",  L"USERS",  L"MEMBER",   nullptr};
const CKeywordTable kStatusTable(kStatusWords);
constexpr const wchar_t* kAccessWords[] = {L"", L"public", L"protected", L"private"};

Text Member(CShellInstance& instance, TextView name) {
    if (!name.empty() && name[0] == L'&') name.remove_prefix(1);
    Text out;
    instance.m_pMembers->Get(name, out);
    return out;
}

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
        // A member's name wins over an abbreviated keyword unless the word is marked with '!'.
        int key = kStatusTable.Find(word, false);
        if (key < 0 && marked) key = kStatusTable.Find(word, true);
        const TextView second = args.size() > 1 ? TextView(args[1]) : TextView();
        switch (key) {
        case 0:
            out = cls->m_name;
            break;
        case 1:
            out = cls->m_pParent ? cls->m_pParent->m_name : Text();
            break;
        case 2:
            out = Member(instance, second);
            break;
        case 3:
            out = instance.m_shellId;
            break;
        case 4:
            if (args.size() < 2) {
                out = root->m_name;
            } else {
                out = L"0";
                for (const CMacroCode* c = cls; c; c = c->m_pParent)
                    if (EqualNoCase(c->m_name, second)) out = L"1";
            }
            break;
        case 5:
            out = IntText(instance.Share());
            break;
        case 6:
            for (const CMacroCode* c = cls; c; c = c->m_pParent)
                if (auto* e = c->m_methods.Find(second)) {
                    out = kAccessWords[e->value.access];
                    break;
                }
            break;
        default:
            out = Member(instance, args[0]);
            break;
        }
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
    int SetItem(CShell&, CShellItem&, const Text&, CWords& args, COptions&, Text&) override {
        // Methods were tried before the kind is asked; what is left is no lock word.
        return args.empty() ? RC_TOO_FEW_ARGUMENTS : RC_BAD_ARG2;
    }
};

} // namespace

void RegisterClasses() {
    static CInstanceKind kind;
    CItemKindRegistry::Register(&kind);
}
