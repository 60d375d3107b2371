// What the shell itself needs to know of a macro frame: its locals, its
// instance and its parent. The macro layer derives its CMacroFrame from this.
#pragma once

#include <memory>

#include "shell/variable_map.h"

class CFrameBase {
public:
    // `sharedLocals` non-null: the frame shares its caller's store (MACROX, GOSUBX).
    explicit CFrameBase(CFrameBase* parent, CVariableMap* sharedLocals = nullptr)
        : m_pParent(parent), m_pLocals(sharedLocals ? sharedLocals : &m_ownLocals) {}
    virtual ~CFrameBase() = default;
    CFrameBase(const CFrameBase&) = delete;
    CFrameBase& operator=(const CFrameBase&) = delete;

    CFrameBase* Parent() const { return m_pParent; }
    CVariableMap& Locals() { return *m_pLocals; }
    // The instance object (an item of kind INSTANCE) whose method runs here, or null.
    void* Instance() const { return m_pInstance; }
    void SetInstance(void* instance) { m_pInstance = instance; }

private:
    CFrameBase* m_pParent;
    CVariableMap m_ownLocals;
    CVariableMap* m_pLocals;
    void* m_pInstance = nullptr;
};
