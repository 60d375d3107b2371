#include "graphics/graph_objects.h"

#include <QFontMetrics>
#include <QPainter>
#include <algorithm>
#include <cmath>

QColor ToQColor(uint32_t c) {
    return QColor(static_cast<int>(c & 0xFF), static_cast<int>((c >> 8) & 0xFF),
                  static_cast<int>((c >> 16) & 0xFF));
}

QFont ToQFont(const SFontInfo& scale, bool) {
    QFont font(QString::fromStdWString(scale.name));
    // The named face may not exist here: the system's sans serif stands in.
    font.setStyleHint(QFont::SansSerif);
    font.setPointSizeF(std::max(1, scale.tenths) / 10.0);
    font.setBold(scale.style & FONT_BOLD);
    font.setItalic(scale.style & FONT_ITALIC);
    font.setUnderline(scale.style & FONT_UNDERLINE);
    return font;
}

Qt::PenStyle ToPenStyle(int style) {
    static constexpr Qt::PenStyle kStyles[] = {Qt::SolidLine, Qt::DashLine, Qt::DotLine};
    return style >= 0 && style < 3 ? kStyles[style] : Qt::SolidLine;
}

Text SafeNumberFormat(const Text& format) {
    // One conversion of a double, with flags, width and precision: nothing else is
    // safe to hand to the formatter.
    size_t percent = Text::npos;
    for (size_t i = 0; i < format.size(); ++i) {
        if (format[i] != L'%') continue;
        if (i + 1 < format.size() && format[i + 1] == L'%') {
            ++i;
            continue;
        }
        if (percent != Text::npos) return L"%0.2f";
        percent = i;
    }
    if (percent == Text::npos) return L"%0.2f";
    size_t i = percent + 1;
    while (i < format.size() && Text(L"-+ #0").find(format[i]) != Text::npos) ++i;
    while (i < format.size() && iswdigit(format[i])) ++i;
    if (i < format.size() && format[i] == L'.') {
        ++i;
        while (i < format.size() && iswdigit(format[i])) ++i;
    }
    if (i < format.size() && format[i] == L'l') ++i;
    if (i >= format.size() || Text(L"feEgG").find(format[i]) == Text::npos) return L"%0.2f";
    return format;
}

// The plot map -------------------------------------------------------------------

int SPlotMap::XExtent() const {
    return std::max(0, static_cast<int>(XIsHorizontal() ? plot.width() : plot.height()));
}

double SPlotMap::MapX(double xv) const {
    const bool invert = (flags & 1) != 0;
    switch (angle) {
    case 90:
        return invert ? x->Map(xv, plot.bottom(), plot.top()) : x->Map(xv, plot.top(), plot.bottom());
    case 180:
        return invert ? x->Map(xv, plot.left(), plot.right()) : x->Map(xv, plot.right(), plot.left());
    case 270:
        return invert ? x->Map(xv, plot.top(), plot.bottom()) : x->Map(xv, plot.bottom(), plot.top());
    default:
        return invert ? x->Map(xv, plot.right(), plot.left()) : x->Map(xv, plot.left(), plot.right());
    }
}

double SPlotMap::MapY(double yv) const {
    const bool invert = (flags & 2) != 0;
    switch (angle) {
    case 90:
        return invert ? y->Map(yv, plot.right(), plot.left()) : y->Map(yv, plot.left(), plot.right());
    case 180:
        return invert ? y->Map(yv, plot.bottom(), plot.top()) : y->Map(yv, plot.top(), plot.bottom());
    case 270:
        return invert ? y->Map(yv, plot.left(), plot.right()) : y->Map(yv, plot.right(), plot.left());
    default:
        return invert ? y->Map(yv, plot.top(), plot.bottom()) : y->Map(yv, plot.bottom(), plot.top());
    }
}

QPointF SPlotMap::Map(double xv, double yv) const {
    return XIsHorizontal() ? QPointF(MapX(xv), MapY(yv)) : QPointF(MapY(yv), MapX(xv));
}

// Labelling ----------------------------------------------------------------------

void CLabellingObject::ComputeTicks(const CSPView& view, bool overview,
                                    const std::vector<std::pair<int, double>>& positions, int scaleType) {
    m_view = &view;
    m_ticks = {};
    bool fromTable = false;
    for (const auto& [type, position] : positions) {
        if (type != scaleType) continue;
        fromTable = true;
        m_ticks.ticks.push_back(position);
    }
    if (fromTable) return;
    if (overview)
        NiceTicks(view.Low(), view.High(), m_ticks);
    else
        NiceTicks(view.ViewLow(), view.ViewHigh(), m_ticks);
}

