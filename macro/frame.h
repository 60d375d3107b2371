// CMacroFrame: one active macro call on a shell's stack.
#pragma once

#include <memory>

#include "macro/code.h"
#include "shell/frame.h"
#include "shell/words.h"

class CMacroFrame : public CFrameBase {
public:
    // The frame holds a use of the code, so running code is never replaced or unloaded.
    CMacroFrame(CMacroCode* code, CFrameBase* parent, CVariableMap* sharedLocals)
        : CFrameBase(parent, sharedLocals), m_pCode(code) {
        m_pCode->Use();
    }
    ~CMacroFrame() override { m_pCode->Unuse(); }

    // The next line to run: the pending line first. When the last line has
    // been handed out, one more fetch hands out the last line again (the
    // closing EXIT, harmless twice) and ends the frame; after that, null.
    CCodeLine* Fetch() {
        if (m_bPending) {
            m_bPending = false;
            return m_pendingLine.get();
        }
        if (m_next < 0) return nullptr;
        if (m_next >= m_pCode->LineCount()) {
            m_next = -1;
            return m_pCode->LineCount() ? m_pCode->m_lines.back().get() : nullptr;
        }
        CCodeLine* line = m_pCode->m_lines[static_cast<size_t>(m_next++)].get();
        m_current = line->sourceLine;
        return line;
    }

    CMacroCode* m_pCode;
    int m_next = 0;
    int m_current = 0;
    bool m_bPending = false;
    std::unique_ptr<CCodeLine> m_pendingLine;
    CWords m_argv;
};
