#include "graphics/graph_settings.h"

void SSPGraphSettings::Assign(const SSPGraphSettings& s) {
    const uint64_t mask = s.m_mask ? s.m_mask : (SET_ALL_GROUPS | SET_COLOR);
    if (mask & SET_BACKGROUND) bg = s.bg;
    if (mask & SET_CURSORWIDTH) cursorWidth = s.cursorWidth;
    if (mask & SET_TITLE) title = s.title;
    if (mask & SET_LEGEND) legend = s.legend;
    if (mask & SET_AXISTITLE) axisTitle = s.axisTitle;
    if (mask & SET_LABELS) labels = s.labels;
    if (mask & SET_FRAME) frame = s.frame;
    if (mask & SET_GRID) grid = s.grid;
    if (mask & SET_MARKERS) markers = s.markers;
    if (mask & SET_SEGMENTS) segments = s.segments;
    if (mask & SET_CURSORS) cursors = s.cursors;
    if (mask & SET_RANGE_X) x = s.x;
    if (mask & SET_RANGE_Y) y = s.y;
    if (mask & SET_RANGE_Z) z = s.z;
    if (mask & SET_ORIENTATION) orientation = s.orientation;
    if (mask & SET_BANDS) bands = s.bands;
    if (mask & SET_OVERVIEW) overview = s.overview;
    m_mask |= mask;
}
