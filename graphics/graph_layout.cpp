// The graph's redraw pipeline and the layout of its strips and bands.
#include <QFontMetrics>
#include <algorithm>
#include <cmath>

#include "graphics/data_set.h"
#include "graphics/functions.h"
#include "graphics/sp_graph.h"

namespace {
constexpr int kMarkWidth = 3;
constexpr int kBandGap = 4;
constexpr int kMargin = 4;

// A range with room in it: an empty or single-valued range opens around its value.
void Open(double& low, double& high) {
    if (!std::isfinite(low) || !std::isfinite(high)) {
        low = 0;
        high = 1;
    }
    if (high > low) return;
    const double pad = low == 0 ? 0.5 : std::abs(low) * 0.1;
    low -= pad;
    high += pad;
}

// The view of an axis from its settings: the set range or the data's, the set view or the whole.
void ApplyScale(CSPView& view, const SScaleSettings& scale, double dataLow, double dataHigh, bool clampView) {
    double low = scale.rangeSet ? scale.low : dataLow, high = scale.rangeSet ? scale.high : dataHigh;
    Open(low, high);
    view.m_inverted = scale.inverted;
    view.m_logarithmic = scale.logarithmic && low > 0;
    view.SetRange(low, high);
    if (!scale.viewSet) {
        view.ResetView();
    } else if (!(clampView ? view.SetViewClamped(scale.viewLow, scale.viewHigh)
                           : view.SetView(scale.viewLow, scale.viewHigh))) {
        view.ResetView();
    }
}
} // namespace

bool CSPGraph::BandUsed(int band) const {
    return band >= 1 && band <= kMaxBands && (m_settings.bands & (1u << (band - 1)));
}

std::vector<int> CSPGraph::UsedBands() const {
    std::vector<int> bands;
    for (int b = 1; b <= kMaxBands; ++b)
        if (BandUsed(b)) bands.push_back(b);
    if (bands.empty()) bands.push_back(1);
    return bands;
}

QRect CSPGraph::PlotRect(int band) const {
    if (!BandUsed(band) && !(band == 1 && UsedBands().front() == 1)) return QRect();
    return m_bands[static_cast<size_t>(band - 1)].plot;
}

SPlotMap CSPGraph::MapOf(int band) const {
    SPlotMap map;
    map.plot = m_bands[static_cast<size_t>(band - 1)].plot;
    map.x = &m_xView;
    map.y = &m_yViews[static_cast<size_t>(band - 1)];
    map.angle = m_settings.orientation.angle;
    map.flags = m_settings.orientation.flags;
    return map;
}

void CSPGraph::ApplySettings() {
    // 1. ranges and ticks
    UpdateRanges();
    ComputeTicks();
    // 2.-4. colours and pens are read as the objects draw; titles take their texts
    ApplyTitles();
    // 5. layout, 6. repaint
    Relayout();
    m_settings.m_mask = 0;
    update();
}

void CSPGraph::UpdateRanges() {
    double xl = HUGE_VAL, xh = -HUGE_VAL;
    std::array<double, kMaxBands> yl, yh;
    yl.fill(HUGE_VAL);
    yh.fill(-HUGE_VAL);
    for (const auto& f : m_functions) {
        if (!f || !f->DataSet() || !f->DataSet()->HasData()) continue;
        double a, b, c, d;
        f->DataSet()->Ranges(a, b, c, d);
        xl = std::min(xl, a);
        xh = std::max(xh, b);
        for (int band = 1; band <= kMaxBands; ++band) {
            if (f->Params().band != 0 && f->Params().band != band) continue;
            yl[static_cast<size_t>(band - 1)] = std::min(yl[static_cast<size_t>(band - 1)], c);
            yh[static_cast<size_t>(band - 1)] = std::max(yh[static_cast<size_t>(band - 1)], d);
        }
    }
    if (xl > xh) xl = 0, xh = 1;
    ApplyScale(m_xView, m_settings.x, xl, xh, false);
    for (size_t b = 0; b < m_yViews.size(); ++b) {
        double lo = yl[b], hi = yh[b];
        if (lo > hi) lo = -1, hi = 1;
        ApplyScale(m_yViews[b], m_settings.y, lo, hi, true);
    }
    ApplyScale(m_zView, m_settings.z, 0, 1, false);
}

