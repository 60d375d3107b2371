// Keyword lists of the language, as KVOCONSTANTS gives them. The order of
// each list is the order of the table it mirrors, so a word's position in a
// list is the number a macro may write in its place.
#include "macro/constants.h"

#include <iterator>

namespace {

static constexpr const wchar_t* kSpuMode[] = {L"EXIT",     L"STOP",     L"RUN",     L"TERMINATING",
                                              L"STOPPING", L"STARTING", L"WAITING", nullptr};
static constexpr const wchar_t* kColors[] = {
    L"BLACK",  L"BLUE",    L"GREEN",  L"CYAN",  L"RED",       L"MAGENTA", L"BROWN", L"GRAY", L"HLGRAY",
    L"HLBLUE", L"HLGREEN", L"HLCYAN", L"HLRED", L"HLMAGENTA", L"YELLOW",  L"WHITE", nullptr};
// The window styles of a display: its modes, chosen by the letters of NEW DISPLAY /S.
static constexpr const wchar_t* kWindowStyle[] = {L"F", L"D", L"M", nullptr};
// Display kinds, each with its window class and icon.
static constexpr const wchar_t* kIcons[] = {L"KVODefault", L"KVO",    L"Wave", L"SegmentDir",
                                            L"Dataset",    L"Viewer", nullptr};
static constexpr const wchar_t* kDialogControls[] = {
    L"STATIC",   L"BUTTON", L"CHECKBOX", L"EDIT",        L"COMBOBOX", L"LISTBOX",  L"SLIDER",
    L"PROGRESS", L"SPIN",   L"GROUPBOX", L"RADIOBUTTON", L"LISTVIEW", L"TREEVIEW", nullptr};
static constexpr const wchar_t* kDialogCommand[] = {L"TITLE",       L"LAYOUT",   L"ADDPOPUP",
                                                    L"SETPOPUP",    L"DELPOPUP", L"DELETEPOPUP",
                                                    L"CONTEXTMENU", L"FOCUS",    nullptr};
static constexpr const wchar_t* kIp[] = {L"CONNECT", L"RESET", L"SEND", L"RECEIVE", nullptr};
static constexpr const wchar_t* kDdeConv[] = {L"POKE",       L"REQUEST", L"ADVISE",
                                              L"STOPADVISE", L"EXECUTE", nullptr};
static constexpr const wchar_t* kDdeFormats[] = {L"TEXT", L"XLTABLE", L"CSV", L"UNICODETEXT", nullptr};
static constexpr const wchar_t* kDisplay[] = {
    L"Height",   L"Width",    L"Axis",     L"Frame",       L"Markers",    L"Bgcolors",   L"Legend",
    L"Title",    L"Print",    L"Graph",    L"AddToolBar",  L"SetToolBar", L"DelToolBar", L"DeleteToolBar",
    L"AddPopup", L"SetPopup", L"DelPopup", L"DeletePopup", L"FullScreen", L"OnTop", nullptr};
static constexpr const wchar_t* kGraphType[] = {
    L"XYPlot",        L"Function",  L"Spectrogram", L"ColorSpectrogram", L"Waterfall",
    L"3DSpectrogram", L"Parameter", L"Waveform",    L"Signal",           L"Scatter", nullptr};
static constexpr const wchar_t* kGraph[] = {L"X",
                                            L"Y",
                                            L"Axis",
                                            L"Frame",
                                            L"Markers",
                                            L"BgColors",
                                            L"Legend",
                                            L"Title",
                                            L"XScale",
                                            L"YScale",
                                            L"Splitters",
                                            L"CursorMode",
                                            L"CursorPosition",
                                            L"PlayCursor",
                                            L"AddPopup",
                                            L"SetPopup",
                                            L"DelPopup",
                                            L"DeletePopup",
                                            L"AddMarker",
                                            L"DelMarker",
                                            L"DeleteMarker",
                                            L"Print",
                                            L"ZScale",
                                            L"Orientation",
                                            L"Overview",
                                            nullptr};
static constexpr const wchar_t* kXLabelMode[] = {L"Off", L"Above", L"Below", L"Both", nullptr};
static constexpr const wchar_t* kYLabelMode[] = {L"Off", L"Left", L"Right", L"Both", nullptr};
static constexpr const wchar_t* kZLabelMode[] = {L"Off", L"Left", L"Right", L"Both", nullptr};
static constexpr const wchar_t* kGridMode[] = {L"Off", L"X", L"Y", L"Both", nullptr};
static constexpr const wchar_t* kScaleType[] = {L"label",     L"majortick", L"minortick",
                                                L"majorgrid", L"minorgrid", nullptr};
static constexpr const wchar_t* kCursorMode[] = {L"Off", L"1", L"2", L"Both", nullptr};
static constexpr const wchar_t* kCursorStyle[] = {L"Cross",     L"Crosshair", L"HBar",           L"VBar",
                                                  L"HBarCross", L"VBarCross", L"RangeSelection", L"Harmonic",
                                                  L"YHarmonic", nullptr};
static constexpr const wchar_t* kPlayCursorStyle[] = {L"VBar",  L"HBar",      L"VBarCross", L"HBarCross",
                                                      L"Cross", L"Crosshair", nullptr};
static constexpr const wchar_t* kDrawStyle[] = {L"Lines", L"Points", L"Area", L"Steps", L"None", nullptr};
static constexpr const wchar_t* kDrawSymbol[] = {L"None",  L"Square",  L"Triangle", L"Circle",
                                                 L"Cross", L"Diamond", nullptr};
static constexpr const wchar_t* kLineStyle[] = {L"Solid", L"Dash", L"Dot", nullptr};
static constexpr const wchar_t* kDcom[] = {L"INVOKEMETHOD", L"SETDATA", L"GETDATA", nullptr};
// The system's fonts and the command table are answered by KVOCONSTANTS
// itself. The program has no named images of its own (bitmaps, toolbar
// buttons): those lists are empty.
static constexpr const wchar_t* kNone[] = {nullptr};

static constexpr SConstantList kLists[] = {
    {L"LOAD", nullptr},
    {L"NEW", nullptr},
    {L"LIST", nullptr},
    {L"MSG", nullptr},
    {L"SPUMODE", kSpuMode},
    {L"WINDOWMODE", nullptr},
    {L"COLORS", kColors},
    {L"WINDOWSTYLE", kWindowStyle},
    {L"ICONS", kIcons},
    {L"WINDOWCOMMANDS", nullptr},
    {L"DIALOGCONTROLS", kDialogControls},
    {L"DIALOGCOMMAND", kDialogCommand},
    {L"VALUE", nullptr},
    {L"WAVE", nullptr},
    {L"TABLE", nullptr},
    {L"FILE", nullptr},
    {L"IP", kIp},
    {L"INSTANCE", nullptr},
    {L"DDECONV", kDdeConv},
    {L"DDEFORMATS", kDdeFormats},
    {L"SWITCH", nullptr},
    {L"SORTDIR", nullptr},
    {L"DISPLAY", kDisplay},
    {L"GRAPHTYPE", kGraphType},
    {L"GRAPH", kGraph},
    {L"XLABELMODE", kXLabelMode},
    {L"YLABELMODE", kYLabelMode},
    {L"ZLABELMODE", kZLabelMode},
    {L"GRIDMODE", kGridMode},
    {L"SCALETYPE", kScaleType},
    {L"CURSORMODE", kCursorMode},
    {L"CURSORSTYLE", kCursorStyle},
    {L"PLAYCURSORSTYLE", kPlayCursorStyle},
    {L"DRAWSTYLE", kDrawStyle},
    {L"DRAWSYMBOL", kDrawSymbol},
    {L"LINESTYLE", kLineStyle},
    {L"FONTS", kNone},
    {L"DCOM", kDcom},
    {L"NAMETYPES", nullptr},
    {L"BITMAPS", kNone},
    {L"BUTTONS", kNone},
    {L"COMMANDS", kNone},
};

struct SKeywords {
    const wchar_t* words[std::size(kLists) + 1] = {};
    constexpr SKeywords() {
        for (size_t i = 0; i < std::size(kLists); ++i) words[i] = kLists[i].name;
    }
};
static constexpr SKeywords kKeywords;

} // namespace

const SConstantList* ConstantLists(size_t& count) {
    count = std::size(kLists);
    return kLists;
}

const wchar_t* const* ConstantKeywords() {
    return kKeywords.words;
}
