// Displays driven as a user would: splitters dragged, the window resized and
// closed, keys, wheel, dropped files, toolbar buttons and popup entries, each
// arriving at the owning shell as the line a macro reads.
#include <QAction>
#include <QDropEvent>
#include <QImage>
#include <QMenu>
#include <QMimeData>
#include <QPainter>
#include <QSplitter>
#include <QSplitterHandle>
#include <QTest>
#include <QToolBar>
#include <QUrl>
#include <QWheelEvent>

#include "graphics/functions.h"
#include "graphics/graph_container.h"
#include "graphics/sp_display.h"
#include "graphics/sp_graph.h"
#include "graphics/tests/graphics_fixture.h"
#include "graphics/wave_data_set.h"
#include "graphics/wave_function.h"
#include "shell/message_codes.h"

namespace {

class DisplayTest : public GraphicsTest {
protected:
    CSPDisplay* Window(const char* objectName = "defaultDisplay") {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* d = dynamic_cast<CSPDisplay*>(w); d && w->objectName() == objectName) return d;
        return nullptr;
    }
    std::vector<int> RowHeights(CSPDisplay* d) {
        std::vector<int> heights;
        auto* rows = d->Container()->findChild<QSplitter*>(QString(), Qt::FindDirectChildrenOnly);
        for (int size : rows->sizes()) heights.push_back(size);
        return heights;
    }
};

TEST_F(DisplayTest, SplitterRatiosSurviveResizesAndDragsChangeThem) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Grid 3 1 2 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 0 0 400 600"), 0);
    CSPDisplay* d = Window();
    ASSERT_NE(d, nullptr);
    ASSERT_TRUE(QTest::qWaitForWindowExposed(d));
    // Dragging the first row splitter down by 60 pixels.
    auto* handle =
        d->Container()->findChild<QSplitterHandle*>(QStringLiteral("rowSplitter 1 - row: 1 col: 0"));
    ASSERT_NE(handle, nullptr);
    const std::vector<int> before = RowHeights(d);
    QTest::mousePress(handle, Qt::LeftButton, {}, QPoint(5, 2));
    QTest::mouseMove(handle, QPoint(5, 62));
    QTest::mouseRelease(handle, Qt::LeftButton, {}, QPoint(5, 62));
    const std::vector<int> dragged = RowHeights(d);
    ASSERT_GT(dragged[0], before[0] + 30);
    const Text afterDrag = Value(L"~d[HROWS]");
    // A resize to twice the height keeps every row's share.
    d->resize(400, 1200);
    QCoreApplication::processEvents();
    const std::vector<int> resized = RowHeights(d);
    const double total = resized[0] + resized[1] + resized[2];
    const double oldTotal = dragged[0] + dragged[1] + dragged[2];
    for (int r = 0; r < 3; ++r) EXPECT_NEAR(resized[r] / total, dragged[r] / oldTotal, 0.01) << "row " << r;
    // The status reads the shares of the pixels now shown.
    const std::vector<Text> shares = SplitBlanks(Value(L"~d[HROWS]"));
    ASSERT_EQ(shares.size(), 3u);
    EXPECT_NEAR(std::stod(shares[0]), resized[0] / total, 1e-9);
    EXPECT_NE(afterDrag, Text(L"0.33333333333333331483 0.33333333333333331483 0.33333333333333337034 "));
}

TEST_F(DisplayTest, AWorkingCopyShowsNothingUntilACommandWithApply) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Grid 2"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 0 0 300 400"), 0);
    CSPDisplay* d = Window();
    ASSERT_TRUE(d && QTest::qWaitForWindowExposed(d));
    const std::vector<int> even = RowHeights(d);
    EXPECT_NEAR(even[0], even[1], 1);
    ASSERT_EQ(Run(L"SET d Height 1 3"), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(RowHeights(d), even);
    ASSERT_EQ(Run(L"SET d Bgcolors RED /A"), 0);
    QCoreApplication::processEvents();
    const std::vector<int> uneven = RowHeights(d);
    EXPECT_NEAR(uneven[1], 3 * uneven[0], 3);
}

TEST_F(DisplayTest, SizesBelowTwentyKeepThePresentOnes) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Size 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 10 10 320 240"), 0);
    CSPDisplay* d = Window();
    ASSERT_NE(d, nullptr);
    ASSERT_EQ(Run(L"SET d * * 30 40 5 5"), 0);
    EXPECT_EQ(d->geometry().size(), QSize(320, 240));
    EXPECT_EQ(d->geometry().topLeft(), QPoint(30, 40));
    ASSERT_EQ(Run(L"SET d * * * * 500 19"), 0);
    EXPECT_EQ(d->geometry().size(), QSize(500, 240));
}

