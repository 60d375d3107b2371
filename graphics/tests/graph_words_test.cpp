// The words of display and graph commands, the settings copy rule, popup ids,
// the joystick's events, and the keyword tables that macros see through
// KVOCONSTANTS.
#include <gtest/gtest.h>

#include <fcntl.h>
#include <linux/joystick.h>
#include <sys/stat.h>
#include <unistd.h>

#include "graphics/display_item.h"
#include "graphics/graph_item.h"
#include "graphics/graph_settings.h"
#include "graphics/graph_words.h"
#include "graphics/joystick.h"
#include "graphics/popup_menus.h"
#include "base/subcommand_table.h"
#include "macro/constants.h"

namespace {

std::vector<Text> ConstantList(const wchar_t* name) {
    size_t count = 0;
    const SConstantList* lists = ConstantLists(count);
    for (size_t i = 0; i < count; ++i) {
        if (Text(lists[i].name) != name) continue;
        // A list without words of its own is the registered table of that name.
        if (!lists[i].words) {
            const CSubcommandList* table = CSubcommandRegistry::Find(name);
            return table ? table->Keywords() : std::vector<Text>{};
        }
        std::vector<Text> words;
        for (const wchar_t* const* w = lists[i].words; *w; ++w) words.emplace_back(*w);
        return words;
    }
    return {};
}

std::vector<Text> Words(const CKeywordTable& table) {
    std::vector<Text> words;
    for (size_t i = 0; i < table.Count(); ++i) words.emplace_back(table.Word(i));
    return words;
}

TEST(GraphWords, TheTablesAreTheListsMacrosCountBy) {
    EXPECT_EQ(DisplayKeywords(), ConstantList(L"DISPLAY"));
    EXPECT_EQ(GraphKeywords(), ConstantList(L"GRAPH"));
    EXPECT_EQ(Words(kColorWords), ConstantList(L"COLORS"));
    EXPECT_EQ(Words(kGraphTypeWords), ConstantList(L"GRAPHTYPE"));
    EXPECT_EQ(Words(kDrawStyleWords), ConstantList(L"DRAWSTYLE"));
    EXPECT_EQ(Words(kDrawSymbolWords), ConstantList(L"DRAWSYMBOL"));
    EXPECT_EQ(Words(kGridModeWords), ConstantList(L"GRIDMODE"));
    EXPECT_EQ(Words(kScaleTypeWords), ConstantList(L"SCALETYPE"));
    EXPECT_EQ(Words(kDisplayKindWords), ConstantList(L"ICONS"));
    EXPECT_EQ(Words(kWindowModeWords), ConstantList(L"WINDOWMODE"));
}

TEST(GraphWords, ColoursAreWordsOrThreeNumbersAndAnythingElseLeavesTheValue) {
    uint32_t c = 0x123456;
    EXPECT_TRUE(ReadColor(L"HLRED", c));
    EXPECT_EQ(c, 0x0000FFu);
    EXPECT_TRUE(ReadColor(L"brown", c)) << "words ignore case";
    EXPECT_EQ(c, 0x008080u);
    EXPECT_TRUE(ReadColor(L"10:20:30", c));
    EXPECT_EQ(c, 0x1E140Au) << "kept as 0x00BBGGRR";
    for (const wchar_t* bad : {L"10:20", L"10:20:300", L"-1:0:0", L"1:2:3:4", L"purple", L"*", L""}) {
        uint32_t kept = 0xABCDEF;
        EXPECT_FALSE(ReadColor(bad, kept)) << ToUtf8(bad);
        EXPECT_EQ(kept, 0xABCDEFu) << ToUtf8(bad);
    }
}

TEST(GraphWords, FontsKeepWhatIsNotGiven) {
    SFontSource none;
    SFontInfo f;
    EXPECT_TRUE(ReadFont(L"Courier:12.5:BI", f, none));
    EXPECT_EQ(f.name, L"Courier");
    EXPECT_EQ(f.tenths, 125);
    EXPECT_EQ(f.style, FONT_BOLD | FONT_ITALIC);
    EXPECT_TRUE(ReadFont(L"*:9", f, none));
    EXPECT_EQ(f.name, L"Courier") << "* keeps the face";
    EXPECT_EQ(f.tenths, 90);
    EXPECT_EQ(f.style, FONT_BOLD | FONT_ITALIC) << "no style part keeps the style";
    EXPECT_TRUE(ReadFont(L"?::U", f, none));
    EXPECT_EQ(f.tenths, 90);
    EXPECT_EQ(f.style, FONT_UNDERLINE);
    SFontInfo kept = f;
    EXPECT_FALSE(ReadFont(L"Arial:huge", f, none));
    EXPECT_EQ(f, kept);
}

TEST(GraphWords, ModesSwitchesAndStylesByWordOrNumber) {
    int mode = -1;
    EXPECT_TRUE(ReadXMode(L"Below", mode));
    EXPECT_EQ(mode, 4);
    EXPECT_TRUE(ReadYMode(L"3", mode)) << "a number stands for the word at its place";
    EXPECT_EQ(mode, 10);
    EXPECT_TRUE(ReadZMode(L"Right", mode));
    EXPECT_EQ(mode, 32);
    EXPECT_TRUE(ReadGridMode(L"Y", mode));
    EXPECT_EQ(mode, 10);
    EXPECT_FALSE(ReadXMode(L"Left", mode));
    int style = -1;
    bool steps = false;
    EXPECT_TRUE(ReadDrawStyle(L"Steps", style, steps));
    EXPECT_EQ(style, DRAW_LINES);
    EXPECT_TRUE(steps);
    EXPECT_TRUE(ReadDrawStyle(L"None", style, steps));
    EXPECT_EQ(style, DRAW_NONE);
    EXPECT_FALSE(steps);
    EXPECT_EQ(WaveDrawStyle(L"Area"), WAVE_AREA);
    EXPECT_EQ(WaveDrawStyle(L"Points"), WAVE_LINES) << "a waveform knows lines and areas only";
    EXPECT_EQ(GraphTypeOf(kGraphTypeWords.Find(L"3DSpectrogram")), FUNC_WATERFALL);
    EXPECT_EQ(GraphTypeOf(kGraphTypeWords.Find(L"Signal")), FUNC_WAVEFORM);
}

TEST(GraphSettings, AssignCopiesOnlyTheMarkedGroupsAndAllWhenNoneIsMarked) {
    SSPGraphSettings target;
    SSPGraphSettings source;
    source.bg.background = {kWhite, kBlack};
    source.title.lines = {L"changed"};
    source.grid.mode = 0;
    source.Mark(SET_TITLE);
    target.Assign(source);
    EXPECT_EQ(target.title.lines, std::vector<Text>{L"changed"});
    EXPECT_EQ(target.bg.background.screen, kBlack) << "an unmarked group stays";
    EXPECT_EQ(target.grid.mode, 15);
    EXPECT_TRUE(target.Changed(SET_TITLE, true));
    EXPECT_FALSE(target.Changed(SET_TITLE)) << "asking cleared it";
    SSPGraphSettings all;
    source.m_mask = 0;
    all.Assign(source);
    EXPECT_EQ(all.bg.background.screen, kWhite);
    EXPECT_EQ(all.grid.mode, 0);
}

TEST(GraphSettings, DefaultsOfANewDisplay) {
    const SSPGraphSettings s;
    EXPECT_EQ(s.bg.background.screen, kBlack);
    EXPECT_EQ(s.bg.background.print, kWhite);
    EXPECT_EQ(s.title.font.name, L"Arial Unicode MS");
    EXPECT_EQ(s.title.font.tenths, 100);
    EXPECT_EQ(s.grid.major.style, LINE_DOT);
    EXPECT_EQ(s.grid.major.color.screen, RGB_(128, 128, 128));
    EXPECT_EQ(s.grid.mode, 15);
    EXPECT_EQ(s.axisTitle.xMode, 5);
    EXPECT_EQ(s.axisTitle.yMode, 10);
    EXPECT_FALSE(s.markers.bar);
    EXPECT_TRUE(s.markers.caption);
}

TEST(PopupMenus, EntriesAreNumberedFrom4100PerMenuSkippingSeparatorsAndSubmenuMarks) {
    CPopupMenus menus;
    ASSERT_EQ(menus.Add(L"Edit", {L"Cut", L"-", L"Copy", L"+More", L"Deep", L"+", L"Paste"}), 0);
    ASSERT_EQ(menus.Add(L"View", {L"Zoom"}), 0);
    EXPECT_EQ(menus.Parameter(0, 0), 4100);
    EXPECT_EQ(menus.Parameter(0, 1), -1);
    EXPECT_EQ(menus.Parameter(0, 2), 4101);
    EXPECT_EQ(menus.Parameter(0, 3), -1);
    EXPECT_EQ(menus.Parameter(0, 4), 4102);
    EXPECT_EQ(menus.Parameter(0, 6), 4103);
    EXPECT_EQ(menus.Parameter(1, 0), 4200);
    std::vector<Text> many(50, L"x");
    EXPECT_EQ(menus.Add(L"View", many), 3) << "51 entries with ids";
    EXPECT_EQ(menus.Replace(L"View", many), 0);
    EXPECT_TRUE(menus.Remove(L"edit"));
    EXPECT_EQ(menus.Parameter(0, 49), 4149);
    EXPECT_TRUE(menus.Remove(L""));
    EXPECT_TRUE(menus.Empty());
}

TEST(Joystick, ButtonsToggleTheSharedMaskAndTheHatGivesEightDirections) {
    const std::string fifo = "/tmp/kvo_js_" + std::to_string(::getpid());
    ::unlink(fifo.c_str());
    ASSERT_EQ(::mkfifo(fifo.c_str(), 0600), 0);
    std::vector<uint32_t> masks;
    std::vector<int> povs;
    CJoystick stick([&](uint32_t m) { masks.push_back(m); }, [&](int p) { povs.push_back(p); });
    ASSERT_TRUE(stick.Open(fifo, {6, 7}));
    const int writer = ::open(fifo.c_str(), O_WRONLY);
    ASSERT_GE(writer, 0);
    auto send = [&](uint8_t type, uint8_t number, int16_t value) {
        js_event e{0, value, type, number};
        ASSERT_EQ(::write(writer, &e, sizeof e), static_cast<ssize_t>(sizeof e));
    };
    CJoystick::s_buttonMask = 0;
    send(JS_EVENT_BUTTON | JS_EVENT_INIT, 0, 0); // where the buttons stand: nothing to tell
    send(JS_EVENT_BUTTON, 3, 1);
    send(JS_EVENT_BUTTON, 3, 1); // no change, no event
    send(JS_EVENT_BUTTON, 0, 1);
    send(JS_EVENT_BUTTON, 3, 0);
    send(JS_EVENT_AXIS, 7, -32767); // up
    send(JS_EVENT_AXIS, 6, 32767);  // up and right
    send(JS_EVENT_AXIS, 7, 0);      // right
    send(JS_EVENT_AXIS, 6, 0);      // centred
    send(JS_EVENT_AXIS, 2, 500);    // another axis: nothing
    stick.Poll();
    ::close(writer);
    ::unlink(fifo.c_str());
    EXPECT_EQ(masks, (std::vector<uint32_t>{0x8, 0x9, 0x1}));
    EXPECT_EQ(povs, (std::vector<int>{0, 1, 2, -1}));
    EXPECT_EQ(CJoystick::Direction(-1, 1), 5);
    EXPECT_EQ(CJoystick::Direction(-1, -1), 7);
}

TEST(Joystick, AMachineWithoutOneHasNone) {
    CJoystick stick(nullptr, nullptr);
    EXPECT_FALSE(stick.Open("/nonexistent/js0"));
    EXPECT_FALSE(stick.IsOpen());
    stick.Poll(); // nothing to read, nothing to crash
}

} // namespace
