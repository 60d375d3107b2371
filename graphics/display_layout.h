// The layout record of a display: up to 20 rows of one or two columns, the
// gap between panes, full screen, on top and where an embedded dialog sits.
// A shell writes a working copy; a commit with apply hands it to the window.
#pragma once

#include <array>

constexpr int kMaxRows = 20;

// Dialog alignment: 0 Above, 16 Below, 32 Left, 64 Right.
enum EDialogAlign : int { ALIGN_ABOVE = 0, ALIGN_BELOW = 16, ALIGN_LEFT = 32, ALIGN_RIGHT = 64 };

struct SRowEntry {
    double bottom = 0; // the bottom edge of the row as a fraction of the container, 0..1
    bool twoColumns = false;
    double leftRatio = 0.5; // the left column's share of a two-column row
};

struct SSPDisplayLayout {
    int rows = 0;
    std::array<SRowEntry, kMaxRows> row{};
    int spacing = 5;
    bool fullScreen = false;
    int dialogAlign = ALIGN_BELOW;
    bool onTop = false;

    // Heights of rows as fractions (from the cumulative bottoms).
    double RowShare(int r) const { return row[r].bottom - (r > 0 ? row[r - 1].bottom : 0.0); }
    // Even rows: what a new display starts with.
    void SetEvenRows(int n) {
        rows = n;
        for (int r = 0; r < n; ++r) row[r].bottom = double(r + 1) / n;
    }
};
