#include "graphics/data_set.h"

#include <algorithm>
#include <cmath>

#include "graphics/graph_settings.h"
#include "graphics/wave_data_set.h"
#include "numeric/matrix.h"

using Lock = std::lock_guard<std::recursive_mutex>;

void CDataSet::Reset() {
    Lock hold(m_cs);
    m_done = false;
    m_changed = true;
    m_state = 0;
    m_caches.clear();
}

void CDataSet::Complete() {
    Lock hold(m_cs);
    m_done = true;
    m_changed = true;
}

bool CDataSet::Done() const {
    Lock hold(m_cs);
    return m_done;
}

bool CDataSet::HasData() const {
    Lock hold(m_cs);
    return (m_state & STATE_HAS_DATA) != 0;
}

bool CDataSet::TakeChanged() {
    Lock hold(m_cs);
    const bool changed = m_changed;
    m_changed = false;
    return changed;
}

void CDataSet::Ranges(double& xLow, double& xHigh, double& yLow, double& yHigh) const {
    Lock hold(m_cs);
    xLow = m_x.Low();
    xHigh = m_x.High();
    yLow = m_y.Low();
    yHigh = m_y.High();
}

Text CDataSet::Name() const {
    Lock hold(m_cs);
    return m_name;
}

void CDataSet::SetName(const Text& name) {
    Lock hold(m_cs);
    m_name = name;
}

Text CDataSet::CacheError() const {
    Lock hold(m_cs);
    for (const auto& c : m_caches)
        if (Text e = c->Error(); !e.empty()) return e;
    return Text();
}

void CDataSet::WidenLocked(double xLow, double xHigh, double yLow, double yHigh) {
    if (!(m_state & STATE_HAS_DATA)) {
        m_x.SetRange(xLow, xHigh);
        m_y.SetRange(yLow, yHigh);
        m_state |= STATE_HAS_DATA;
    } else {
        m_x.SetRange(std::min(m_x.Low(), xLow), std::max(m_x.High(), xHigh));
        m_y.SetRange(std::min(m_y.Low(), yLow), std::max(m_y.High(), yHigh));
    }
    m_changed = true;
}

// XY ---------------------------------------------------------------------------

long long CXYDataSet::Points() const {
    Lock hold(m_cs);
    return static_cast<long long>(m_ys.size());
}

void CXYDataSet::Reset() {
    Lock hold(m_cs);
    CDataSet::Reset();
    m_xs.clear();
    m_ys.clear();
}

void CXYDataSet::Add(const double* x, const double* y, size_t n) {
    if (n == 0) return;
    Lock hold(m_cs);
    double xl = x[0], xh = x[0], yl = y[0], yh = y[0];
    for (size_t i = 0; i < n; ++i) {
        // A point that is not a number is no point.
        if (!std::isfinite(x[i]) || !std::isfinite(y[i])) continue;
        m_xs.push_back(x[i]);
        m_ys.push_back(y[i]);
        xl = std::min(xl, x[i]);
        xh = std::max(xh, x[i]);
        yl = std::min(yl, y[i]);
        yh = std::max(yh, y[i]);
    }
    if (std::isfinite(xl) && std::isfinite(yl)) WidenLocked(xl, xh, yl, yh);
}

void CXYDataSet::TakeTable(const Matrix& values, const std::vector<double>& x) {
    const auto rows = static_cast<size_t>(std::max(0, values.Rows()));
    Reset();
    if (rows == 0) return;
    if (values.Cols() >= 2)
        Add(values.Column(0), values.Column(1), rows);
    else if (x.size() >= rows)
        Add(x.data(), values.Column(0), rows);
    else
        AddY(values.Column(0), rows);
}

void CXYDataSet::AddY(const double* y, size_t n) {
    std::vector<double> x(n);
    {
        Lock hold(m_cs);
        for (size_t i = 0; i < n; ++i) x[i] = static_cast<double>(m_xs.size() + i);
    }
    Add(x.data(), y, n);
}

void CXYDataSet::Copy(double low, double high, std::vector<double>& x, std::vector<double>& y) const {
    Lock hold(m_cs);
    x.clear();
    y.clear();
    const size_t n = m_xs.size();
    for (size_t i = 0; i < n; ++i) {
        const bool inside = m_xs[i] >= low && m_xs[i] <= high;
        // Neighbours of visible points keep the lines running to the edge.
        const bool nextInside = i + 1 < n && m_xs[i + 1] >= low && m_xs[i + 1] <= high;
        const bool prevInside = i > 0 && m_xs[i - 1] >= low && m_xs[i - 1] <= high;
        if (inside || nextInside || prevInside) {
            x.push_back(m_xs[i]);
            y.push_back(m_ys[i]);
        }
    }
}

// Parameter track ---------------------------------------------------------------

void CParamDataSet::SetTiming(double start, double step) {
    Lock hold(m_cs);
    m_start = start;
    m_step = step > 0 ? step : 1;
}

void CParamDataSet::Reset() {
    Lock hold(m_cs);
    CXYDataSet::Reset();
    m_count = 0;
    m_pending.clear();
}

void CParamDataSet::AddValue(double value) {
    Lock hold(m_cs);
    m_pending.push_back(value);
    if (m_pending.size() >= kBlock) FlushLocked();
}

