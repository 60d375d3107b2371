#include "graphics/wave_data_set.h"

#include <algorithm>

#include "numeric/matrix.h"

using Lock = std::lock_guard<std::recursive_mutex>;

namespace {
constexpr int kDefaultColumns = 512;
// A table's samples arrive in blocks of this length, as a file's would.
constexpr long long kTableBlock = 4096;
} // namespace

CWaveDataSet::CWaveDataSet() : m_run(std::make_shared<SRun>()) {
    m_ring.Resize(kDefaultColumns);
}

long long CWaveDataSet::Points() const {
    Lock hold(m_cs);
    return m_run->samples;
}

void CWaveDataSet::Reset() {
    Lock hold(m_cs);
    // A new run with what the last one expected.
    const SRun& last = *m_run;
    Prepare(last.total, last.blockSize, last.rate, last.start, m_ring.Columns());
}

void CWaveDataSet::Prepare(long long total, long long blockSize, double rate, double start, int columns) {
    Lock hold(m_cs);
    CDataSet::Reset();
    auto run = std::make_shared<SRun>();
    run->total = std::max(0LL, total);
    run->blockSize = std::max(1LL, blockSize);
    run->rate = rate > 0 ? rate : 1;
    run->start = start;
    run->cache0 = std::make_unique<CDSFile>(1);
    run->cache1 = std::make_unique<CDSFile>(2);
    m_run = std::move(run);
    ++m_generation;
    m_viewLow = m_viewHigh = 0;
    m_ring.Resize(columns > 0 ? columns : m_ring.Columns());
    const double end = start + double(m_run->total) / m_run->rate;
    m_x.SetRange(start, m_run->total > 0 ? end : start);
    m_x.ResetView();
    RestartLiveLocked();
}

void CWaveDataSet::RestartLiveLocked() {
    m_ring.Clear();
    m_stale = false;
    // The part shown is the whole run; an endless one (nothing expected) shows one sample a column.
    const double items = m_run->total > 0 ? double(m_run->total) : double(std::max(1, m_ring.Columns()));
    m_live.Restart(m_ring.Columns(), items);
    m_liveReduction = true;
    m_changed = true;
}

void CWaveDataSet::SetRolling(bool rolling) {
    Lock hold(m_cs);
    m_ring.m_rolling = rolling;
}

bool CWaveDataSet::Rolling() const {
    Lock hold(m_cs);
    return m_ring.m_rolling;
}

void CWaveDataSet::AddBlock(const double* samples, long long n) {
    Lock hold(m_cs);
    m_scratch.resize(static_cast<size_t>(std::max(0LL, n)));
    for (size_t i = 0; i < m_scratch.size(); ++i) m_scratch[i] = static_cast<float>(samples[i]);
    AddLocked(m_scratch.data(), n);
}

void CWaveDataSet::AddBlock(const float* samples, long long n) {
    Lock hold(m_cs);
    AddLocked(samples, n);
}

bool CWaveDataSet::TakeBlock(int type, const double* values, size_t n) {
    if (type != VALUE_NUMBER && type != VALUE_VECTOR) return false;
    AddBlock(values, static_cast<long long>(type == VALUE_NUMBER ? std::min<size_t>(n, 1) : n));
    return true;
}

void CWaveDataSet::AddLocked(const float* s, long long n) {
    SRun& run = *m_run;
    if (n <= 0) return;
    if (!run.complete) {
        // Count up to the expected total; what comes beyond belongs to no run.
        if (run.total > 0) n = std::min(n, run.total - run.samples);
        if (n <= 0) return;
        if (run.cache0) run.cache0->Write(s, n);
        const SExtremes e = ExtremesOf(s, n);
        const float pair[2] = {e.lo, e.hi};
        if (run.cache1) run.cache1->Write(pair, 1);
        run.summary.Add(s, n);
        run.samples += n;
        const double xEnd = run.start + double(std::max(run.total, run.samples)) / run.rate;
        WidenLocked(run.start, xEnd, e.lo, e.hi);
        if (m_x.IsWhole() || m_x.ViewHigh() <= m_x.Low()) m_x.ResetView();
    }
    if (m_liveReduction) ReduceBlock(m_live, m_ring, s, n, false);
    m_changed = true;
}

void CWaveDataSet::Complete() {
    Lock hold(m_cs);
    m_run->complete = true;
    if (m_run->total <= 0 || m_run->samples < m_run->total) {
        // The run ended early (or was endless): its length is what came.
        m_run->total = m_run->samples;
        m_x.SetRange(m_run->start, m_run->start + double(m_run->samples) / m_run->rate);
    }
    CDataSet::Complete();
}

Text CWaveDataSet::CacheError() const {
    Lock hold(m_cs);
    for (const CDSFile* f : {m_run->cache0.get(), m_run->cache1.get()})
        if (f)
            if (Text e = f->Error(); !e.empty()) return e;
    return Text();
}

void CWaveDataSet::TakeTable(const Matrix& values, const std::vector<double>&) {
    const long long rows = std::max(0, values.Rows());
    Prepare(rows, kTableBlock, 1, 0, Columns());
    for (long long at = 0; at < rows; at += kTableBlock)
        AddBlock(values.Column(0) + at, std::min(kTableBlock, rows - at));
}

int CWaveDataSet::Columns() const {
    Lock hold(m_cs);
    return m_ring.Columns();
}

double CWaveDataSet::Rate() const {
    Lock hold(m_cs);
    return m_run->rate;
}

double CWaveDataSet::Start() const {
    Lock hold(m_cs);
    return m_run->start;
}

long long CWaveDataSet::BlockSize() const {
    Lock hold(m_cs);
    return m_run->blockSize;
}

