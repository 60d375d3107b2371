// A store of text variables: case-insensitive names, text values, and the
// rule of the language that an empty value and a missing variable are one.
#pragma once

#include <mutex>

#include "base/name_list.h"

class CVariableMap {
public:
    // An empty name does nothing; an empty value removes the entry.
    void Set(TextView name, TextView value);
    // The value, or the empty text.
    Text Get(TextView name) const;
    // True when the variable exists; `out` receives its value (or is cleared).
    bool Get(TextView name, Text& out) const;
    bool Has(TextView name) const;
    void Remove(TextView name);
    void Clear();
    size_t Count() const;

private:
    mutable std::mutex m_lock;
    CNameMap<Text> m_map;
};