double CLabellingObject::Pixel(double value) const {
    if (!m_view) return 0;
    if (m_vertical)
        return m_inverted ? m_view->Map(value, m_plot.top(), m_plot.bottom())
                          : m_view->Map(value, m_plot.bottom(), m_plot.top());
    return m_inverted ? m_view->Map(value, m_plot.right(), m_plot.left())
                      : m_view->Map(value, m_plot.left(), m_plot.right());
}

namespace {
bool InsideView(const CSPView* view, double v) {
    const double lo = std::min(view->ViewLow(), view->ViewHigh()),
                 hi = std::max(view->ViewLow(), view->ViewHigh());
    const double eps = (hi - lo) * 1e-9;
    return v >= lo - eps && v <= hi + eps;
}
} // namespace

void CScale::Draw(SPaintContext& c) const {
    if (!m_visible || !m_view) return;
    const auto& f = c.settings.frame;
    QPainter& p = c.painter;
    p.setPen(QPen(ToQColor(c.settings.labels.color.Of(c.print)), 1));
    const int major = f.tickMajor * 2 + 2;
    const int minor = f.tickMinor + 1;
    const int subdivisions = std::max(1, m_axis == AXIS_X ? f.minorX : f.minorY);
    auto tick = [&](double v, int length) {
        if (!InsideView(m_view, v)) return;
        const double px = Pixel(v);
        if (m_vertical) {
            const double x0 = m_side == SIDE_LEFT ? m_rect.right() : m_rect.left();
            const double x1 = m_side == SIDE_LEFT ? x0 - length : x0 + length;
            p.drawLine(QPointF(x0, px), QPointF(x1, px));
        } else {
            const double y0 = m_side == SIDE_ABOVE ? m_rect.bottom() : m_rect.top();
            const double y1 = m_side == SIDE_ABOVE ? y0 - length : y0 + length;
            p.drawLine(QPointF(px, y0), QPointF(px, y1));
        }
    };
    for (double v : m_ticks.ticks) tick(v, major);
    if (m_ticks.step > 0 && m_ticks.ticks.size() > 1) {
        // Minor ticks only where they stay a few pixels apart.
        const double spacing =
            std::abs(Pixel(m_ticks.ticks[1]) - Pixel(m_ticks.ticks[0])) / (subdivisions + 1);
        if (spacing >= 4) {
            const double minorStep = m_ticks.step / (subdivisions + 1);
            const double start = m_ticks.ticks.front() - m_ticks.step;
            for (double v = start; v <= m_ticks.ticks.back() + m_ticks.step; v += minorStep) tick(v, minor);
        }
    }
}

Text CLabel::LabelText(double value) const {
    if (std::abs(value) < 1e-12) value = 0; // no "-0.00"
    return Format(SafeNumberFormat(m_format).c_str(), value);
}

int CLabel::Widest(const QFont& font) const {
    const QFontMetrics metrics(font);
    int widest = 0;
    for (double v : m_ticks.ticks)
        widest = std::max(widest, metrics.horizontalAdvance(QString::fromStdWString(LabelText(v))));
    return widest;
}

void CLabel::Draw(SPaintContext& c) const {
    if (!m_visible || !m_view) return;
    QPainter& p = c.painter;
    const QFont font = ToQFont(c.settings.labels.font, c.print);
    p.setFont(font);
    p.setPen(ToQColor(c.settings.labels.color.Of(c.print)));
    const QFontMetrics metrics(font);
    // A label that would run into the one before it is left out.
    QRectF last;
    for (double v : m_ticks.ticks) {
        if (!InsideView(m_view, v)) continue;
        const QString text = QString::fromStdWString(LabelText(v));
        const double px = Pixel(v);
        const int w = metrics.horizontalAdvance(text);
        QRectF box;
        if (m_vertical) {
            const double x = m_side == SIDE_LEFT ? m_rect.right() - w - 2 : m_rect.left() + 2;
            box = QRectF(x, px - metrics.height() / 2.0, w, metrics.height());
        } else {
            const double y = m_side == SIDE_ABOVE ? m_rect.bottom() - metrics.height() : m_rect.top();
            box = QRectF(px - w / 2.0, y, w, metrics.height());
            // Labels at the ends stay inside the strip.
            if (box.left() < m_rect.left()) box.moveLeft(m_rect.left());
            if (box.right() > m_rect.right()) box.moveRight(m_rect.right());
        }
        if (!last.isNull() && box.adjusted(-3, 0, 3, 0).intersects(last)) continue;
        last = box;
        p.drawText(box, Qt::AlignCenter, text);
    }
}

