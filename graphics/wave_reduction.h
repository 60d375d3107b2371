// The reduction of a long signal to two column arrays, min and max, of as many
// entries as the plot is wide. Blocks arrive one after the other; a running
// fraction decides where a column ends, and the extremes of samples that reach
// no column boundary are carried to the next column. The arithmetic of the
// boundaries is in one place (Walk), so that the direct reduction and the one
// computed from the summaries find exactly the same columns.
#pragma once

#include <cfloat>
#include <cmath>
#include <vector>

struct SExtremes {
    float lo = FLT_MAX;
    float hi = -FLT_MAX;
    bool Empty() const { return lo > hi; }
    void Merge(float l, float h) {
        if (l < lo) lo = l;
        if (h > hi) hi = h;
    }
    void Merge(const SExtremes& e) { Merge(e.lo, e.hi); }
};

// Extremes of raw samples (lo = hi = sample) and of pairs (lo, hi interleaved).
SExtremes ExtremesOf(const float* samples, long long n);
SExtremes ExtremesOfPairs(const float* pairs, long long n);

// The ring of columns. With rolling, an append past the end wraps around and
// overwrites the oldest column; without, appends past the last column are dropped.
class CColumnRing {
public:
    void Resize(int columns);
    void Clear();
    void Append(float lo, float hi);
    int Columns() const { return static_cast<int>(m_lo.size()); }
    int Count() const { return m_count; }
    bool m_rolling = false;
    // The filled columns, oldest first.
    void CopyOrdered(std::vector<float>& lo, std::vector<float>& hi) const;

private:
    std::vector<float> m_lo, m_hi;
    int m_next = 0;
    int m_count = 0;
};

// The running state of one reduction: c columns, t items in the part shown,
// the running fraction and the carry.
struct SReduction {
    int c = 0;
    double t = 0;
    double f = 0;
    SExtremes carry;

    void Restart(int columns, double items) {
        c = columns;
        t = items;
        f = 0;
        carry = {};
    }
    bool FewerItemsThanColumns() const { return c >= t; }

    // The boundaries of one block of n items (more items than columns). For each
    // column that ends in the block, emit(begin, end, withCarry) names the items
    // [begin, end) of the block that belong to it; the first such column also
    // takes the carry. Answers where the new carry begins: n when none is left,
    // -1 when the block reaches no boundary at all (the whole block is carried).
    template <class Emit> long long Walk(long long n, Emit&& emit) {
        const double k = double(c) * double(n) / t;
        f += k;
        if (f < 0.5) return -1;
        const double f0 = f - k;
        const double perColumn = double(n) / k;
        long long end = Round((0.5 - f0) * perColumn + 0.5);
        end = end < 0 ? 0 : end > n ? n : end;
        emit(0, end, true);
        f -= 1;
        long long last = end;
        for (long long j = 0; f >= 0.5; ++j) {
            end = Round((1.5 + double(j) - f0) * perColumn + 0.5);
            end = end < last ? last : end > n ? n : end;
            emit(last, end, false);
            f -= 1;
            last = end;
        }
        return last;
    }

    // The index of item i of a block of n when there are fewer items than columns,
    // for each column this block adds; calls take(index) once a column.
    template <class Take> void Spread(long long n, Take&& take) const {
        const double k = double(c) * double(n) / t;
        for (long long i = 0; double(i) < k; ++i) {
            long long index = Round(double(i) * double(n) / k);
            take(index >= n ? n - 1 : index);
        }
    }

    static long long Round(double v) { return static_cast<long long>(std::floor(v + 0.5)); }
};

// One block of raw samples (or of min/max pairs when `pairs`) through the
// reduction into the ring.
void ReduceBlock(SReduction& r, CColumnRing& ring, const float* items, long long n, bool pairs);