TEST_F(DisplayTest, TheCloseBoxAsksTheOwningShellAndLeavesTheWindowOpen) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Closing 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED"), 0);
    CSPDisplay* d = Window();
    ASSERT_NE(d, nullptr);
    EXPECT_EQ(Event([&] { EXPECT_FALSE(d->close()); }), L"DISPLAY d CLOSE 0");
    EXPECT_TRUE(d->isVisible());
    EXPECT_EQ(Window(), d);
    // DELETE is how the macro closes it.
    ASSERT_EQ(Run(L"DELETE d"), 0);
    EXPECT_EQ(Window(), nullptr);
}

TEST_F(DisplayTest, KeysWheelAndDroppedFilesReachTheShellAsLines) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Input 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED"), 0);
    CSPDisplay* d = Window();
    ASSERT_NE(d, nullptr);
    const std::vector<Text> keys = Events(4, [&] {
        QTest::keyClick(d, Qt::Key_Shift);
        QTest::keyClick(d, Qt::Key_A, Qt::ShiftModifier);
        QTest::keyClick(d, Qt::Key_F1);
        QTest::keyClick(d, Qt::Key_Escape);
        QTest::keyClick(d, Qt::Key_Left, Qt::ControlModifier);
    });
    EXPECT_EQ(keys, (std::vector<Text>{L"DISPLAY d KEY 131137 A", L"DISPLAY d KEY 112 F1",
                                       L"DISPLAY d KEY -1", L"DISPLAY d KEY 65573 left"}))
        << "Shift alone sends nothing";

    QWheelEvent wheel(QPointF(10, 10), d->mapToGlobal(QPointF(10, 10)), QPoint(), QPoint(0, -120),
                      Qt::NoButton, Qt::ControlModifier, Qt::NoScrollPhase, false);
    EXPECT_EQ(Event([&] { QCoreApplication::sendEvent(d, &wheel); }), L"DISPLAY d WHEEL -120 0 0 0 1 0");

    QMimeData files;
    files.setUrls({QUrl::fromLocalFile(QStringLiteral("/tmp/one.wav")),
                   QUrl::fromLocalFile(QStringLiteral("/tmp/two.wav"))});
    // A file manager drags the files in and drops them: one message a file, each
    // with a table of its path.
    QDragEnterEvent enter(QPoint(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    QDropEvent drop(QPointF(5, 5), Qt::CopyAction, &files, Qt::LeftButton, Qt::NoModifier);
    const std::vector<Text> dropped = Events(2, [&] {
        QCoreApplication::sendEvent(d, &enter);
        EXPECT_TRUE(enter.isAccepted());
        QCoreApplication::sendEvent(d, &drop);
    });
    ASSERT_EQ(dropped.size(), 2u);
    EXPECT_TRUE(dropped[0].rfind(L"DISPLAY d DROPFILE T#", 0) == 0) << ToUtf8(dropped[0]);
    EXPECT_EQ(dropped[0].substr(dropped[0].find(L'=')), L"=/tmp/one.wav");
    EXPECT_EQ(dropped[1].substr(dropped[1].find(L'=')), L"=/tmp/two.wav");
}

TEST_F(DisplayTest, ToolbarButtonsAndPopupEntriesSendTheirIds) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Commands 1"), 0);
    ASSERT_EQ(Run(L"SET d AddToolBar 0 Top * 101 * 102"), 0);
    ASSERT_EQ(Run(L"SET d SetToolBar 102 /C"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED"), 0);
    CSPDisplay* d = Window();
    auto* bar = d->findChild<QToolBar*>(QStringLiteral("toolbar 0"));
    ASSERT_NE(bar, nullptr);
    QAction* play = nullptr;
    QAction* stop = nullptr;
    for (QAction* a : bar->actions()) {
        if (a->data().toInt() == 101) play = a;
        if (a->data().toInt() == 102) stop = a;
    }
    ASSERT_TRUE(play && stop);
    // Checked by the macro: a click unchecks, the next checks again.
    const std::vector<Text> pressed = Events(3, [&] {
        play->trigger();
        stop->trigger();
        stop->trigger();
    });
    EXPECT_EQ(pressed, (std::vector<Text>{L"DISPLAY d TBCOMMAND 101 play", L"DISPLAY d TBUNCHECK 102 stop",
                                          L"DISPLAY d TBCHECK 102 stop"}));
    ASSERT_EQ(Run(L"SET d SetToolBar 101 /D"), 0);
    EXPECT_FALSE(play->isEnabled());

    ASSERT_EQ(Run(L"SET d AddPopup Edit Copy - Paste"), 0);
    ASSERT_EQ(Run(L"SET d AddPopup View Zoom"), 0);
    QMenu* menu = d->Popups().Build(d, [&](int param) { d->Sink()->Post(MSG_POPUP, param); });
    ASSERT_NE(menu, nullptr);
    // Two menus: a submenu each; Paste is the second entry with an id of the first menu.
    QMenu* edit = menu->actions()[0]->menu();
    ASSERT_NE(edit, nullptr);
    const std::vector<Text> chosen = Events(2, [&] {
        edit->actions()[2]->trigger();
        menu->actions()[1]->menu()->actions()[0]->trigger();
    });
    EXPECT_EQ(chosen, (std::vector<Text>{L"DISPLAY d POPUP 4101", L"DISPLAY d POPUP 4200"}));
    delete menu;
}

TEST_F(DisplayTest, DisplayKindsAreWindowsOfTheirClassNames) {
    ASSERT_EQ(Run(L"NEW DISPLAY a A 1 /I=Dataset"), 0);
    ASSERT_EQ(Run(L"NEW DISPLAY b B 1 /I=5"), 0);
    EXPECT_NE(Window("datasetDisplay"), nullptr);
    EXPECT_NE(Window("viewerDisplay"), nullptr);
    CSPDisplay* a = Window("datasetDisplay");
    EXPECT_NE(a->findChild<CSPGraphContainerWnd*>(QStringLiteral("graph container")), nullptr);
    ASSERT_EQ(Run(L"NEW GRAPH g 1 a 0"), 0);
    EXPECT_NE(a->findChild<CSPGraph*>(QStringLiteral("graph00")), nullptr);
}

TEST_F(DisplayTest, SplittersOutsideOneToEightLeaveBandOneAndPalettesNeedTwoTo256Rows) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Bands 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 0 0 400 400"), 0);
    ASSERT_EQ(Run(L"NEW GRAPH g 1 d"), 0);
    CSPGraph* g = Window()->findChild<CSPGraph*>();
    ASSERT_NE(g, nullptr);
    ASSERT_EQ(Run(L"SET g Splitters 9 /A"), 0);
    EXPECT_EQ(g->Settings().bands, 1u);
    EXPECT_FALSE(g->PlotRect(1).isEmpty());
    ASSERT_EQ(Run(L"SET g Splitters 1 2 /A"), 0);
    EXPECT_EQ(g->Settings().bands, 3u);
    EXPECT_LT(g->PlotRect(1).bottom(), g->PlotRect(2).top());

    Run(L"NEW TABLE one /P 3 r g b");
    Run(L"SET one * r 255 g 0 b 0");
    Run(L"NEW TABLE three /P 3 r g b");
    for (int i = 0; i < 3; ++i) Run(L"SET three * r 300 g -5 b 10");
    ASSERT_EQ(Run(L"SET g Y 0 * Spectrogram 0 16 -90 0 one"), 0);
    auto& params = static_cast<SSPSpectrogramParams&>(g->Function(0)->Params());
    EXPECT_TRUE(params.screenPalette.empty()) << "one row is no palette";
    ASSERT_EQ(Run(L"SET g Y 0 * * 0 16 -90 0 three"), 0);
    auto& taken = static_cast<SSPSpectrogramParams&>(g->Function(0)->Params());
    ASSERT_EQ(taken.screenPalette.size(), 3u);
    EXPECT_EQ(taken.screenPalette[0], RGB_(255, 0, 10)) << "values clamp to 0..255";
    ASSERT_EQ(Run(L"SET g Y 0 * * 0 16 0 0"), 336) << "low must lie below high";
}

} // namespace

