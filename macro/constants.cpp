// Keyword lists of the language, as KVOCONSTANTS gives them. The order of
// each list is the order of the table it mirrors, so a word's position in a
// list is the number a macro may write in its place.
#include "macro/constants.h"

#include <iterator>

namespace {

static constexpr const wchar_t* kLoad[] = {L"MACROCODE", L"SPUCODE", L"SOUNDFILE", L"SOURCECODE", nullptr};
static constexpr const wchar_t* kNew[] = {L"TABLE",   L"FILE",  L"MENU", L"VALUE",    L"SPU",
                                          L"DISPLAY", L"GRAPH", L"WAVE", L"INSTANCE", L"DDECONV",
                                          L"IP",      L"DCOM",  nullptr};
static constexpr const wchar_t* kList[] = {
    L"TABLE",   L"FILE", L"MENU", L"VALUE", L"SPU",       L"DISPLAY", L"GRAPH",     L"WAVE",  L"INSTANCE",
    L"DDECONV", L"IP",   L"DCOM", L"SHELL", L"MACROCODE", L"SPUCODE", L"SOUNDFILE", L"CLASS", nullptr};
static constexpr const wchar_t* kMsg[] = {L"LOOP",    L"MAIN", L"MENU",  L"DESKTOP", L"EXIT", L"RUN",
                                          L"LOGFILE", L"BEEP", L"DEBUG", L"NOMAIN",  nullptr};
static constexpr const wchar_t* kSpuMode[] = {L"EXIT",     L"STOP",     L"RUN",     L"TERMINATING",
                                              L"STOPPING", L"STARTING", L"WAITING", nullptr};
static constexpr const wchar_t* kWindowMode[] = {L"NOWINDOW", L"HIDDEN", L"VISIBLE", L"ENABLED", nullptr};
static constexpr const wchar_t* kColors[] = {
    L"BLACK",  L"BLUE",    L"GREEN",  L"CYAN",  L"RED",       L"MAGENTA", L"BROWN", L"GRAY", L"HLGRAY",
    L"HLBLUE", L"HLGREEN", L"HLCYAN", L"HLRED", L"HLMAGENTA", L"YELLOW",  L"WHITE", nullptr};
// The window styles of a display: its modes, chosen by the letters of NEW DISPLAY /S.
static constexpr const wchar_t* kWindowStyle[] = {L"F", L"D", L"M", nullptr};
// Display kinds, each with its window class and icon.
static constexpr const wchar_t* kIcons[] = {L"KVODefault", L"KVO",    L"Wave", L"SegmentDir",
                                            L"Dataset",    L"Viewer", nullptr};
static constexpr const wchar_t* kWindowCommands[] = {L"MINIMIZED", L"RESTORED", L"MAXIMIZED", L"SHOW",
                                                     nullptr};
static constexpr const wchar_t* kDialogControls[] = {
    L"STATIC",   L"BUTTON", L"CHECKBOX", L"EDIT",        L"COMBOBOX", L"LISTBOX",  L"SLIDER",
    L"PROGRESS", L"SPIN",   L"GROUPBOX", L"RADIOBUTTON", L"LISTVIEW", L"TREEVIEW", nullptr};
static constexpr const wchar_t* kDialogCommand[] = {L"TITLE",       L"LAYOUT",   L"ADDPOPUP",
                                                    L"SETPOPUP",    L"DELPOPUP", L"DELETEPOPUP",
                                                    L"CONTEXTMENU", L"FOCUS",    nullptr};
static constexpr const wchar_t* kValue[] = {L"TIMER", L"INPUT", L"OUTPUT", nullptr};
static constexpr const wchar_t* kWave[] = {L"COPY",     L"PLAY",   L"RECORD", L"STOP", L"DEVICE", L"SIGNAL",
                                           L"ENVELOPE", L"FILTER", L"AMOD",   L"FMOD", L"END",    nullptr};
static constexpr const wchar_t* kTable[] = {L"DEFINE", L"CONFIG",  L"MODE",      L"FORMAT",
                                            L"SORT",   L"COPY",    L"FIND",      L"LOCK",
                                            L"UNLOCK", L"TRYLOCK", L"CLIPBOARD", nullptr};
static constexpr const wchar_t* kFile[] = {
    L"STATUS",        L"DELETE",   L"RENAME",      L"COPY",         L"FIND",       L"NEXT",
    L"LOAD",          L"SAVE",     L"LIST",        L"SYNC",         L"LOCK",       L"UNLOCK",
    L"TRYLOCK",       L"POSITION", L"ADDFILE",     L"ADDTABLE",     L"ADDELEMENT", L"SETATTRIBUTE",
    L"DELETEELEMENT", L"SETDATA",  L"GETDATA",     L"GOTO",         L"ROOT",       L"ADDNODE",
    L"DOCTYPE",       L"VALIDATE", L"EXTRACTFILE", L"EXTRACTTABLE", L"SORT",       nullptr};
static constexpr const wchar_t* kIp[] = {L"CONNECT", L"RESET", L"SEND", L"RECEIVE", nullptr};
static constexpr const wchar_t* kInstance[] = {L"LOCK", L"UNLOCK", L"TRYLOCK", nullptr};
static constexpr const wchar_t* kDdeConv[] = {L"POKE",       L"REQUEST", L"ADVISE",
                                              L"STOPADVISE", L"EXECUTE", nullptr};
static constexpr const wchar_t* kDdeFormats[] = {L"TEXT", L"XLTABLE", L"CSV", L"UNICODETEXT", nullptr};
static constexpr const wchar_t* kSwitch[] = {L"Off", L"On", nullptr};
static constexpr const wchar_t* kSortDir[] = {L"Ascending", L"Descending", nullptr};
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
static constexpr const wchar_t* kNameTypes[] = {L"ITEM",  L"TABLEFIELD", L"SEGMENT", L"XMLATTRIBUTE",
                                                L"XMLID", L"UNC",        nullptr};
// The system's fonts and the command table are answered by KVOCONSTANTS
// itself. The program has no named images of its own (bitmaps, toolbar
// buttons): those lists are empty.
static constexpr const wchar_t* kNone[] = {nullptr};

static constexpr SConstantList kLists[] = {
    {L"LOAD", kLoad},
    {L"NEW", kNew},
    {L"LIST", kList},
    {L"MSG", kMsg},
    {L"SPUMODE", kSpuMode},
    {L"WINDOWMODE", kWindowMode},
    {L"COLORS", kColors},
    {L"WINDOWSTYLE", kWindowStyle},
    {L"ICONS", kIcons},
    {L"WINDOWCOMMANDS", kWindowCommands},
    {L"DIALOGCONTROLS", kDialogControls},
    {L"DIALOGCOMMAND", kDialogCommand},
    {L"VALUE", kValue},
    {L"WAVE", kWave},
    {L"TABLE", kTable},
    {L"FILE", kFile},
    {L"IP", kIp},
    {L"INSTANCE", kInstance},
    {L"DDECONV", kDdeConv},
    {L"DDEFORMATS", kDdeFormats},
    {L"SWITCH", kSwitch},
    {L"SORTDIR", kSortDir},
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
    {L"NAMETYPES", kNameTypes},
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
