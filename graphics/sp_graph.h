// CSPGraph: the window of a graph in one cell of a display. It draws its
// functions against common axes, with its graph objects laid out by a fixed
// plan: a title strip, X axis strips above and below, and up to 8 bands, each
// with Y axes on both sides and its part of the plot area.
#pragma once

#include <QPointer>
#include <QWidget>
#include <array>
#include <memory>
#include <vector>

#include "graphics/coordinates.h"
#include "graphics/graph_objects.h"
#include "graphics/graph_requests.h"
#include "graphics/graph_settings.h"
#include "graphics/popup_menus.h"

class CFunction;
class CSPIn;
class CSPDisplay;

class CSPGraph : public QWidget, public IRequestTarget {
    Q_OBJECT

public:
    static constexpr int kMaxBands = 8;

    CSPGraph(CSPDisplay* display, const SGraphCreate& create);
    ~CSPGraph() override;

    void ServeRequest(int code, SRequestBlock& block) override;
    const WindowSlotPtr& Slot() const { return m_slot; }
    const Text& Name() const { return m_name; }
    int Row() const { return m_row; }
    int Column() const { return m_column; }
    int Inputs() const { return static_cast<int>(m_functions.size()); }
    const SSPGraphSettings& Settings() const { return m_settings; }
    CFunction* Function(int index) const;
    // The plot rectangle of a band (from 1), empty when the band is not in use.
    QRect PlotRect(int band = 1) const;
    const CSPView& XView() const { return m_xView; }
    const CSPView& YView(int band = 1) const {
        return m_yViews[static_cast<size_t>(std::clamp(band, 1, kMaxBands) - 1)];
    }

    // The display's settings, through this graph's own working copy and commit.
    void PushSettings(const SSPGraphSettings& changes);
    // Stops every worker and lets go of the shell: the graph is going.
    void Detach();
    // The display is going first: the graph no longer reports to it.
    void ForgetDisplay() { m_display = nullptr; }
    // The input that a producer (an SPU output) feeds for the function at `index`,
    // bound to that function's data set; null for an index without a function.
    CSPIn* Input(int index);
    // Background calculations still running.
    int WorkerCount() const;
    // Draws the whole graph on a painter: with the screen colours, or with the
    // print colours for a printer or a picture.
    void Render(QPainter& p, bool print);
    // Status text of a key (graph_status.cpp).
    void StatusText(SGraphStatusQuery& query) const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;

private:
    // Requests, one function each.
    void OnGetSettings(SRequestBlock& block);
    void OnCommitSettings(SRequestBlock& block);
    void OnGetFunction(SRequestBlock& block);
    void OnSetFunction(SRequestBlock& block);
    void OnSetX(SRequestBlock& block);
    void OnStatus(SRequestBlock& block);
    void OnAddPopup(SRequestBlock& block);
    void OnSetPopup(SRequestBlock& block);
    void OnDelPopup(SRequestBlock& block);

    // The redraw pipeline of a settings change, in its order (graph_layout.cpp).
    void ApplySettings();
    void UpdateRanges();
    void ComputeTicks();
    void ApplyTitles();
    void Relayout();
    void DrawLegend(SPaintContext& c, const QRect& plot) const;
    void DataChanged();
    void DataLoaded(const Text& name);
    bool BandUsed(int band) const;
    std::vector<int> UsedBands() const;
    SPlotMap MapOf(int band) const;

    CSPDisplay* m_display;
    WindowSlotPtr m_slot = std::make_shared<SWindowSlot>();
    EventSinkPtr m_sink;
    Text m_name;
    Text m_displayName;
    int m_row, m_column;
    int m_flags;
    SSPGraphSettings m_settings;
    std::shared_ptr<SSPGraphSettings> m_work;
    std::vector<std::unique_ptr<CFunction>> m_functions;
    std::vector<std::unique_ptr<CSPIn>> m_inputs;
    std::vector<double> m_xValues; // SET graph X from a table
    Text m_xSource;
    CPopupMenus m_popups;
    bool m_detached = false;

    // Coordinates and objects.
    CSPView m_xView, m_zView;
    std::array<CSPView, kMaxBands> m_yViews;
    CText m_title;
    struct SStrip {
        CText title;
        CLabel labels;
        CScale scale;
    };
    SStrip m_xTop, m_xBottom;
    struct SBand {
        QRect plot;
        SStrip left, right;
        CActivationMark leftMark, rightMark;
        CGrid majorX, majorY, minorX, minorY;
        CMarkers markers;
        CSegments segments;
    };
    std::array<SBand, kMaxBands> m_bands;
    bool m_layoutValid = false;
};
