#include "graphics/event_sink.h"

#include "shell/shell.h"

void CEventSink::Set(CShell* shell, void* source) {
    std::lock_guard hold(m_lock);
    m_pShell = shell;
    m_source = source;
}

void CEventSink::Clear() {
    std::lock_guard hold(m_lock);
    m_pShell = nullptr;
}

bool CEventSink::HasShell() const {
    std::lock_guard hold(m_lock);
    return m_pShell != nullptr;
}

bool CEventSink::Post(uint32_t code, intptr_t param, std::unique_ptr<SPayload> payload) const {
    std::lock_guard hold(m_lock);
    return m_pShell && m_pShell->Post(m_source, code, param, std::move(payload));
}

bool CEventSink::PostFiles(const std::vector<Text>& paths) const {
    std::lock_guard hold(m_lock);
    if (!m_pShell) return false;
    bool all = true;
    for (const Text& path : paths) all = m_pShell->PostDroppedFiles({path}, m_source) && all;
    return all;
}
