#include "graphics/wave_reduction.h"

#include <algorithm>

SExtremes ExtremesOf(const float* s, long long n) {
    SExtremes e;
    // Two independent running extremes let the compiler keep both in registers.
    float lo = FLT_MAX, hi = -FLT_MAX;
    for (long long i = 0; i < n; ++i) {
        lo = std::min(lo, s[i]);
        hi = std::max(hi, s[i]);
    }
    e.lo = lo;
    e.hi = hi;
    return e;
}

SExtremes ExtremesOfPairs(const float* p, long long n) {
    float lo = FLT_MAX, hi = -FLT_MAX;
    for (long long i = 0; i < n; ++i) {
        lo = std::min(lo, p[2 * i]);
        hi = std::max(hi, p[2 * i + 1]);
    }
    SExtremes e;
    e.lo = lo;
    e.hi = hi;
    return e;
}

void CColumnRing::Resize(int columns) {
    columns = std::max(0, columns);
    if (columns != Columns()) {
        m_lo.assign(static_cast<size_t>(columns), 0.0f);
        m_hi.assign(static_cast<size_t>(columns), 0.0f);
    }
    Clear();
}

void CColumnRing::Clear() {
    m_next = 0;
    m_count = 0;
}

void CColumnRing::Append(float lo, float hi) {
    const int c = Columns();
    if (c == 0) return;
    if (m_next >= c) {
        if (!m_rolling) return;
        m_next = 0;
    }
    m_lo[static_cast<size_t>(m_next)] = lo;
    m_hi[static_cast<size_t>(m_next)] = hi;
    ++m_next;
    m_count = std::min(m_count + 1, c);
}

void CColumnRing::CopyOrdered(std::vector<float>& lo, std::vector<float>& hi) const {
    lo.resize(static_cast<size_t>(m_count));
    hi.resize(static_cast<size_t>(m_count));
    const int c = Columns();
    // A full ring that has wrapped starts at the oldest column, the one to be written next.
    const int first = (m_count == c && m_next < c) ? m_next : 0;
    for (int i = 0; i < m_count; ++i) {
        const size_t at = static_cast<size_t>((first + i) % c);
        lo[static_cast<size_t>(i)] = m_lo[at];
        hi[static_cast<size_t>(i)] = m_hi[at];
    }
}

void ReduceBlock(SReduction& r, CColumnRing& ring, const float* items, long long n, bool pairs) {
    if (n <= 0 || r.c <= 0 || r.t <= 0) return;
    auto extremes = [&](long long begin, long long end) {
        return pairs ? ExtremesOfPairs(items + 2 * begin, end - begin)
                     : ExtremesOf(items + begin, end - begin);
    };
    if (r.FewerItemsThanColumns()) {
        r.Spread(n, [&](long long i) {
            if (pairs)
                ring.Append(items[2 * i], items[2 * i + 1]);
            else
                ring.Append(items[i], items[i]);
        });
        return;
    }
    const long long carryFrom = r.Walk(n, [&](long long begin, long long end, bool withCarry) {
        SExtremes e = extremes(begin, end);
        if (withCarry) {
            e.Merge(r.carry);
            r.carry = {};
        }
        ring.Append(e.lo, e.hi);
    });
    if (carryFrom < 0)
        r.carry.Merge(extremes(0, n));
    else
        r.carry = carryFrom < n ? extremes(carryFrom, n) : SExtremes{};
}
