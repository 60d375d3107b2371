#include "shell/variable_map.h"

void CVariableMap::Set(TextView name, TextView value) {
    if (name.empty()) return;
    std::lock_guard lock(m_lock);
    auto* e = m_map.Find(name);
    if (value.empty()) {
        if (e) m_map.Remove(e);
    } else if (e) {
        e->value.assign(value);
    } else {
        m_map.Add(name, Text(value));
    }
}

Text CVariableMap::Get(TextView name) const {
    std::lock_guard lock(m_lock);
    const auto* e = m_map.Find(name);
    return e ? e->value : Text();
}

bool CVariableMap::Get(TextView name, Text& out) const {
    std::lock_guard lock(m_lock);
    const auto* e = m_map.Find(name);
    if (!e) {
        out.clear();
        return false;
    }
    out = e->value;
    return true;
}

bool CVariableMap::Has(TextView name) const {
    std::lock_guard lock(m_lock);
    return m_map.Find(name) != nullptr;
}

void CVariableMap::Remove(TextView name) {
    std::lock_guard lock(m_lock);
    if (auto* e = m_map.Find(name)) m_map.Remove(e);
}

void CVariableMap::Clear() {
    std::lock_guard lock(m_lock);
    m_map.Clear();
}

size_t CVariableMap::Count() const {
    std::lock_guard lock(m_lock);
    return m_map.Count();
}