long long CWaveDataSet::Cache1Pairs() const {
    Lock hold(m_cs);
    return m_run->cache1 ? m_run->cache1->Records() : 0;
}

void CWaveDataSet::ViewSamples(const SRun& run, double viewLow, double viewHigh, long long& first,
                               long long& end) {
    const long long total = run.samples;
    if (viewHigh <= viewLow) {
        first = 0;
        end = total;
        return;
    }
    first = std::clamp(static_cast<long long>(std::floor((viewLow - run.start) * run.rate)), 0LL, total);
    end = std::clamp(static_cast<long long>(std::ceil((viewHigh - run.start) * run.rate)), first, total);
}

bool CWaveDataSet::IsWholeView(const SRun& run, double viewLow, double viewHigh) const {
    long long first = 0, end = 0;
    ViewSamples(run, viewLow, viewHigh, first, end);
    return first == 0 && end == run.samples;
}

bool CWaveDataSet::NeedsRecalculation(int columns, double viewLow, double viewHigh) const {
    Lock hold(m_cs);
    if (columns != m_ring.Columns()) return true;
    if (!m_run->complete) return false;
    if (m_stale) return true;
    const bool wholeNow = IsWholeView(*m_run, viewLow, viewHigh);
    const bool wholeBefore = m_viewHigh <= m_viewLow || IsWholeView(*m_run, m_viewLow, m_viewHigh);
    if (wholeNow && wholeBefore) return false;
    return viewLow != m_viewLow || viewHigh != m_viewHigh;
}

long long CWaveDataSet::RecalculationWork(int columns, double viewLow, double viewHigh) const {
    Lock hold(m_cs);
    long long first = 0, end = 0;
    ViewSamples(*m_run, viewLow, viewHigh, first, end);
    const long long t = end - first;
    if (t <= columns) return t;
    // Blocks walked, and about two runs of raw samples at the ends of each column.
    return t / std::max(1LL, m_run->blockSize) + 2LL * columns * CWaveSummary::kFine;
}

bool CWaveDataSet::Recalculate(int columns, double viewLow, double viewHigh, bool useSummary,
                               const std::atomic<bool>* cancel) {
    std::shared_ptr<SRun> run;
    unsigned generation;
    bool rolling;
    {
        Lock hold(m_cs);
        run = m_run;
        generation = m_generation;
        rolling = m_ring.m_rolling;
        if (!run->complete) {
            // The data is still coming: the columns start again with it, and the
            // whole is recomputed once it is complete.
            m_ring.Resize(columns);
            m_viewLow = viewLow;
            m_viewHigh = viewHigh;
            RestartLiveLocked();
            m_liveReduction = IsWholeView(*run, viewLow, viewHigh) || viewHigh <= viewLow;
            // What came before is not in the columns: once complete, all is recomputed.
            m_stale = run->samples > 0 || !m_liveReduction;
            return true;
        }
    }
    CColumnRing ring;
    ring.m_rolling = rolling;
    ring.Resize(columns);
    SReduction r;
    long long first = 0, end = 0;
    ViewSamples(*run, viewLow, viewHigh, first, end);
    const long long t = end - first;
    const long long block = run->blockSize;
    const bool whole = first == 0 && end == run->samples;
    const long long pairs = run->cache1 ? run->cache1->Records() : 0;
    auto cancelled = [&] { return cancel && cancel->load(); };
    if (columns > 0 && whole && pairs >= columns) {
        // The whole range from cache 1: one pair per input block.
        r.Restart(columns, double(pairs));
        std::vector<float> buffer(static_cast<size_t>(2 * block));
        for (long long at = 0; at < pairs; at += block) {
            if (cancelled()) return false;
            const long long n = run->cache1->ReadAt(at, std::min(block, pairs - at), buffer.data());
            if (n <= 0) break;
            ReduceBlock(r, ring, buffer.data(), n, true);
        }
    } else if (columns > 0 && t > 1) {
        r.Restart(columns, double(t));
        if (useSummary && !r.FewerItemsThanColumns()) {
            // The same walk over the same blocks, with each column's extremes taken
            // from the summary instead of from every sample.
            const CWaveSummary::RawReader raw = [&run](long long at, long long n, float* out) {
                return run->cache0->ReadAt(at, n, out);
            };
            long long columnStart = first;
            for (long long at = first; at < end; at += block) {
                if (cancelled()) return false;
                const long long n = std::min(block, end - at);
                const long long carryFrom = r.Walk(n, [&](long long, long long e, bool) {
                    const SExtremes x = run->summary.Extremes(columnStart, at + e, raw);
                    ring.Append(x.lo, x.hi);
                    columnStart = at + e;
                });
                if (carryFrom >= 0) columnStart = at + carryFrom;
            }
        } else {
            std::vector<float> buffer(static_cast<size_t>(block));
            for (long long at = first; at < end; at += block) {
                if (cancelled()) return false;
                const long long n = run->cache0->ReadAt(at, std::min(block, end - at), buffer.data());
                if (n <= 0) break;
                ReduceBlock(r, ring, buffer.data(), n, false);
            }
        }
    }
    Lock hold(m_cs);
    if (generation != m_generation) return false;
    m_ring = std::move(ring);
    m_live = r;
    m_liveReduction = false;
    m_stale = false;
    m_viewLow = viewLow;
    m_viewHigh = viewHigh;
    m_changed = true;
    return true;
}

int CWaveDataSet::CopyColumns(std::vector<float>& lo, std::vector<float>& hi) const {
    Lock hold(m_cs);
    m_ring.CopyOrdered(lo, hi);
    return m_ring.Count();
}
