// Parameters of an algorithm, declared once with their name, range and
// default, so that every caller (an evaluator function, an atom) reads the
// same list and checks values the same way.
//
//   static constexpr SParameter kParameters[] = {
//       {L"minPitch", L"lowest F0 looked for (Hz)", 0, true, kUnbounded, false, 75.0},
//       ...};
//   CParameters values(kParameters);         // the defaults
//   values.Set(L"minPitch", 60);             // false when out of range
//   const double low = values[L"minPitch"];
#pragma once

#include <limits>
#include <span>
#include <vector>

#include "base/text.h"

namespace numeric {

inline constexpr double kUnbounded = std::numeric_limits<double>::infinity();

struct SParameter {
    const wchar_t* name;
    const wchar_t* description;
    double lowest;   // the smallest value allowed
    bool lowestOpen; // true: values must lie above `lowest`
    double highest;  // the largest value allowed (kUnbounded: none)
    bool integer;    // whole numbers only
    double defaultValue;

    bool Allows(double value) const;
};

// The values of a declared list, each at its default until it is set.
class CParameters {
public:
    explicit CParameters(std::span<const SParameter> declared);

    std::span<const SParameter> Declared() const { return m_declared; }
    // The index of a name (exact, ignoring case); -1 when none.
    int Find(TextView name) const;
    // False, and the value unchanged, when the value is out of the declared range.
    bool Set(size_t index, double value);
    bool Set(TextView name, double value);
    double operator[](size_t index) const { return m_values[index]; }
    double operator[](TextView name) const;

private:
    std::span<const SParameter> m_declared;
    std::vector<double> m_values;
};

} // namespace numeric
