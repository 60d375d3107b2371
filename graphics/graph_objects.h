// Graph objects: everything that draws in a graph knows its rectangle,
// colours and pen and draws itself on a painter, for the screen or for print
// alike. Scales, labels and grids share the labelling part: a range, a step
// and a tick list.
#pragma once

#include <QColor>
#include <QFont>
#include <QRect>
#include <vector>

#include "graphics/coordinates.h"
#include "graphics/graph_settings.h"

class QPainter;

QColor ToQColor(uint32_t colorref);
QFont ToQFont(const SFontInfo& font, bool print);
Qt::PenStyle ToPenStyle(int lineStyle);

// Where the plot's values land on the widget: the views of X and Y, the plot
// rectangle, and the orientation (angle 0, 90, 180, 270; flags bit 0 inverts X,
// bit 1 inverts Y). 90 and 270 let X run down or up the plot.
struct SPlotMap {
    QRectF plot;
    const CSPView* x = nullptr;
    const CSPView* y = nullptr;
    int angle = 0;
    int flags = 0;
    bool XIsHorizontal() const { return angle == 0 || angle == 180; }
    // The pixels along the X axis (the columns a waveform needs).
    int XExtent() const;
    QPointF Map(double xv, double yv) const;
    double MapX(double xv) const;
    double MapY(double yv) const;
};

struct SPaintContext {
    QPainter& painter;
    bool print;
    const SSPGraphSettings& settings;
};

class CGraphObject {
public:
    virtual ~CGraphObject() = default;
    virtual void Draw(SPaintContext&) const {}
    Text m_name;
    QRect m_rect;
    bool m_visible = true;
};

// The labelling part of scales, labels and grids: which axis, which side of
// the plot, and the ticks.
class CLabellingObject : public CGraphObject {
public:
    enum EAxis { AXIS_X, AXIS_Y, AXIS_Z };
    EAxis m_axis = AXIS_X;
    int m_side = SIDE_BELOW;
    STickList m_ticks;
    QRect m_plot;
    const CSPView* m_view = nullptr;
    bool m_vertical = false; // the axis runs up the widget
    bool m_inverted = false;
    // Ticks from the viewed range, or from the whole range in overview.
    void ComputeTicks(const CSPView& view, bool overview,
                      const std::vector<std::pair<int, double>>& positions, int scaleType);
    double Pixel(double value) const;
};

class CScale : public CLabellingObject {
public:
    void Draw(SPaintContext&) const override;
};

class CLabel : public CLabellingObject {
public:
    Text m_format = L"%0.2f";
    void Draw(SPaintContext&) const override;
    // The widest label text in pixels, for the layout.
    int Widest(const QFont& font) const;
    Text LabelText(double value) const;
};

class CGrid : public CLabellingObject {
public:
    STickList m_minor;
    bool m_major = true;
    void Draw(SPaintContext&) const override;
};

// A title of one or more lines; vertical for the Y axes.
class CText : public CGraphObject {
public:
    std::vector<Text> m_lines;
    SFontInfo m_font;
    SColorPair m_color;
    int m_rotation = 0; // 0, or 270 for text that runs up
    void Draw(SPaintContext&) const override;
};

// The small mark that shows the band with the keyboard.
class CActivationMark : public CGraphObject {
public:
    bool m_active = false;
    void Draw(SPaintContext&) const override;
};

// Objects placed in data coordinates.
class CMarkingObject : public CCoordinateObject, public CGraphObject {};

// Marker lines with captions: positions on X.
class CMarkers : public CMarkingObject {
public:
    struct SMarker {
        double position;
        Text caption;
    };
    std::vector<SMarker> m_markers;
    SPlotMap m_map;
    void Draw(SPaintContext&) const override;
};

// Segment bars along the bottom of a band: begin, end and text.
class CSegments : public CMarkingObject {
public:
    struct SSegmentInfo {
        double begin, end;
        Text text;
    };
    std::vector<SSegmentInfo> m_segments;
    SPlotMap m_map;
    void Draw(SPaintContext&) const override;
};

// A printf number format for one double, or the default when the text is anything else.
Text SafeNumberFormat(const Text& format);
