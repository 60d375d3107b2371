#include "graphics/graph_container.h"

#include <QResizeEvent>
#include <QSplitter>
#include <QVBoxLayout>

namespace {
// A cell holds at most one graph, which fills it.
QWidget* NewCell(QWidget* parent) {
    auto* cell = new QWidget(parent);
    auto* layout = new QVBoxLayout(cell);
    layout->setContentsMargins(0, 0, 0, 0);
    cell->setMinimumSize(1, 1);
    return cell;
}

QList<int> Split(int total, const std::vector<double>& shares) {
    QList<int> sizes;
    int used = 0;
    double running = 0;
    for (size_t i = 0; i < shares.size(); ++i) {
        running += shares[i];
        // Cumulative rounding: the pieces add up to the total exactly.
        const int edge = i + 1 == shares.size() ? total : static_cast<int>(running * total + 0.5);
        sizes.append(std::max(0, edge - used));
        used = std::max(used, edge);
    }
    return sizes;
}
} // namespace

CSPGraphContainerWnd::CSPGraphContainerWnd(QWidget* parent) : QWidget(parent) {
    setObjectName(QStringLiteral("graph container"));
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(0, 0, 0, 0);
}

void CSPGraphContainerWnd::Apply(const SSPDisplayLayout& layout) {
    bool structure = layout.rows != m_layout.rows;
    for (int r = 0; !structure && r < layout.rows; ++r)
        structure = layout.row[r].twoColumns != m_layout.row[r].twoColumns;
    m_layout = layout;
    if (structure || !m_rows) Rebuild();
    m_rows->setHandleWidth(std::max(0, m_layout.spacing));
    for (SRow& row : m_rowWidgets)
        if (row.columns) row.columns->setHandleWidth(std::max(0, m_layout.spacing));
    ApplySizes();
}

void CSPGraphContainerWnd::Rebuild() {
    // Graphs survive a rebuild in the cells that still exist.
    std::vector<SRow> old = std::move(m_rowWidgets);
    for (SRow& row : old)
        for (QWidget* g : row.graphs)
            if (g) g->setParent(nullptr);
    delete m_rows;
    m_rows = new QSplitter(Qt::Vertical, this);
    m_rows->setChildrenCollapsible(false);
    layout()->addWidget(m_rows);
    m_rowWidgets.assign(static_cast<size_t>(m_layout.rows), SRow{});
    int columnSplitters = 0;
    for (int r = 0; r < m_layout.rows; ++r) {
        SRow& row = m_rowWidgets[static_cast<size_t>(r)];
        if (m_layout.row[r].twoColumns) {
            row.columns = new QSplitter(Qt::Horizontal, m_rows);
            row.columns->setChildrenCollapsible(false);
            row.cells = {NewCell(row.columns), NewCell(row.columns)};
            row.columns->addWidget(row.cells[0]);
            row.columns->addWidget(row.cells[1]);
            row.columns->handle(1)->setObjectName(
                QStringLiteral("colSplitter %1 - row: %2 col: %3").arg(++columnSplitters).arg(r).arg(1));
            m_rows->addWidget(row.columns);
            connect(row.columns, &QSplitter::splitterMoved, this, [this, r] { ColumnsMoved(r); });
        } else {
            row.cells = {NewCell(m_rows), nullptr};
            m_rows->addWidget(row.cells[0]);
        }
        if (r > 0)
            m_rows->handle(r)->setObjectName(
                QStringLiteral("rowSplitter %1 - row: %2 col: %3").arg(r).arg(r).arg(0));
    }
    connect(m_rows, &QSplitter::splitterMoved, this, [this] { RowsMoved(); });
    for (size_t r = 0; r < old.size() && r < m_rowWidgets.size(); ++r)
        for (int c = 0; c < 2; ++c)
            if (old[r].graphs[c] && !Place(static_cast<int>(r), c, old[r].graphs[c]))
                old[r].graphs[c]->deleteLater();
    for (size_t r = m_rowWidgets.size(); r < old.size(); ++r)
        for (QWidget* g : old[r].graphs)
            if (g) g->deleteLater();
}