void CParamDataSet::AddBlock(const double* values, size_t n) {
    Lock hold(m_cs);
    FlushLocked();
    m_pending.assign(values, values + n);
    FlushLocked();
}

void CParamDataSet::FlushLocked() {
    if (m_pending.empty()) return;
    std::vector<double> times(m_pending.size());
    for (size_t i = 0; i < times.size(); ++i)
        times[i] = m_start + m_step * static_cast<double>(m_count + long(i));
    m_count += static_cast<long long>(m_pending.size());
    std::vector<double> values = std::move(m_pending);
    m_pending.clear();
    Add(times.data(), values.data(), values.size());
}

void CParamDataSet::TakeTable(const Matrix& values, const std::vector<double>&) {
    const auto rows = static_cast<size_t>(std::max(0, values.Rows()));
    Reset();
    if (rows == 0) return;
    if (values.Cols() >= 2)
        Add(values.Column(0), values.Column(1), rows);
    else
        AddBlock(values.Column(0), rows);
}

bool CParamDataSet::TakeBlock(int type, const double* values, size_t n) {
    if (type == VALUE_NUMBER && n >= 1) {
        AddValue(values[0]);
        return true;
    }
    if (type != VALUE_VECTOR) return false;
    AddBlock(values, n);
    return true;
}

void CParamDataSet::Complete() {
    Lock hold(m_cs);
    FlushLocked();
    CDataSet::Complete();
}

// Spectra -------------------------------------------------------------------------

long long CSpecDataSet::Points() const {
    Lock hold(m_cs);
    return m_count;
}

void CSpecDataSet::Reset() {
    Lock hold(m_cs);
    CDataSet::Reset();
    m_count = 0;
    m_bins = 0;
}

void CSpecDataSet::SetFrequencies(std::vector<double> frequencies) {
    Lock hold(m_cs);
    m_frequencies = std::move(frequencies);
}

std::vector<double> CSpecDataSet::Frequencies() const {
    Lock hold(m_cs);
    return m_frequencies;
}

size_t CSpecDataSet::Bins() const {
    Lock hold(m_cs);
    return m_bins;
}

void CSpecDataSet::AddSpectrum(const double* bins, size_t n) {
    if (n == 0) return;
    Lock hold(m_cs);
    if (m_caches.empty() || n != m_bins) {
        // A new spectrum size starts a new run of the cache.
        m_caches.clear();
        m_caches.push_back(std::make_unique<CDSFSpec>(static_cast<int>(n)));
        m_bins = n;
        m_count = 0;
    }
    m_caches[0]->Write(bins, 1);
    const auto [lo, hi] = std::minmax_element(bins, bins + n);
    const double fLow = m_frequencies.empty() ? 0 : m_frequencies.front();
    const double fHigh = m_frequencies.empty() ? double(n - 1) : m_frequencies.back();
    ++m_count;
    // Levels are the Z range: the first spectrum sets it, later ones widen it.
    if (m_count == 1)
        m_z.SetRange(*lo, *hi);
    else
        m_z.SetRange(std::min(m_z.Low(), *lo), std::max(m_z.High(), *hi));
    WidenLocked(0, double(m_count), fLow, fHigh);
}

void CSpecDataSet::TakeTable(const Matrix& values, const std::vector<double>&) {
    Reset();
    std::vector<double> bins(static_cast<size_t>(std::max(0, values.Cols())));
    for (int r = 0; r < values.Rows(); ++r) {
        for (int c = 0; c < values.Cols(); ++c) bins[static_cast<size_t>(c)] = values(r, c);
        AddSpectrum(bins.data(), bins.size());
    }
}

bool CSpecDataSet::TakeBlock(int type, const double* values, size_t n) {
    if (type != VALUE_VECTOR) return false;
    AddSpectrum(values, n);
    return true;
}

bool CSpecDataSet::Spectrum(long long index, std::vector<float>& out) const {
    Lock hold(m_cs);
    if (m_caches.empty() || index < 0 || index >= m_count) return false;
    out.resize(m_bins);
    return m_caches[0]->ReadAt(index, 1, out.data()) == 1;
}

namespace {
struct SDataSetRow {
    int type;
    std::shared_ptr<CDataSet> (*make)();
};
constexpr SDataSetRow kDataSets[] = {
    {FUNC_XY, [] { return std::shared_ptr<CDataSet>(std::make_shared<CXYDataSet>()); }},
    {FUNC_PARAMETER, [] { return std::shared_ptr<CDataSet>(std::make_shared<CParamDataSet>()); }},
    {FUNC_SPECTROGRAM,
     [] { return std::shared_ptr<CDataSet>(std::make_shared<CSpecDataSet>(FUNC_SPECTROGRAM)); }},
    {FUNC_WAVEFORM, [] { return std::shared_ptr<CDataSet>(std::make_shared<CWaveDataSet>()); }},
    {FUNC_SCATTER, [] { return std::shared_ptr<CDataSet>(std::make_shared<CScatterDataSet>()); }},
    {FUNC_WATERFALL,
     [] { return std::shared_ptr<CDataSet>(std::make_shared<CSpecDataSet>(FUNC_WATERFALL)); }},
};
} // namespace

std::shared_ptr<CDataSet> MakeDataSet(int type) {
    for (const SDataSetRow& row : kDataSets)
        if (row.type == type) return row.make();
    return nullptr;
}