namespace {

TEST_F(DisplayTest, PrintColoursAndTheLegendDrawWhereTheScreenOnesDoNot) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Print 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 0 0 400 300"), 0);
    ASSERT_EQ(Run(L"NEW GRAPH g 1 d"), 0);
    ASSERT_EQ(Run(L"SET g BgColors BLACK 10:20:30"), 0);
    ASSERT_EQ(Run(L"SET g BgColors WHITE 250:240:230 /P /A"), 0);
    CSPGraph* g = Window()->findChild<CSPGraph*>();
    ASSERT_NE(g, nullptr);
    // A point of the plot away from grid lines.
    const QRect plot = g->PlotRect();
    const QPoint inside(plot.left() + plot.width() * 37 / 100, plot.top() + plot.height() * 41 / 100);
    QImage screen(g->size(), QImage::Format_RGB32), print(g->size(), QImage::Format_RGB32);
    QPainter ps(&screen), pp(&print);
    g->Render(ps, false);
    g->Render(pp, true);
    EXPECT_EQ(QColor(screen.pixel(inside)), QColor(10, 20, 30));
    EXPECT_EQ(QColor(print.pixel(inside)), QColor(250, 240, 230));
    EXPECT_EQ(QColor(screen.pixel(2, 2)), QColor(Qt::black));
    EXPECT_EQ(QColor(print.pixel(2, 2)), QColor(Qt::white));
    // The legend: a stroke of the function's colour in the plot's upper right corner.
    Run(L"NEW TABLE t /P 2 x y");
    Run(L"SET t * x 0 y 0");
    Run(L"SET t * x 1 y 1");
    ASSERT_EQ(EventsOf(L"SET g Y 0 t XYPlot 0 HLRED").size(), 1u);
    auto redNearTopRight = [&](const QImage& image) {
        for (int y = plot.top(); y < plot.top() + 20; ++y)
            for (int x = plot.right() - 80; x < plot.right(); ++x)
                if (QColor(image.pixel(x, y)) == QColor(255, 0, 0)) return true;
        return false;
    };
    QImage before(g->size(), QImage::Format_RGB32);
    QPainter pb(&before);
    g->Render(pb, false);
    ASSERT_EQ(Run(L"SET g Legend On * WHITE /A"), 0);
    QImage after(g->size(), QImage::Format_RGB32);
    QPainter pa(&after);
    g->Render(pa, false);
    EXPECT_FALSE(redNearTopRight(before));
    EXPECT_TRUE(redNearTopRight(after));
}

} // namespace

