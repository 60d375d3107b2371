// Sources that feed a function's data set: a table (read at once), a wave item
// (read by a worker thread through an SFIO, since a long file takes a while),
// and an SPU output. A source reports back to the graph only by posts: that
// the data changed, and that it has finished loading (DATASETLOADED).
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <thread>

#include "base/text.h"
#include "numeric/matrix.h"

class CDataSet;
class CShellItem;
class CSfio;
class QObject;

// Where a source reports, on the GUI thread: `changed` repaints, `loaded` tells
// the shell. Both run only while `graph` exists.
struct SFeedTarget {
    QObject* graph = nullptr;
    std::function<void()> changed;
    std::function<void(const Text& name)> loaded;
};

class CDataSource {
public:
    explicit CDataSource(Text name) : m_name(std::move(name)) {}
    virtual ~CDataSource() = default;
    const Text& Name() const { return m_name; }
    // Starts feeding `data`; called on the GUI thread.
    virtual void Start(std::shared_ptr<CDataSet> data, SFeedTarget target) = 0;
    // Stops and waits; nothing is posted after it returns.
    virtual void Stop() {}

protected:
    Text m_name;
};

// A table's numbers, taken on the shell's thread when the source is set. XY and
// scatter use column 0 as X and column 1 as Y (one column: Y over the row
// number, or X from the graph's X source); a parameter track takes time and
// value, or values one per step; a waveform takes column 0 as samples; spectra
// take each row as one spectrum.
class CTableSource : public CDataSource {
public:
    CTableSource(Text name, Matrix values) : CDataSource(std::move(name)), m_values(std::move(values)) {}
    void SetX(std::vector<double> x) { m_x = std::move(x); }
    std::vector<double> FirstColumn() const;
    void Start(std::shared_ptr<CDataSet> data, SFeedTarget target) override;
    // Feeds without a graph (the same as Start, for callers that want it at once).
    void Feed(CDataSet& data) const;

private:
    Matrix m_values;
    std::vector<double> m_x;
};

// A wave item's samples (its first channel), read by a worker thread in blocks.
// The source holds a share of the item and an SFIO on its wave, so the item
// stays while the samples are read; both are let go when the reading ends.
class CWaveSource : public CDataSource {
public:
    static constexpr long long kBlockFrames = 4096;
    // Null with `error` set when the wave cannot be read. Called on the shell's thread.
    static std::shared_ptr<CWaveSource> Open(Text name, CShellItem* item, int& error);
    ~CWaveSource() override;
    void Start(std::shared_ptr<CDataSet> data, SFeedTarget target) override;
    void Stop() override;
    long long Frames() const { return m_frames; }
    double Rate() const { return m_rate; }
    // Reads every block into `data` on the calling thread (the worker's body; benchmarks call it).
    bool ReadAll(CDataSet& data, const std::function<void()>& progress = {});

private:
    CWaveSource(Text name, CShellItem* item, CSfio* sfio, long long frames, double rate);
    void Release();

    CShellItem* m_item;
    CSfio* m_sfio;
    long long m_frames;
    double m_rate;
    std::thread m_worker;
    std::atomic<bool> m_stop{false};
    int m_columns = 512;
};
