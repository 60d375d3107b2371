// CWaveDataSet: the samples of a signal, kept for drawing as two column
// arrays (min and max) as wide as the plot. Cache 0 holds every sample, cache 1
// one min/max pair for each input block; besides them the set builds the
// multi-resolution summary, from which any view of a long file is recomputed
// with the same result as reading cache 0, at a small part of the work.
#pragma once

#include <atomic>
#include <memory>

#include "graphics/data_set.h"
#include "graphics/wave_reduction.h"
#include "graphics/wave_summary.h"

class CWaveDataSet : public CDataSet {
public:
    CWaveDataSet();
    int Type() const override { return 3; }
    long long Points() const override;
    void Reset() override;
    void Complete() override;
    Text CacheError() const override;

    // A new run: the samples expected (0 when unknown), the input's block length,
    // the rate (X runs in seconds from `start`), and the columns to start with.
    void Prepare(long long total, long long blockSize, double rate, double start, int columns);
    void SetRolling(bool rolling);
    bool Rolling() const;
    // One block as it arrives (the reduction of the whole range goes on live).
    void AddBlock(const float* samples, long long n);
    void AddBlock(const double* samples, long long n);
    // A producer's block: the samples of a vector, or one sample.
    bool TakeBlock(int type, const double* values, size_t n) override;

    // Column 0 as samples, one a unit of X.
    void TakeTable(const Matrix& values, const std::vector<double>& x) override;

    int Columns() const;
    double Rate() const;
    double Start() const;
    long long BlockSize() const;
    long long Cache1Pairs() const;
    // Whether the columns no longer fit a width and a view (X in seconds).
    bool NeedsRecalculation(int columns, double viewLow, double viewHigh) const;
    // A measure of the reads a recalculation would do (for running it on a worker).
    long long RecalculationWork(int columns, double viewLow, double viewHigh) const;
    // Recomputes the columns from the caches for a width and a view. Without the
    // summaries it reads cache 0 (or cache 1 for the whole range) as it stands;
    // with them the result is the same. Runs on any thread; `cancel` stops it.
    // False when it did not finish (cancelled, or the run changed meanwhile).
    bool Recalculate(int columns, double viewLow, double viewHigh, bool useSummary = true,
                     const std::atomic<bool>* cancel = nullptr);

    // The filled columns, oldest first; answers how many.
    int CopyColumns(std::vector<float>& lo, std::vector<float>& hi) const;

private:
    // One run of data: caches and summary. A finished run no longer changes, so a
    // recalculation reads it without the lock.
    struct SRun {
        std::unique_ptr<CDSFile> cache0; // every sample
        std::unique_ptr<CDSFile> cache1; // a pair per input block
        CWaveSummary summary;
        long long total = 0;
        long long samples = 0;
        long long blockSize = 4096;
        double rate = 1;
        double start = 0;
        bool complete = false;
    };
    void AddLocked(const float* samples, long long n);
    // The items [first, end) of the view, in samples of the run.
    static void ViewSamples(const SRun& run, double viewLow, double viewHigh, long long& first,
                            long long& end);
    bool IsWholeView(const SRun& run, double viewLow, double viewHigh) const;
    void RestartLiveLocked();

    std::shared_ptr<SRun> m_run;
    unsigned m_generation = 0;
    CColumnRing m_ring;
    SReduction m_live;
    bool m_liveReduction = true;
    bool m_stale = false;                 // the columns miss part of the data
    double m_viewLow = 0, m_viewHigh = 0; // the view the columns show; both 0 for the whole range
    std::vector<float> m_scratch;
};
