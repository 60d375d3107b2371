// The coordinate model of graphs: a range (low, high, changed flag), a view
// inside the range with its map to pixels, the three views of a coordinate
// object, and the nice step of tick lists.
#pragma once

#include <vector>

class CSPRange {
public:
    double Low() const { return m_low; }
    double High() const { return m_high; }
    // The changed flag is set only when a value really changes.
    void SetRange(double low, double high);
    bool Changed() const { return m_changed; }
    void ClearChanged() { m_changed = false; }

protected:
    double m_low = 0, m_high = 1;
    bool m_changed = false;
};

class CSPView : public CSPRange {
public:
    // Clamps the view into the new range, keeping the view's size where it can.
    void SetRange(double low, double high);
    // False when the view does not lie inside the range or low is not below high.
    bool SetView(double low, double high);
    // Clamps low and high into the range first.
    bool SetViewClamped(double low, double high);
    void ResetView();
    double ViewLow() const { return m_viewLow; }
    double ViewHigh() const { return m_viewHigh; }
    bool IsWhole() const { return m_viewLow <= m_low && m_viewHigh >= m_high; }
    bool m_inverted = false;
    bool m_logarithmic = false;

    // p + (v - a) / (b - a) * (q - p) over the viewed [a, b], reversed when inverted;
    // on a logarithmic axis the same in decimal logarithms.
    double Map(double v, double p, double q) const;
    // The value at a pixel.
    double Unmap(double pixel, double p, double q) const;

private:
    double m_viewLow = 0, m_viewHigh = 1;
};

class CCoordinateObject {
public:
    virtual ~CCoordinateObject() = default;
    CSPView m_x, m_y, m_z;
};

// Ticks at a nice step: a fifth of the range rounded to 1, 2 or 5 times a power
// of ten. Empty (and false) when a value is not finite or the range is empty.
struct STickList {
    double step = 0;
    std::vector<double> ticks;
};
bool NiceTicks(double low, double high, STickList& out);