void CSPGraph::ComputeTicks() {
    const bool overview = m_settings.overview;
    const bool xHorizontal = m_settings.orientation.angle == 0 || m_settings.orientation.angle == 180;
    auto setUp = [&](CLabellingObject& o, const CSPView& view, const SScaleSettings& scale, int type) {
        o.ComputeTicks(view, overview, scale.positions, type);
    };
    const int first = UsedBands().front();
    const CSPView& hView = xHorizontal ? m_xView : m_yViews[static_cast<size_t>(first - 1)];
    const SScaleSettings& hScale = xHorizontal ? m_settings.x : m_settings.y;
    for (SStrip* s : {&m_xTop, &m_xBottom}) {
        setUp(s->scale, hView, hScale, 1);
        setUp(s->labels, hView, hScale, 0);
        s->labels.m_format = hScale.format;
    }
    for (int band : UsedBands()) {
        SBand& b = m_bands[static_cast<size_t>(band - 1)];
        const CSPView& vView = xHorizontal ? m_yViews[static_cast<size_t>(band - 1)] : m_xView;
        const SScaleSettings& vScale = xHorizontal ? m_settings.y : m_settings.x;
        for (SStrip* s : {&b.left, &b.right}) {
            setUp(s->scale, vView, vScale, 1);
            setUp(s->labels, vView, vScale, 0);
            s->labels.m_format = vScale.format;
        }
        setUp(b.majorX, hView, hScale, 3);
        setUp(b.majorY, vView, vScale, 3);
        setUp(b.minorX, hView, hScale, 4);
        setUp(b.minorY, vView, vScale, 4);
        // Minor grid lines divide the major steps.
        for (CGrid* g : {&b.minorX, &b.minorY}) {
            g->m_major = false;
            const STickList major = g->m_ticks;
            g->m_minor = {};
            if (major.step > 0 && !major.ticks.empty()) {
                const double step = major.step / 2;
                for (double v = major.ticks.front() - major.step; v <= major.ticks.back() + major.step;
                     v += step)
                    g->m_minor.ticks.push_back(v);
            }
        }
    }
}

void CSPGraph::ApplyTitles() {
    const auto& t = m_settings.title;
    m_title.m_lines = t.lines;
    m_title.m_font = t.font;
    m_title.m_color = t.color;
    m_title.m_visible = t.visible && !t.lines.empty();
    const auto& a = m_settings.axisTitle;
    const bool xHorizontal = m_settings.orientation.angle == 0 || m_settings.orientation.angle == 180;
    const Text& hUnit = xHorizontal ? m_settings.x.unit : m_settings.y.unit;
    const Text& vUnit = xHorizontal ? m_settings.y.unit : m_settings.x.unit;
    auto title = [&](CText& text, const Text& unit, bool on, int rotation) {
        text.m_lines = unit.empty() ? std::vector<Text>{} : std::vector<Text>{unit};
        text.m_font = a.font;
        text.m_color = a.color;
        text.m_visible = a.visible && on && !unit.empty();
        text.m_rotation = rotation;
    };
    title(m_xTop.title, hUnit, a.xMode & SIDE_ABOVE, 0);
    title(m_xBottom.title, hUnit, a.xMode & SIDE_BELOW, 0);
    for (SBand& b : m_bands) {
        title(b.left.title, vUnit, a.yMode & SIDE_LEFT, 270);
        title(b.right.title, vUnit, a.yMode & SIDE_RIGHT, 270);
    }
}

