// The multi-resolution summary of a signal: one min/max pair for every 256
// samples and one for every 65,536, built while the samples arrive. The
// extremes of any run of samples then come from the coarsest pairs that lie
// wholly inside it, and raw samples only at its two ends: the same extremes
// as reading every sample, at a small part of the work.
#pragma once

#include <functional>
#include <vector>

#include "graphics/wave_reduction.h"

class CWaveSummary {
public:
    static constexpr long long kFine = 256;
    static constexpr long long kCoarse = 65536;
    static_assert(kCoarse % kFine == 0);

    void Clear();
    // Appends samples in order.
    void Add(const float* samples, long long n);
    long long Samples() const { return m_samples; }
    size_t FinePairs() const { return m_fine.size() / 2; }
    size_t CoarsePairs() const { return m_coarse.size() / 2; }

    // Reads raw samples [first, first + n) into `out`; answers the count read.
    using RawReader = std::function<long long(long long first, long long n, float* out)>;
    // The extremes of samples [a, b) (b not beyond the samples added).
    SExtremes Extremes(long long a, long long b, const RawReader& raw) const;

private:
    SExtremes Fine(long long a, long long b) const;   // a, b on fine boundaries
    SExtremes Coarse(long long a, long long b) const; // a, b on coarse boundaries
    SExtremes Raw(long long a, long long b, const RawReader& raw) const;

    std::vector<float> m_fine, m_coarse; // pairs lo, hi of whole blocks
    SExtremes m_openFine, m_openCoarse;  // the block that is still filling
    long long m_samples = 0;
    mutable std::vector<float> m_scratch;
};
