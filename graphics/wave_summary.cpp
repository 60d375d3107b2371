#include "graphics/wave_summary.h"

#include <algorithm>

void CWaveSummary::Clear() {
    m_fine.clear();
    m_coarse.clear();
    m_openFine = {};
    m_openCoarse = {};
    m_samples = 0;
}

void CWaveSummary::Add(const float* s, long long n) {
    while (n > 0) {
        // Up to the end of the fine block that is filling.
        const long long room = kFine - m_samples % kFine;
        const long long take = std::min(room, n);
        const SExtremes e = ExtremesOf(s, take);
        m_openFine.Merge(e);
        m_openCoarse.Merge(e);
        m_samples += take;
        s += take;
        n -= take;
        if (m_samples % kFine == 0) {
            m_fine.push_back(m_openFine.lo);
            m_fine.push_back(m_openFine.hi);
            m_openFine = {};
        }
        if (m_samples % kCoarse == 0) {
            m_coarse.push_back(m_openCoarse.lo);
            m_coarse.push_back(m_openCoarse.hi);
            m_openCoarse = {};
        }
    }
}

SExtremes CWaveSummary::Fine(long long a, long long b) const {
    return ExtremesOfPairs(m_fine.data() + 2 * (a / kFine), (b - a) / kFine);
}

SExtremes CWaveSummary::Coarse(long long a, long long b) const {
    return ExtremesOfPairs(m_coarse.data() + 2 * (a / kCoarse), (b - a) / kCoarse);
}

SExtremes CWaveSummary::Raw(long long a, long long b, const RawReader& raw) const {
    if (b <= a) return {};
    m_scratch.resize(static_cast<size_t>(b - a));
    const long long n = raw(a, b - a, m_scratch.data());
    return ExtremesOf(m_scratch.data(), std::max(0LL, n));
}

SExtremes CWaveSummary::Extremes(long long a, long long b, const RawReader& raw) const {
    b = std::min(b, m_samples);
    if (b <= a) return {};
    // Whole fine blocks inside [a, b); only complete blocks have pairs.
    const long long fineEnd = std::min(b / kFine * kFine, static_cast<long long>(FinePairs()) * kFine);
    const long long f1 = (a + kFine - 1) / kFine * kFine;
    if (f1 >= fineEnd) return Raw(a, b, raw);
    SExtremes e = Raw(a, f1, raw);
    e.Merge(Raw(fineEnd, b, raw));
    const long long coarseEnd =
        std::min(fineEnd / kCoarse * kCoarse, static_cast<long long>(CoarsePairs()) * kCoarse);
    const long long c1 = (f1 + kCoarse - 1) / kCoarse * kCoarse;
    if (c1 >= coarseEnd) {
        e.Merge(Fine(f1, fineEnd));
        return e;
    }
    e.Merge(Fine(f1, c1));
    e.Merge(Fine(coarseEnd, fineEnd));
    e.Merge(Coarse(c1, coarseEnd));
    return e;
}
