// Base of loaded code kept by the environment: compiled macros and classes,
// SPU definitions. The macro and SPU layers derive from it.
#pragma once

#include <atomic>

#include "base/text.h"

class CSourceCode {
public:
    virtual ~CSourceCode() = default;
    void Use() { ++m_uses; }
    void Unuse() { --m_uses; }
    // Frames or units that run this code now; unloading refuses active code.
    int Uses() const { return m_uses; }
    // The file the code came from.
    Text m_source;

private:
    std::atomic<int> m_uses{0};
};
