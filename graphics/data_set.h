// Data sets: what arrived for a function, stored apart from the drawing.
// Data comes on an SPU's, a loader's or a shell's thread, drawing happens on
// the GUI thread; every public operation takes the set's own lock for its
// whole length, and drawing holds it only while it copies.
#pragma once

#include <memory>
#include <mutex>
#include <vector>

#include "base/text.h"
#include "graphics/coordinates.h"
#include "graphics/ds_file.h"

class Matrix;

// The tags of values a producer hands over: a number and a vector of numbers.
enum EValueTag : int { VALUE_NUMBER = 4, VALUE_VECTOR = 8 };

class CDataSet : public CCoordinateObject {
public:
    enum EState : unsigned { STATE_HAS_DATA = 1 };
    virtual ~CDataSet() = default;

    // The function type this set holds data for.
    virtual int Type() const = 0;
    // Points (or samples, or spectra) held.
    virtual long long Points() const = 0;
    // Empties the set for a new run.
    virtual void Reset();
    // No more data will come.
    virtual void Complete();
    bool Done() const;
    bool HasData() const;
    // Set by every change; a reader clears it.
    bool TakeChanged();
    // The extremes of all data seen: X and Y ranges.
    void Ranges(double& xLow, double& xHigh, double& yLow, double& yHigh) const;
    // The name of the source, for DATASETLOADED and status.
    Text Name() const;
    void SetName(const Text& name);
    // Takes a table's numbers (rows by numeric columns) as the whole data of a run;
    // `x` stands for the X column where the set has a use for one.
    virtual void TakeTable(const Matrix& values, const std::vector<double>& x) = 0;
    // One block from a producer (an SPU output), tagged VALUE_NUMBER or
    // VALUE_VECTOR. False when the set takes no values of the type.
    virtual bool TakeBlock(int /*type*/, const double* /*values*/, size_t /*n*/) { return false; }
    // The first error text of a cache file, empty when none.
    virtual Text CacheError() const;

    mutable std::recursive_mutex m_cs;

protected:
    // Widens the ranges by a block's extremes; the first block sets them.
    void WidenLocked(double xLow, double xHigh, double yLow, double yHigh);

    std::vector<std::unique_ptr<CDSFile>> m_caches;
    bool m_done = false;
    bool m_changed = false;
    unsigned m_state = 0;
    Text m_name;
};

// Pairs of X and Y (function type 0), and the scatter's points (type 4).
class CXYDataSet : public CDataSet {
public:
    int Type() const override { return 0; }
    long long Points() const override;
    void Reset() override;
    void Add(const double* x, const double* y, size_t n);
    // Column 0 as X and column 1 as Y; one column: Y over `x` when given, else over the row number.
    void TakeTable(const Matrix& values, const std::vector<double>& x) override;
    // With no X source the points are numbered.
    void AddY(const double* y, size_t n);
    // The points whose X lies in [low, high], with one on each side, for drawing.
    void Copy(double low, double high, std::vector<double>& x, std::vector<double>& y) const;

protected:
    std::vector<double> m_xs, m_ys;
};

class CScatterDataSet : public CXYDataSet {
public:
    int Type() const override { return 4; }
};

// A parameter track: values over time (function type 1). Scalars come one at a
// time and are gathered in blocks of 1024; vectors come as a block at once.
class CParamDataSet : public CXYDataSet {
public:
    static constexpr size_t kBlock = 1024;
    int Type() const override { return 1; }
    // Times start at `start` and step by `step` for values given without times.
    void SetTiming(double start, double step);
    void Reset() override;
    void AddValue(double value);
    void AddBlock(const double* values, size_t n);
    void Complete() override;
    // Time and value, or one value a step.
    void TakeTable(const Matrix& values, const std::vector<double>& x) override;
    // A scalar is one value (gathered into blocks of 1024), a vector a block at once.
    bool TakeBlock(int type, const double* values, size_t n) override;

private:
    void FlushLocked();
    double m_start = 0, m_step = 1;
    long long m_count = 0;
    std::vector<double> m_pending;
};

// Spectra over time (function types 2 and 5): a holder for the spectrogram,
// which reduces them to the columns of its picture. Each spectrum goes to the
// spectral cache as well.
class CSpecDataSet : public CDataSet {
public:
    explicit CSpecDataSet(int type) : m_type(type) {}
    int Type() const override { return m_type; }
    long long Points() const override;
    void Reset() override;
    // The frequency of each bin.
    void SetFrequencies(std::vector<double> frequencies);
    std::vector<double> Frequencies() const;
    void AddSpectrum(const double* bins, size_t n);
    // Each row one spectrum.
    void TakeTable(const Matrix& values, const std::vector<double>& x) override;
    // A vector is one spectrum.
    bool TakeBlock(int type, const double* values, size_t n) override;
    // Spectrum `index` from the cache; false when there is none.
    bool Spectrum(long long index, std::vector<float>& out) const;
    size_t Bins() const;

private:
    int m_type;
    std::vector<double> m_frequencies;
    size_t m_bins = 0;
    long long m_count = 0;
};

// A new data set for a function type.
std::shared_ptr<CDataSet> MakeDataSet(int functionType);
