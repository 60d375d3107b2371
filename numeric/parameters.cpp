#include "numeric/parameters.h"

#include <cmath>

namespace numeric {

bool SParameter::Allows(double value) const {
    if (std::isnan(value)) return false;
    if (lowestOpen ? !(value > lowest) : !(value >= lowest)) return false;
    if (value > highest) return false;
    return !integer || value == std::floor(value);
}

CParameters::CParameters(std::span<const SParameter> declared) : m_declared(declared) {
    for (const SParameter& p : declared) m_values.push_back(p.defaultValue);
}

int CParameters::Find(TextView name) const {
    for (size_t i = 0; i < m_declared.size(); ++i)
        if (EqualNoCase(m_declared[i].name, name)) return static_cast<int>(i);
    return -1;
}

bool CParameters::Set(size_t index, double value) {
    if (index >= m_values.size() || !m_declared[index].Allows(value)) return false;
    m_values[index] = value;
    return true;
}

bool CParameters::Set(TextView name, double value) {
    const int index = Find(name);
    return index >= 0 && Set(static_cast<size_t>(index), value);
}

double CParameters::operator[](TextView name) const {
    const int index = Find(name);
    return index >= 0 ? m_values[static_cast<size_t>(index)] : std::numeric_limits<double>::quiet_NaN();
}

} // namespace numeric
