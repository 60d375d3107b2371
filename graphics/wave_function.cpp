#include "graphics/wave_function.h"

#include <QPainter>

#include "graphics/gui_channel.h"
#include "graphics/wave_data_set.h"

long long CWaveFunction::s_inlineWork = 4'000'000;

namespace {
constexpr const wchar_t* kCalculating = L"... calculating graphics ...";
}

CWaveFunction::~CWaveFunction() {
    StopWork();
}

void CWaveFunction::StopWork() {
    CFunction::StopWork();
    m_work->cancel = true;
    if (m_worker.joinable()) m_worker.join();
    m_work->running = false;
    // A repaint that the worker posted finds a new state and does nothing to it.
    m_work = std::make_shared<SWork>();
}

void CWaveFunction::SetRepaintTarget(QObject* target, std::function<void()> done) {
    m_target = target;
    m_done = std::move(done);
}

void CWaveFunction::StartWorker(int columns, double low, double high) {
    if (m_work->running && columns == m_workerColumns && low == m_workerLow && high == m_workerHigh) return;
    // A new request replaces one for another size or view.
    m_work->cancel = true;
    if (m_worker.joinable()) m_worker.join();
    m_work = std::make_shared<SWork>();
    m_work->running = true;
    m_workerColumns = columns;
    m_workerLow = low;
    m_workerHigh = high;
    m_worker =
        std::thread([work = m_work, data = m_data, columns, low, high, target = m_target, done = m_done] {
            static_cast<CWaveDataSet*>(data.get())->Recalculate(columns, low, high, true, &work->cancel);
            // Only a post: the GUI thread repaints when it comes to it.
            if (!work->cancel.load())
                GuiChannel::Post(target, [work, done] {
                    work->running = false;
                    if (done) done();
                });
        });
}

void CWaveFunction::Draw(QPainter& p, const SPlotMap& map, bool print) {
    auto* data = dynamic_cast<CWaveDataSet*>(m_data.get());
    if (!data || !map.x || !map.y) return;
    const int width = map.XExtent();
    if (width <= 0) return;
    const double low = map.x->ViewLow(), high = map.x->ViewHigh();
    if (!m_work->running && data->NeedsRecalculation(width, low, high)) {
        if (!data->Done() || data->RecalculationWork(width, low, high) <= s_inlineWork || !m_target)
            data->Recalculate(width, low, high, true);
        else
            StartWorker(width, low, high);
    }
    if (m_work->running) {
        p.setPen(ToQColor(m_params->color.Of(print)));
        p.drawText(map.plot, Qt::AlignCenter, QString::fromStdWString(kCalculating));
        return;
    }
    const int n = data->CopyColumns(m_lo, m_hi);
    if (n <= 0) return;
    if (static_cast<int>(m_upper.size()) != n) {
        m_upper.resize(static_cast<size_t>(n));
        m_lower.resize(static_cast<size_t>(n));
    }
    // One pixel a column from the plot's edge where X starts.
    const double first = map.XIsHorizontal()
                             ? ((map.flags & 1) != (map.angle == 180) ? map.plot.right() : map.plot.left())
                             : ((map.flags & 1) != (map.angle == 270) ? map.plot.bottom() : map.plot.top());
    const double stepDir = (first == map.plot.left() || first == map.plot.top()) ? 1.0 : -1.0;
    for (int i = 0; i < n; ++i) {
        const double along = first + stepDir * (i + 0.5);
        float lo = m_lo[static_cast<size_t>(i)], hi = m_hi[static_cast<size_t>(i)];
        if (lo > hi) lo = hi = 0; // a column that never saw a sample
        const double a = map.MapY(lo), b = map.MapY(hi);
        m_lower[static_cast<size_t>(i)] = map.XIsHorizontal() ? QPointF(along, a) : QPointF(a, along);
        m_upper[static_cast<size_t>(i)] = map.XIsHorizontal() ? QPointF(along, b) : QPointF(b, along);
    }
    QPen pen(ToQColor(m_params->color.Of(print)), 1);
    pen.setCosmetic(true);
    p.setPen(pen);
    auto* params = static_cast<SSPWaveFunctionParams*>(m_params.get());
    if (params->drawStyle == WAVE_AREA) {
        QPolygonF area;
        area.reserve(2 * n);
        for (int i = 0; i < n; ++i) area.append(m_upper[static_cast<size_t>(i)]);
        for (int i = n - 1; i >= 0; --i) area.append(m_lower[static_cast<size_t>(i)]);
        p.setBrush(ToQColor(m_params->color.Of(print)));
        p.drawPolygon(area);
        p.setBrush(Qt::NoBrush);
        return;
    }
    // At this density a column's vertical stroke needs no drawing of its own: the two
    // lines through the minima and the maxima show the envelope.
    p.drawPolyline(m_upper.data(), n);
    p.drawPolyline(m_lower.data(), n);
}
