// Settings records of displays, graphs and functions. Every record carries a
// change mask with one bit for each group of fields: assigning a record copies
// only the groups whose bit is set in the source (all of them when the mask is
// 0), and a consumer asks whether a bit changed, clearing it as it asks. This
// is how a display pushes only what a macro changed to its graphs.
#pragma once

#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "base/text.h"

// Colours as the language writes them: 0x00BBGGRR.
constexpr uint32_t RGB_(int r, int g, int b) {
    return static_cast<uint32_t>(r) | (static_cast<uint32_t>(g) << 8) | (static_cast<uint32_t>(b) << 16);
}
constexpr uint32_t kBlack = 0x000000, kWhite = 0xFFFFFF, kRed = 0x000080, kHlRed = 0x0000FF;

// Every colour exists twice: for the screen and for print.
struct SColorPair {
    uint32_t screen = kBlack;
    uint32_t print = kBlack;
    uint32_t& For(bool print_) { return print_ ? print : screen; }
    uint32_t Of(bool print_) const { return print_ ? print : screen; }
    bool operator==(const SColorPair&) const = default;
};

enum EFontStyle : int { FONT_BOLD = 1, FONT_ITALIC = 2, FONT_UNDERLINE = 4 };
struct SFontInfo {
    Text name = L"Arial Unicode MS";
    int tenths = 100; // the size in tenths of a point
    int style = 0;
    bool operator==(const SFontInfo&) const = default;
};

enum ELineStyle : int { LINE_SOLID = 0, LINE_DASH = 1, LINE_DOT = 2 };
struct SPenInfo {
    int style = LINE_SOLID;
    int width = 1;
    SColorPair color;
    bool operator==(const SPenInfo&) const = default;
};

// The base of all settings records: the change mask.
struct SSPSettings {
    uint64_t m_mask = 0;
    void Mark(uint64_t bits) { m_mask |= bits; }
    // "Has this bit changed?", clearing it when asked to.
    bool Changed(uint64_t bit, bool clear = false) {
        const bool changed = (m_mask & bit) != 0;
        if (clear) m_mask &= ~bit;
        return changed;
    }
};

// Label and title modes: X 1 above, 4 below; Y 2 left, 8 right; Z 16 left, 32 right.
enum ESideBits : int { SIDE_ABOVE = 1, SIDE_LEFT = 2, SIDE_BELOW = 4, SIDE_RIGHT = 8 };
// Grid mode: 5 X, 10 Y, 15 both (bits of the major and minor lines).
enum EGridBits : int { GRID_X = 5, GRID_Y = 10 };

// Groups of graph settings, one bit each. The display's defaults are the groups
// up to the cursors; the rest belongs to a graph only.
enum ESettingsBit : uint64_t {
    SET_BACKGROUND = 1u << 0,
    SET_CURSORWIDTH = 1u << 1,
    SET_TITLE = 1u << 2,
    SET_LEGEND = 1u << 3,
    SET_AXISTITLE = 1u << 4,
    SET_LABELS = 1u << 5,
    SET_FRAME = 1u << 6,
    SET_GRID = 1u << 7,
    SET_MARKERS = 1u << 8,
    SET_SEGMENTS = 1u << 9,
    SET_CURSORS = 1u << 10,
    SET_RANGE_X = 1u << 11,
    SET_RANGE_Y = 1u << 12,
    SET_RANGE_Z = 1u << 13,
    SET_ORIENTATION = 1u << 14,
    SET_BANDS = 1u << 15,
    SET_OVERVIEW = 1u << 16,
    // Not a group: set beside a group whenever one of its colours changed.
    SET_COLOR = 1u << 20,
};
constexpr uint64_t SET_DISPLAY_GROUPS = (SET_CURSORS << 1) - 1;
constexpr uint64_t SET_RANGES = SET_RANGE_X | SET_RANGE_Y | SET_RANGE_Z;
constexpr uint64_t SET_ALL_GROUPS = (SET_OVERVIEW << 1) - 1;

// One axis of a graph as SET XScale / YScale / ZScale give it. Until a macro
// sets the range, the range follows the data.
struct SScaleSettings {
    bool rangeSet = false;
    double low = 0, high = 1;
    bool viewSet = false;
    double viewLow = 0, viewHigh = 1;
    Text unit;
    Text format = L"%0.2f";
    bool inverted = false;
    bool logarithmic = false;
    // Positions from a table: (SCALETYPE index, position).
    std::vector<std::pair<int, double>> positions;
    // Z only.
    int labelMode = 0;
    int labelMode2 = 0;
    int levels = -1;
    bool on = true;
    int mode = 0;
    double number1 = 0, number2 = 0;
    bool operator==(const SScaleSettings&) const = default;
};

