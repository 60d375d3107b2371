// What a display shows, compared picture by picture: a display with a
// speech waveform, a parameter track, a scatter of vowels and a filled curve
// is grabbed (the widget, not the screen) and compared with the committed
// reference within a small tolerance. KVO_UPDATE_REFERENCE=1 writes the
// references anew (and the README shows them).
#include <QImage>
#include <QTest>
#include <cmath>
#include <filesystem>

#include "graphics/sp_display.h"
#include "graphics/tests/graphics_fixture.h"
#include "graphics/tests/real_signal.h"

namespace {

const std::string kReferenceFolder = KVO_REFERENCE_FOLDER;

// The share of pixels that differ by more than `step` in a channel, and the mean difference.
struct SDifference {
    double changed = 1;
    double mean = 255;
};

SDifference Compare(const QImage& a, const QImage& b, int step = 64) {
    SDifference d;
    if (a.size() != b.size()) return d;
    const QImage x = a.convertToFormat(QImage::Format_RGB32), y = b.convertToFormat(QImage::Format_RGB32);
    long long changed = 0;
    double sum = 0;
    for (int row = 0; row < x.height(); ++row) {
        const auto* p = reinterpret_cast<const QRgb*>(x.constScanLine(row));
        const auto* q = reinterpret_cast<const QRgb*>(y.constScanLine(row));
        for (int col = 0; col < x.width(); ++col) {
            const int dr = std::abs(qRed(p[col]) - qRed(q[col])),
                      dg = std::abs(qGreen(p[col]) - qGreen(q[col])),
                      db = std::abs(qBlue(p[col]) - qBlue(q[col]));
            sum += (dr + dg + db) / 3.0;
            if (std::max({dr, dg, db}) > step) ++changed;
        }
    }
    const double pixels = double(x.width()) * x.height();
    d.changed = changed / pixels;
    d.mean = sum / pixels;
    return d;
}

class ScreenshotTest : public GraphicsTest {
protected:
    CSPDisplay* Window() {
        for (QWidget* w : QApplication::topLevelWidgets())
            if (auto* d = dynamic_cast<CSPDisplay*>(w)) return d;
        return nullptr;
    }

    void ExpectLikeReference(const QImage& shot, const std::string& name) {
        const std::string path = kReferenceFolder + "/" + name + ".png";
        if (std::getenv("KVO_UPDATE_REFERENCE")) {
            ASSERT_TRUE(shot.save(QString::fromStdString(path)));
            return;
        }
        const QImage reference(QString::fromStdString(path));
        ASSERT_FALSE(reference.isNull()) << "no reference " << path;
        const SDifference d = Compare(shot, reference);
        // Fonts and anti-aliasing may differ in a few pixels from machine to machine.
        EXPECT_LT(d.changed, 0.015) << name << ": " << d.changed * 100 << "% of the pixels differ";
        EXPECT_LT(d.mean, 4.0) << name;
        if (d.changed >= 0.015) shot.save(QString::fromStdString("/tmp/" + name + "_got.png"));
    }

