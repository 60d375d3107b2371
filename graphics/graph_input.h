// CSPIn: an input of a graph that a producer of values feeds, block by block,
// on its own thread: the output of an SPU (a synchronised consumer of the
// window kind). A run starts with the first form of SYNC (each data set of the
// input resets), every DATA hands over one block, and the second form of SYNC
// ends the run. The blocks go straight into the data sets under their locks;
// the graph is only told that it has something new to draw, at most once
// until it has drawn, so a fast producer never floods the GUI thread.
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

class CDataSet;

class CSPIn {
public:
    static constexpr const wchar_t* kUnsupported = L"Parameter dataset input type unsupported";

    // `changed` runs on the producer's thread when the first new block since the
    // last Drawn() has arrived: it posts the repaint to the GUI thread.
    explicit CSPIn(std::function<void()> changed) : m_changed(std::move(changed)) {}

    void Bind(std::shared_ptr<CDataSet> data);
    void Unbind(const CDataSet* data);
    // The graph is going: later blocks go nowhere and tell no one.
    void Disconnect();

    // SYNC, first form: a run starts.
    void Start();
    // DATA: one block, tagged VALUE_NUMBER or VALUE_VECTOR. False, with the text of the failure, when a data
    // set cannot take values of this type.
    bool Deliver(int type, const double* values, size_t n, const wchar_t** failure = nullptr);
    // SYNC, second form: the run ends; the data sets are complete.
    void End();

    // The GUI thread has drawn what came: the next block tells it again.
    void Drawn() { m_pending.store(false); }
    unsigned long long Blocks() const { return m_blocks.load(); }

private:
    std::mutex m_lock; // the data sets and the callback, against the GUI thread
    std::vector<std::shared_ptr<CDataSet>> m_data;
    std::function<void()> m_changed;
    std::atomic<bool> m_pending{false};
    std::atomic<unsigned long long> m_blocks{0};
};
