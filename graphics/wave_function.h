// CWaveFunction: draws a waveform from the data set's column arrays: two
// polylines through the columns' minima and maxima (Lines), or a polygon along
// the maxima and back along the minima (Area). When the plot's width or the
// view no longer fits the columns, the data set recomputes them; work that
// takes longer than a moment runs on a worker thread, which posts back.
#pragma once

#include <QPointer>
#include <atomic>
#include <thread>

#include "graphics/functions.h"

class QObject;

class CWaveFunction : public CFunction {
public:
    using CFunction::CFunction;
    ~CWaveFunction() override;

    void Draw(QPainter& p, const SPlotMap& map, bool print) override;
    bool Calculating() const override { return m_work->running.load(); }
    void StopWork() override;

    // The object that a finished recalculation repaints (the graph), on the GUI thread.
    void SetRepaintTarget(QObject* target, std::function<void()> done);
    // Reads that a recalculation may do on the GUI thread before it goes to a worker.
    static long long s_inlineWork;

private:
    void StartWorker(int columns, double low, double high);

    // Shared with the worker and with what it posts back, which may arrive after
    // this function has gone.
    struct SWork {
        std::atomic<bool> running{false};
        std::atomic<bool> cancel{false};
    };
    std::shared_ptr<SWork> m_work = std::make_shared<SWork>();
    std::thread m_worker;
    int m_workerColumns = 0;
    double m_workerLow = 0, m_workerHigh = 0;
    QObject* m_target = nullptr;
    std::function<void()> m_done;
    // Kept between repaints; reallocated only when the width changes.
    std::vector<float> m_lo, m_hi;
    std::vector<QPointF> m_upper, m_lower;
};