    // Builds the display of the README: four graphs of three kinds of data.
    void BuildDisplay() {
        const std::string speech = SpeechFile();
        if (speech.empty()) GTEST_SKIP() << "espeak-ng did not speak";
        ASSERT_EQ(Run(L"NEW DISPLAY shot 'Kvo display' 3 1 1 2"), 0);
        ASSERT_EQ(Run(L"SET shot ENABLED RESTORED 0 0 720 540"), 0);
        ASSERT_EQ(Run(L"SET shot Height 5 3 5"), 0);
        ASSERT_EQ(Run(L"SET shot Axis Below Left * 'DejaVu Sans:7' Below Left * 'DejaVu Sans:7' On On"), 0);
        ASSERT_EQ(Run(L"SET shot Title On 'DejaVu Sans:8:B' HLGRAY /A"), 0);

        ASSERT_EQ(Run(L"LOAD SOUNDFILE '" + FromUtf8(speech) + L"'"), 0);
        ASSERT_EQ(Run(L"NEW WAVE speech 0_100%"), 0);
        ASSERT_EQ(Run(L"NEW GRAPH wave 1 shot 0"), 0);
        ASSERT_EQ(Run(L"SET wave Title On * * 'Speech (espeak-ng), waveform'"), 0);
        ASSERT_EQ(Run(L"SET wave XScale * * s '%0.1f'"), 0);
        ASSERT_EQ(Run(L"SET wave YScale -1 1 * '%0.1f' /A"), 0);
        ASSERT_EQ(EventsOf(L"SET wave Y 0 speech Waveform 0 512 HLGREEN Lines 0"),
                  std::vector<Text>{L"GRAPH wave DATASETLOADED speech"});

        // A pitch-like track: a falling contour with a rise at the end, one value a 10 ms.
        ASSERT_EQ(Run(L"NEW TABLE f0 /P 2 t hz"), 0);
        for (int i = 0; i < 140; ++i) {
            const double t = i * 0.01;
            const double hz = 180 - 40 * t + 25 * std::sin(t * 9) + (i > 110 ? (i - 110) * 1.5 : 0);
            Run(Format(L"SET f0 * t %.3f hz %.2f", t, hz));
        }
        ASSERT_EQ(Run(L"NEW GRAPH pitch 1 shot 1"), 0);
        ASSERT_EQ(Run(L"SET pitch Title On * * 'Parameter track (Hz)'"), 0);
        ASSERT_EQ(Run(L"SET pitch YScale 100 220 * '%0.0f' /A"), 0);
        ASSERT_EQ(EventsOf(L"SET pitch Y 0 f0 Parameter 0 3 YELLOW Steps Solid 1 Circle").size(), 1u);

        // Vowels: five speakers' formants around each vowel, F2 across and F1 down.
        ASSERT_EQ(Run(L"NEW TABLE vowels /P 2 f2 f1"), 0);
        const double centres[5][2] = {{2250, 280}, {2100, 400}, {1300, 750}, {850, 450}, {870, 310}};
        for (int v = 0; v < 5; ++v)
            for (int s = 0; s < 8; ++s)
                Run(Format(L"SET vowels * f2 %.0f f1 %.0f", centres[v][0] + 120 * std::sin(s * 2.1 + v),
                           centres[v][1] + 45 * std::cos(s * 1.7 + v * 2)));
        ASSERT_EQ(Run(L"NEW GRAPH scatter 1 shot 2 0"), 0);
        ASSERT_EQ(Run(L"SET scatter Title On * * 'Scatter: F1 over F2'"), 0);
        ASSERT_EQ(Run(L"SET scatter XScale 600 2600 * '%0.0f'"), 0);
        ASSERT_EQ(Run(L"SET scatter YScale 200 900 * '%0.0f' /I /A"), 0);
        ASSERT_EQ(EventsOf(L"SET scatter Y 0 vowels Scatter 0 HLMAGENTA Points Solid 1 Diamond").size(), 1u);

        // A filled curve: a resonance over frequency.
        ASSERT_EQ(Run(L"NEW TABLE curve /P 2 hz db"), 0);
        for (int i = 0; i <= 100; ++i) {
            const double hz = i * 40.0;
            const double db =
                -60 + 50 / (1 + std::pow((hz - 1200) / 250, 2)) + 20 / (1 + std::pow((hz - 2600) / 300, 2));
            Run(Format(L"SET curve * hz %.1f db %.3f", hz, db));
        }
        ASSERT_EQ(Run(L"NEW GRAPH area 1 shot 2 1"), 0);
        ASSERT_EQ(Run(L"SET area Title On * * 'XY plot, Area style'"), 0);
        ASSERT_EQ(Run(L"SET area XScale * * Hz '%0.0f'"), 0);
        ASSERT_EQ(Run(L"SET area YScale -60 0 * '%0.0f' /A"), 0);
        ASSERT_EQ(EventsOf(L"SET area Y 0 curve XYPlot 0 HLCYAN Area /F=-60").size(), 1u);
        ASSERT_TRUE(QTest::qWaitForWindowExposed(Window()));
        QCoreApplication::processEvents();
    }
};

TEST_F(ScreenshotTest, ADisplayWithAWaveformAParameterTrackAScatterAndACurve) {
    BuildDisplay();
    if (IsSkipped()) return;
    ExpectLikeReference(Window()->grab().toImage(), "display");
}

TEST_F(ScreenshotTest, AZoomIntoTheWaveformDrawnAsArea) {
    BuildDisplay();
    if (IsSkipped()) return;
    ASSERT_EQ(Run(L"SET wave XScale 0.55 0.8 s '%0.2f' /V"), 0);
    ASSERT_EQ(Run(L"SET wave Y 0 * * 0 512 HLGREEN Area 0 /A"), 0);
    QCoreApplication::processEvents();
    QWidget* wave = Window()->findChild<QWidget*>(QStringLiteral("graph00"));
    ASSERT_NE(wave, nullptr);
    ExpectLikeReference(wave->grab().toImage(), "zoom");
}

} // namespace
