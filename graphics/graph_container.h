// CSPGraphContainerWnd: the grid of a display. Up to 20 rows of one or two
// cells, with splitters between them. The rows' cumulative heights and the
// columns' width ratios are the truth: a resize of the window lays the grid
// out again from them, and a splitter dragged by the user changes them.
#pragma once

#include <QWidget>
#include <array>
#include <vector>

#include "graphics/display_layout.h"

class QSplitter;

class CSPGraphContainerWnd : public QWidget {
    Q_OBJECT

public:
    explicit CSPGraphContainerWnd(QWidget* parent);

    // Takes rows, columns, ratios and spacing; cells keep their graphs where the
    // row still has the column.
    void Apply(const SSPDisplayLayout& layout);
    const SSPDisplayLayout& Layout() const { return m_layout; }

    // The widget of a cell, or null when the cell does not exist.
    QWidget* Cell(int row, int column) const;
    bool CellExists(int row, int column) const;
    // Places `graph` in the cell (null empties it). False when the cell doesn't exist.
    bool Place(int row, int column, QWidget* graph);
    QWidget* GraphAt(int row, int column) const;

    // For status: each row's share of the pixel height, and the left column's
    // share of its row's width (0 for one-column rows). The ratios stand in
    // while the window has never been laid out.
    std::vector<double> RowShares() const;
    std::vector<double> ColumnShares() const;

protected:
    void resizeEvent(QResizeEvent* event) override;

private:
    void Rebuild();
    void ApplySizes();
    void RowsMoved();
    void ColumnsMoved(int row);

    SSPDisplayLayout m_layout;
    QSplitter* m_rows = nullptr;
    struct SRow {
        QSplitter* columns = nullptr; // two-column rows
        std::array<QWidget*, 2> cells{};
        std::array<QWidget*, 2> graphs{};
    };
    std::vector<SRow> m_rowWidgets;
    bool m_applying = false;
};