struct SSPGraphSettings : SSPSettings {
    struct SBackground {
        SColorPair background{kBlack, kWhite};
        SColorPair plot{kBlack, kWhite};
    } bg;
    struct SCursorWidth {
        int x = 1, y = 1;
    } cursorWidth;
    struct STitle {
        bool visible = true;
        SFontInfo font;
        SColorPair color{kWhite, kBlack};
        std::vector<Text> lines;
    } title;
    struct SLegend {
        bool visible = false;
        SFontInfo font;
        SColorPair color{kWhite, kBlack};
    } legend;
    struct SAxisTitle {
        int xMode = SIDE_ABOVE | SIDE_BELOW;
        int yMode = SIDE_LEFT | SIDE_RIGHT;
        bool visible = false;
        SFontInfo font;
        SColorPair color{kWhite, kBlack};
        double offsetX = 0, offsetY = 0;
    } axisTitle;
    struct SLabels {
        int xMode = SIDE_ABOVE | SIDE_BELOW;
        int yMode = SIDE_LEFT | SIDE_RIGHT;
        bool xScaleOn = true, yScaleOn = true;
        bool xVisible = false;
        bool yVisible = true;
        SFontInfo font;
        SColorPair color{kWhite, kBlack};
    } labels;
    struct SFrame {
        int xMode = SIDE_ABOVE | SIDE_BELOW;
        int yMode = SIDE_LEFT | SIDE_RIGHT;
        int tickMajor = 2, tickMinor = 2; // tick lengths in pixels
        int majorCount = 2;
        int minorX = 7, minorY = 3;
    } frame;
    struct SGrid {
        SPenInfo major{LINE_DOT, 1, {RGB_(128, 128, 128), kBlack}};
        int mode = GRID_X | GRID_Y;
        SPenInfo minor{LINE_SOLID, 1, {kWhite, kBlack}};
    } grid;
    struct SMarkers {
        bool bar = false;
        bool caption = true;
        SFontInfo font;
        SColorPair color{kHlRed, kBlack};
    } markers;
    struct SSegments {
        SFontInfo font;
        SColorPair color{kHlRed, kBlack};
    } segments;
    struct SCursors {
        SFontInfo font;
        SColorPair color{kHlRed, kBlack};
        SColorPair color2{kWhite, kBlack};
        SColorPair color3{kHlRed, kBlack};
    } cursors;
    // A graph's own groups.
    SScaleSettings x, y, z;
    struct SOrientation {
        int angle = 0; // 0, 90, 180, 270
        int flags = 0; // bit 0 inverts X, bit 1 inverts Y
    } orientation;
    unsigned bands = 1; // bit 0 for band 1
    bool overview = false;

    // The copy rule: only the groups marked in `source` (all when its mask is 0).
    // The marks travel along, so the receiver knows what changed.
    void Assign(const SSPGraphSettings& source);
};

// Function types, as SET graph Y makes them.
enum EFunctionType : int {
    FUNC_XY = 0,
    FUNC_PARAMETER = 1,
    FUNC_SPECTROGRAM = 2,
    FUNC_WAVEFORM = 3,
    FUNC_SCATTER = 4,
    FUNC_WATERFALL = 5,
};

// Draw styles: for XY and friends Lines 0, Points 1, Area 2, None 3 (Steps is
// Lines with the step flag); for a waveform Lines 0, Area 1.
enum EDrawStyle : int { DRAW_LINES = 0, DRAW_POINTS = 1, DRAW_AREA = 2, DRAW_NONE = 3 };
enum EWaveStyle : int { WAVE_LINES = 0, WAVE_AREA = 1 };
enum EDrawSymbol : int {
    SYMBOL_NONE = 0,
    SYMBOL_SQUARE,
    SYMBOL_TRIANGLE,
    SYMBOL_CIRCLE,
    SYMBOL_CROSS,
    SYMBOL_DIAMOND
};

struct SSPFunctionParams : SSPSettings {
    virtual ~SSPFunctionParams() = default;
    virtual int Type() const = 0;
    virtual std::shared_ptr<SSPFunctionParams> Clone() const = 0;

    int band = 0; // 0: all bands
    SColorPair color{RGB_(0, 255, 0), kBlack};
    int drawStyle = DRAW_LINES;
    bool steps = false;
    bool hasFillBase = false;
    double fillBase = 0;
    int lineStyle = LINE_SOLID;
    int lineWidth = 1; // kept plus one, as the argument 0..4 gives 1..5
    int symbol = SYMBOL_NONE;
    int symbolSize = 5;
};

struct SSPXYFunctionParams : SSPFunctionParams {
    int Type() const override { return FUNC_XY; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPXYFunctionParams>(*this);
    }
};
struct SSPParamFunctionParams : SSPFunctionParams {
    int Type() const override { return FUNC_PARAMETER; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPParamFunctionParams>(*this);
    }
};
struct SSPScatterFunctionParams : SSPFunctionParams {
    SSPScatterFunctionParams() {
        symbol = SYMBOL_CROSS;
        drawStyle = DRAW_POINTS;
    }
    int Type() const override { return FUNC_SCATTER; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPScatterFunctionParams>(*this);
    }
};
struct SSPWaveFunctionParams : SSPFunctionParams {
    int Type() const override { return FUNC_WAVEFORM; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPWaveFunctionParams>(*this);
    }
    int columns = 512;
    bool rolling = false;
};
struct SSPSpectrogramParams : SSPFunctionParams {
    int Type() const override { return FUNC_SPECTROGRAM; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPSpectrogramParams>(*this);
    }
    int levels = 64;
    double low = -100, high = 0;
    std::vector<uint32_t> screenPalette, printPalette; // 0x00BBGGRR entries
    bool inverted = false;
};
struct SSPWaterfallParams : SSPFunctionParams {
    int Type() const override { return FUNC_WATERFALL; }
    std::shared_ptr<SSPFunctionParams> Clone() const override {
        return std::make_shared<SSPWaterfallParams>(*this);
    }
    int spectra = 20;
    int points = 256;
    SColorPair lineColor{kWhite, kBlack};
    SColorPair fillColor{kBlack, kWhite};
};