namespace {

TEST_F(DisplayTest, ALongRecalculationRunsOnAWorkerThatOnlyPostsBack) {
    ASSERT_EQ(Run(L"NEW DISPLAY d Worker 1"), 0);
    ASSERT_EQ(Run(L"SET d ENABLED RESTORED 0 0 700 300"), 0);
    ASSERT_EQ(Run(L"NEW GRAPH g 1 d"), 0);
    ASSERT_EQ(Run(L"NEW WAVE noise /Q 1 48000"), 0);
    ASSERT_EQ(Run(L"SET noise SIGNAL 0 * 0 Noise 480000 0.5 normal 3"), 0);
    ASSERT_EQ(Run(L"SET noise END /E"), 0);
    ASSERT_EQ(EventsOf(L"SET g Y 0 noise Waveform 0 300 HLGREEN Lines 0"),
              std::vector<Text>{L"GRAPH g DATASETLOADED noise"});
    CSPDisplay* d = Window();
    CSPGraph* g = d->findChild<CSPGraph*>();
    ASSERT_NE(g, nullptr);
    // Every recalculation now counts as long.
    const long long inlineWork = CWaveFunction::s_inlineWork;
    CWaveFunction::s_inlineWork = 0;
    ASSERT_EQ(Run(L"SET g XScale 2.5 7.5 /V /A"), 0);
    g->repaint();
    EXPECT_TRUE(Spin([&] { return d->WorkerCount() == 0; }));
    QCoreApplication::processEvents();
    g->repaint();
    auto& wave = static_cast<CWaveDataSet&>(*g->Function(0)->DataSet());
    EXPECT_EQ(wave.Columns(), g->PlotRect().width());
    EXPECT_FALSE(wave.NeedsRecalculation(g->PlotRect().width(), 2.5, 7.5)) << "the worker's columns are in";
    // A display that goes while its worker runs waits for the worker; nothing is posted to it after.
    ASSERT_EQ(Run(L"SET g XScale 1 9 /V /A"), 0);
    g->repaint();
    ASSERT_EQ(Run(L"DELETE g d"), 0);
    QCoreApplication::processEvents();
    EXPECT_EQ(Window(), nullptr);
    CWaveFunction::s_inlineWork = inlineWork;
}

} // namespace
