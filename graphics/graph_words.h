// The words of display and graph commands: colours, fonts, switches, label
// and grid modes, line styles, draw styles and symbols. Each reader answers
// whether the word was taken; "*" is never taken, so a caller skips it.
#pragma once

#include <cstdint>
#include <vector>

#include "base/keyword_table.h"
#include "base/text.h"
#include "graphics/graph_settings.h"

// The constant lists of the language, in the order macros count them by.
extern const CKeywordTable kColorWords;      // COLORS
extern const CKeywordTable kSwitchWords;     // Off, On
extern const CKeywordTable kXLabelModeWords; // Off, Above, Below, Both
extern const CKeywordTable kYLabelModeWords; // Off, Left, Right, Both
extern const CKeywordTable kZLabelModeWords;
extern const CKeywordTable kGridModeWords;  // Off, X, Y, Both
extern const CKeywordTable kLineStyleWords; // Solid, Dash, Dot
extern const CKeywordTable kDrawStyleWords; // Lines, Points, Area, Steps, None
extern const CKeywordTable kDrawSymbolWords;
extern const CKeywordTable kScaleTypeWords; // label, majortick, minortick, majorgrid, minorgrid
extern const CKeywordTable kGraphTypeWords; // GRAPHTYPE
extern const CKeywordTable kWindowModeWords;
extern const CKeywordTable kWindowCommandWords;
extern const CKeywordTable kDisplayKindWords; // KVODefault ... Viewer

extern const uint32_t kColorValues[16];
// The function type each GRAPHTYPE word gives.
int GraphTypeOf(int graphTypeWord);

bool IsSkip(TextView word);
// A COLORS word or "r:g:b" with numbers 0..255; anything else leaves `color`.
bool ReadColor(TextView word, uint32_t& color);
// "name:size:style": the name or an index into `fonts`; "*", "?" or an empty
// name keeps the present one. Size in points (kept in tenths), style letters
// B, I, U.
// The program's font list, fetched from the main window the first time a font
// is given by its index.
class CShellEnv;
struct SFontSource {
    explicit SFontSource(CShellEnv* e = nullptr) : env(e) {}
    CShellEnv* env;
    const std::vector<Text>& List();

private:
    std::vector<Text> m_list;
    bool m_loaded = false;
};
bool ReadFont(TextView word, SFontInfo& font, SFontSource& fonts);
bool ReadSwitch(TextView word, bool& on);
// Label modes as bits: X 0, 1, 4, 5; Y 0, 2, 8, 10; Z 0, 16, 32, 48.
bool ReadXMode(TextView word, int& mode);
bool ReadYMode(TextView word, int& mode);
bool ReadZMode(TextView word, int& mode);
// Grid mode 0, 5, 10, 15.
bool ReadGridMode(TextView word, int& mode);
bool ReadLineStyle(TextView word, int& style);
// Lines, Points, Area, Steps, None as the codes of XY-like functions.
bool ReadDrawStyle(TextView word, int& style, bool& steps);
// Lines 0, Area 1, anything else 0.
int WaveDrawStyle(TextView word);
bool ReadSymbol(TextView word, int& symbol);
bool ReadInteger(TextView word, long long& value);
bool ReadNumber(TextView word, double& value);
