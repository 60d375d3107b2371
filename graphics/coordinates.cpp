#include "graphics/coordinates.h"

#include <algorithm>
#include <cmath>

void CSPRange::SetRange(double low, double high) {
    if (low != m_low || high != m_high) m_changed = true;
    m_low = low;
    m_high = high;
}

void CSPView::SetRange(double low, double high) {
    const double size = m_viewHigh - m_viewLow;
    const bool whole = IsWhole();
    CSPRange::SetRange(low, high);
    if (whole || size >= high - low || size <= 0) {
        ResetView();
        return;
    }
    double vl = std::clamp(m_viewLow, low, high - size);
    m_viewLow = vl;
    m_viewHigh = vl + size;
}

bool CSPView::SetView(double low, double high) {
    if (!(low < high) || low < m_low || high > m_high) return false;
    if (low != m_viewLow || high != m_viewHigh) m_changed = true;
    m_viewLow = low;
    m_viewHigh = high;
    return true;
}

bool CSPView::SetViewClamped(double low, double high) {
    return SetView(std::max(low, m_low), std::min(high, m_high));
}

void CSPView::ResetView() {
    if (m_viewLow != m_low || m_viewHigh != m_high) m_changed = true;
    m_viewLow = m_low;
    m_viewHigh = m_high;
}

double CSPView::Map(double v, double p, double q) const {
    double a = m_viewLow, b = m_viewHigh;
    if (m_logarithmic && a > 0 && b > 0) {
        a = std::log10(a);
        b = std::log10(b);
        v = v > 0 ? std::log10(v) : a;
    }
    if (b == a) return p;
    if (m_inverted) std::swap(p, q);
    return p + (v - a) / (b - a) * (q - p);
}

double CSPView::Unmap(double pixel, double p, double q) const {
    if (q == p) return m_viewLow;
    if (m_inverted) std::swap(p, q);
    const double share = (pixel - p) / (q - p);
    if (m_logarithmic && m_viewLow > 0 && m_viewHigh > 0) {
        const double a = std::log10(m_viewLow), b = std::log10(m_viewHigh);
        return std::pow(10.0, a + share * (b - a));
    }
    return m_viewLow + share * (m_viewHigh - m_viewLow);
}

bool NiceTicks(double low, double high, STickList& out) {
    out = {};
    constexpr int kDivisions = 5;
    constexpr size_t kMaxTicks = 1000;
    if (!std::isfinite(low) || !std::isfinite(high) || !(high > low)) return false;
    const double s = (high - low) / kDivisions;
    const double e = std::floor(std::log10(s));
    const double power = std::pow(10.0, e);
    const double m = s / power;
    const double mantissa = m < 1.5 ? 1 : m < 3.5 ? 2 : 5;
    const double step = mantissa * power;
    if (!std::isfinite(step) || step <= 0) return false;
    double first = std::floor(low / power) * power;
    if (first < low) first += (std::floor((low - first) / step) + 1) * step;
    out.step = step;
    // A hair of tolerance, so that a tick that lands on `high` by rounding is kept.
    const double end = high + step * 1e-9;
    for (double t = first; t <= end && out.ticks.size() < kMaxTicks;
         t = first + step * static_cast<double>(out.ticks.size()))
        out.ticks.push_back(t);
    return true;
}