void CSPGraphContainerWnd::ApplySizes() {
    if (!m_rows) return;
    m_applying = true;
    std::vector<double> shares;
    for (int r = 0; r < m_layout.rows; ++r) shares.push_back(m_layout.RowShare(r));
    const int handles = std::max(0, m_layout.rows - 1) * m_rows->handleWidth();
    m_rows->setSizes(Split(std::max(0, height() - handles), shares));
    for (int r = 0; r < m_layout.rows; ++r) {
        QSplitter* columns = m_rowWidgets[static_cast<size_t>(r)].columns;
        if (!columns) continue;
        const double left = m_layout.row[r].leftRatio;
        columns->setSizes(Split(std::max(0, width() - columns->handleWidth()), {left, 1.0 - left}));
    }
    m_applying = false;
}

void CSPGraphContainerWnd::resizeEvent(QResizeEvent* event) {
    QWidget::resizeEvent(event);
    ApplySizes();
}

void CSPGraphContainerWnd::RowsMoved() {
    if (m_applying) return;
    const QList<int> sizes = m_rows->sizes();
    double total = 0;
    for (int s : sizes) total += s;
    if (total <= 0) return;
    double running = 0;
    for (int r = 0; r < m_layout.rows && r < sizes.size(); ++r) {
        running += sizes[r];
        m_layout.row[r].bottom = r + 1 == m_layout.rows ? 1.0 : running / total;
    }
}

void CSPGraphContainerWnd::ColumnsMoved(int r) {
    if (m_applying) return;
    const QList<int> sizes = m_rowWidgets[static_cast<size_t>(r)].columns->sizes();
    if (sizes.size() == 2 && sizes[0] + sizes[1] > 0)
        m_layout.row[r].leftRatio = double(sizes[0]) / (sizes[0] + sizes[1]);
}

bool CSPGraphContainerWnd::CellExists(int row, int column) const {
    return row >= 0 && row < m_layout.rows && column >= 0 && column < (m_layout.row[row].twoColumns ? 2 : 1);
}

QWidget* CSPGraphContainerWnd::Cell(int row, int column) const {
    return CellExists(row, column) ? m_rowWidgets[static_cast<size_t>(row)].cells[column] : nullptr;
}

QWidget* CSPGraphContainerWnd::GraphAt(int row, int column) const {
    return CellExists(row, column) ? m_rowWidgets[static_cast<size_t>(row)].graphs[column] : nullptr;
}

bool CSPGraphContainerWnd::Place(int row, int column, QWidget* graph) {
    QWidget* cell = Cell(row, column);
    if (!cell) return false;
    QWidget*& slot = m_rowWidgets[static_cast<size_t>(row)].graphs[column];
    if (slot && slot != graph) {
        cell->layout()->removeWidget(slot);
        slot->setParent(nullptr);
    }
    slot = graph;
    if (graph) {
        graph->setParent(cell);
        graph->setObjectName(QStringLiteral("graph%1%2").arg(row).arg(column));
        cell->layout()->addWidget(graph);
        graph->show();
    }
    return true;
}

std::vector<double> CSPGraphContainerWnd::RowShares() const {
    std::vector<double> shares;
    // A grid that was never on the screen has no pixels yet: its ratios answer.
    const bool laidOut = m_rows && isVisible();
    const QList<int> sizes = laidOut ? m_rows->sizes() : QList<int>();
    double total = 0;
    for (int s : sizes) total += s;
    for (int r = 0; r < m_layout.rows; ++r)
        shares.push_back(total > 0 && r < sizes.size() ? sizes[r] / total : m_layout.RowShare(r));
    return shares;
}

std::vector<double> CSPGraphContainerWnd::ColumnShares() const {
    std::vector<double> shares;
    for (int r = 0; r < m_layout.rows; ++r) {
        const SRow& row = m_rowWidgets[static_cast<size_t>(r)];
        if (!row.columns) {
            shares.push_back(0);
            continue;
        }
        const QList<int> sizes = isVisible() ? row.columns->sizes() : QList<int>();
        const double total = sizes.size() == 2 ? sizes[0] + sizes[1] : 0;
        shares.push_back(total > 0 ? sizes[0] / total : m_layout.row[r].leftRatio);
    }
    return shares;
}
