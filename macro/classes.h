// Classes and instances. A class is a macro with named entry points
// (public_, protected_, private_ labels) and a chain of parents; an instance
// is a shared item that owns member variables. A method call is a macro call
// that starts at the method's line with the instance bound to the frame.
#pragma once

#include <memory>

#include "items/shell_item.h"
#include "macro/code.h"
#include "shell/variable_map.h"

class CShellInstance : public CShellItem {
public:
    // Holds a use of the class, so that a class with instances is never replaced.
    CShellInstance(CShellEnv* env, CMacroCode* cls, Text shellId);
    ~CShellInstance() override;
    void Describe(Text& out) override;

    CMacroCode* m_pClass;
    std::unique_ptr<CVariableMap> m_pMembers;
    Text m_shellId;
};

inline CShellInstance* AsInstance(void* object) {
    return static_cast<CShellInstance*>(AsItem(object));
}

// `words[0]` is the method ("name", "cls::name" or "::name"), the rest its
// arguments. `instance` null: the instance of the running frame (7 without).
// Codes 2, 7, 325, 326, 327.
int CallMethod(CShell& shell, CWords& words, void* instance, bool wantResult, Text& result);
// True when the class of `instance` or a parent has a method of that name (any access).
bool HasMethod(void* instance, TextView name);

void RegisterClasses();
