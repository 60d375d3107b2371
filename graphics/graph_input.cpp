#include "graphics/graph_input.h"

#include <algorithm>

#include "graphics/data_set.h"

void CSPIn::Bind(std::shared_ptr<CDataSet> data) {
    std::lock_guard hold(m_lock);
    if (data && std::find(m_data.begin(), m_data.end(), data) == m_data.end())
        m_data.push_back(std::move(data));
}

void CSPIn::Unbind(const CDataSet* data) {
    std::lock_guard hold(m_lock);
    std::erase_if(m_data, [data](const std::shared_ptr<CDataSet>& d) { return d.get() == data; });
}

void CSPIn::Disconnect() {
    std::lock_guard hold(m_lock);
    m_data.clear();
    m_changed = nullptr;
}

void CSPIn::Start() {
    std::lock_guard hold(m_lock);
    for (const auto& d : m_data) d->Reset();
    m_blocks = 0;
}

bool CSPIn::Deliver(int type, const double* values, size_t n, const wchar_t** failure) {
    bool ok = true;
    std::lock_guard hold(m_lock);
    for (const auto& d : m_data) ok = d->TakeBlock(type, values, n) && ok;
    ++m_blocks;
    if (!ok && failure) *failure = kUnsupported;
    // Under the lock: the graph cannot go between the test and the post.
    if (!m_pending.exchange(true) && m_changed) m_changed();
    return ok;
}

void CSPIn::End() {
    std::lock_guard hold(m_lock);
    for (const auto& d : m_data) d->Complete();
}