void CGrid::Draw(SPaintContext& c) const {
    if (!m_visible || !m_view) return;
    const auto& g = c.settings.grid;
    const SPenInfo& scale = m_major ? g.major : g.minor;
    QPen pen(ToQColor(scale.color.Of(c.print)), std::max(1, scale.width));
    pen.setStyle(ToPenStyle(scale.style));
    pen.setCosmetic(true);
    QPainter& p = c.painter;
    p.setPen(pen);
    const STickList& list = m_major ? m_ticks : m_minor;
    for (double v : list.ticks) {
        if (!InsideView(m_view, v)) continue;
        // On a pixel's centre: a one-pixel line stays one pixel wide.
        const double px = std::floor(Pixel(v)) + 0.5;
        if (m_vertical)
            p.drawLine(QPointF(m_plot.left(), px), QPointF(m_plot.right(), px));
        else
            p.drawLine(QPointF(px, m_plot.top()), QPointF(px, m_plot.bottom()));
    }
}

void CText::Draw(SPaintContext& c) const {
    if (!m_visible || m_lines.empty() || m_rect.isEmpty()) return;
    QPainter& p = c.painter;
    p.save();
    p.setFont(ToQFont(m_font, c.print));
    p.setPen(ToQColor(m_color.Of(c.print)));
    QString all;
    for (size_t i = 0; i < m_lines.size(); ++i) {
        if (i) all += QLatin1Char('\n');
        all += QString::fromStdWString(m_lines[i]);
    }
    if (m_rotation == 270) {
        p.translate(m_rect.left(), m_rect.bottom());
        p.rotate(-90);
        p.drawText(QRectF(0, 0, m_rect.height(), m_rect.width()), Qt::AlignCenter, all);
    } else {
        p.drawText(m_rect, Qt::AlignCenter, all);
    }
    p.restore();
}

void CActivationMark::Draw(SPaintContext& c) const {
    if (!m_visible || !m_active || m_rect.isEmpty()) return;
    // A thin bar on the outer edge of the band's strip.
    c.painter.fillRect(QRect(m_rect.left(), m_rect.top(), 2, m_rect.height()),
                       ToQColor(c.settings.cursors.color.Of(c.print)));
}

void CMarkers::Draw(SPaintContext& c) const {
    if (!m_visible || m_markers.empty() || !m_map.x) return;
    QPainter& p = c.painter;
    p.setPen(QPen(ToQColor(c.settings.markers.color.Of(c.print)), 1));
    p.setFont(ToQFont(c.settings.markers.font, c.print));
    for (const SMarker& m : m_markers) {
        if (!InsideView(m_map.x, m.position)) continue;
        const double x = m_map.MapX(m.position);
        p.drawLine(QPointF(x, m_map.plot.top()), QPointF(x, m_map.plot.bottom()));
        if (c.settings.markers.caption && !m.caption.empty())
            p.drawText(QPointF(x + 2, m_map.plot.top() + p.fontMetrics().ascent()),
                       QString::fromStdWString(m.caption));
    }
}

void CSegments::Draw(SPaintContext& c) const {
    if (!m_visible || m_segments.empty() || !m_map.x) return;
    QPainter& p = c.painter;
    const QColor color = ToQColor(c.settings.segments.color.Of(c.print));
    p.setFont(ToQFont(c.settings.segments.font, c.print));
    const QFontMetrics metrics(p.font());
    const double h = metrics.height() + 2;
    for (const SSegmentInfo& s : m_segments) {
        const double x0 = std::max(m_map.plot.left(), m_map.MapX(s.begin));
        const double x1 = std::min(m_map.plot.right(), m_map.MapX(s.end));
        if (x1 <= x0) continue;
        const QRectF bar(x0, m_map.plot.bottom() - h, x1 - x0, h);
        p.setPen(color);
        p.drawRect(bar);
        const QString text = QString::fromStdWString(s.text);
        // Text that doesn't fit the bar isn't drawn.
        if (metrics.horizontalAdvance(text) + 4 <= bar.width()) p.drawText(bar, Qt::AlignCenter, text);
    }
}