void CSPGraph::Relayout() {
    const auto& s = m_settings;
    QRect r = rect().adjusted(kMargin, kMargin, -kMargin, -kMargin);
    const QFontMetrics labelMetrics(ToQFont(s.labels.font, false));
    const QFontMetrics titleMetrics(ToQFont(s.axisTitle.font, false));
    const int tick = s.frame.tickMajor * 2 + 3;
    // The title strip on top.
    if (m_title.m_visible) {
        const QFontMetrics m(ToQFont(m_title.m_font, false));
        const int h = m.lineSpacing() * static_cast<int>(m_title.m_lines.size()) + 4;
        m_title.m_rect = QRect(r.left(), r.top(), r.width(), h);
        r.setTop(r.top() + h);
    } else {
        m_title.m_rect = QRect();
    }
    const bool xAxes = !(m_flags & GRAPH_NO_X_AXIS);
    const bool yAxes = !(m_flags & GRAPH_NO_Y_AXIS);
    // X strips: title, labels and scale, each on the sides its mode names.
    auto stripHeight = [&](SStrip& strip, int side) {
        strip.scale.m_visible = xAxes && s.labels.xScaleOn && (s.frame.xMode & side);
        strip.labels.m_visible = xAxes && s.labels.xVisible && (s.labels.xMode & side);
        strip.title.m_visible = strip.title.m_visible && xAxes;
        strip.scale.m_side = strip.labels.m_side = side;
        return (strip.scale.m_visible ? tick : 0) + (strip.labels.m_visible ? labelMetrics.height() + 1 : 0) +
               (strip.title.m_visible ? titleMetrics.height() + 2 : 0);
    };
    const int topH = stripHeight(m_xTop, SIDE_ABOVE);
    const int bottomH = stripHeight(m_xBottom, SIDE_BELOW);
    // Side widths by the widest label of any band.
    int widest = 0;
    for (int band : UsedBands())
        widest = std::max(
            widest, m_bands[static_cast<size_t>(band - 1)].left.labels.Widest(ToQFont(s.labels.font, false)));
    auto sideWidth = [&](int side) {
        const bool scale = yAxes && s.labels.yScaleOn && (s.frame.yMode & side);
        const bool labels = yAxes && s.labels.yVisible && (s.labels.yMode & side);
        const bool title = yAxes && s.axisTitle.visible && (s.axisTitle.yMode & side) &&
                           !(s.orientation.angle % 180 == 0 ? s.y.unit : s.x.unit).empty();
        return kMarkWidth + (scale ? tick : 0) + (labels ? widest + 4 : 0) +
               (title ? titleMetrics.height() + 2 : 0);
    };
    const int leftW = sideWidth(SIDE_LEFT), rightW = sideWidth(SIDE_RIGHT);
    const QRect plotColumn(r.left() + leftW, r.top() + topH, std::max(1, r.width() - leftW - rightW),
                           std::max(1, r.height() - topH - bottomH));
    // The X strips hug the plot column.
    auto placeX = [&](SStrip& strip, int top, bool above) {
        int y = top;
        auto take = [&](CGraphObject& o, int h) {
            if (!o.m_visible) {
                o.m_rect = QRect();
                return;
            }
            o.m_rect = QRect(plotColumn.left(), above ? y - h : y, plotColumn.width(), h);
            y += above ? -h : h;
        };
        take(strip.scale, tick);
        take(strip.labels, labelMetrics.height() + 1);
        take(strip.title, titleMetrics.height() + 2);
        strip.scale.m_plot = strip.labels.m_plot = plotColumn;
        strip.scale.m_vertical = strip.labels.m_vertical = false;
    };
    placeX(m_xTop, plotColumn.top(), true);
    placeX(m_xBottom, plotColumn.bottom() + 1, false);
    // Bands share the plot column from top to bottom.
    const std::vector<int> bands = UsedBands();
    const int n = static_cast<int>(bands.size());
    const int bandH = std::max(1, (plotColumn.height() - kBandGap * (n - 1)) / n);
    const bool xHorizontal = s.orientation.angle == 0 || s.orientation.angle == 180;
    for (int i = 0; i < n; ++i) {
        SBand& b = m_bands[static_cast<size_t>(bands[static_cast<size_t>(i)] - 1)];
        b.plot =
            QRect(plotColumn.left(), plotColumn.top() + i * (bandH + kBandGap), plotColumn.width(),
                  i + 1 == n ? plotColumn.bottom() - (plotColumn.top() + i * (bandH + kBandGap)) + 1 : bandH);
        auto placeY = [&](SStrip& strip, CActivationMark& mark, int side) {
            const bool left = side == SIDE_LEFT;
            int x = left ? b.plot.left() : b.plot.right() + 1;
            auto take = [&](CGraphObject& o, bool on, int w) {
                o.m_visible = on;
                if (!on) {
                    o.m_rect = QRect();
                    return;
                }
                o.m_rect = QRect(left ? x - w : x, b.plot.top(), w, b.plot.height());
                x += left ? -w : w;
            };
            take(strip.scale, yAxes && s.labels.yScaleOn && (s.frame.yMode & side), tick);
            take(strip.labels, yAxes && s.labels.yVisible && (s.labels.yMode & side), widest + 4);
            take(strip.title, strip.title.m_visible && yAxes, titleMetrics.height() + 2);
            take(mark, true, kMarkWidth);
            strip.scale.m_side = strip.labels.m_side = side;
            strip.scale.m_plot = strip.labels.m_plot = b.plot;
            strip.scale.m_vertical = strip.labels.m_vertical = true;
            strip.scale.m_inverted = strip.labels.m_inverted = false;
        };
        placeY(b.left, b.leftMark, SIDE_LEFT);
        placeY(b.right, b.rightMark, SIDE_RIGHT);
        // Grids across the plot; the flags of the orientation turn their axes round.
        const int grid = s.grid.mode;
        b.majorX.m_plot = b.minorX.m_plot = b.majorY.m_plot = b.minorY.m_plot = b.plot;
        b.majorX.m_vertical = b.minorX.m_vertical = false;
        b.majorY.m_vertical = b.minorY.m_vertical = true;
        b.majorX.m_visible = (grid & 1) != 0;
        b.minorX.m_visible = (grid & 4) != 0;
        b.majorY.m_visible = (grid & 2) != 0;
        b.minorY.m_visible = (grid & 8) != 0;
        const bool hInvert = xHorizontal ? ((s.orientation.flags & 1) != (s.orientation.angle == 180))
                                         : ((s.orientation.flags & 2) != (s.orientation.angle == 270));
        const bool vInvert = xHorizontal ? ((s.orientation.flags & 2) != (s.orientation.angle == 180))
                                         : ((s.orientation.flags & 1) != (s.orientation.angle == 90));
        b.majorX.m_inverted = b.minorX.m_inverted = hInvert;
        b.majorY.m_inverted = b.minorY.m_inverted = vInvert;
        b.left.scale.m_inverted = b.left.labels.m_inverted = vInvert;
        b.right.scale.m_inverted = b.right.labels.m_inverted = vInvert;
        m_xTop.scale.m_inverted = m_xTop.labels.m_inverted = hInvert;
        m_xBottom.scale.m_inverted = m_xBottom.labels.m_inverted = hInvert;
        b.markers.m_map = b.segments.m_map = MapOf(bands[static_cast<size_t>(i)]);
    }
    m_layoutValid = true;
}
