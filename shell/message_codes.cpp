#include "shell/message_codes.h"

namespace {
constexpr const wchar_t* kMessageNames[] = {
    L"?",
    L"EXIT",
    L"RUN",
    L"LOGMSG",
    L"TIMER",
    L"UPDATE",
    L"COMMAND",
    L"VALUE",
    L"OKAY",
    L"CANCEL",
    L"POPUP",
    L"CMSTAT",
    L"CMITEM",
    L"KEY",
    L"CELLEDITED",
    L"CELLCANCELLED",
    L"CELLEDITEDBACKTAB",
    L"CELLEDITEDTAB",
    L"EXIT",
    L"STOP",
    L"RUN",
    L"MINIMIZE",
    L"RESTORE",
    L"MAXIMIZE",
    L"CLOSE",
    L"SYNC",
    L"DATA",
    L"SYNC",
    L"TRACE",
    L"MSSELECT",
    L"MSDESELECT",
    L"MSUPDATE",
    L"MSRESIZING",
    L"MSCOMMAND",
    L"WHEEL",
    L"DATASETLOADED",
    L"TBCOMMAND",
    L"TBCHECK",
    L"TBUNCHECK",
    L"POPUP",
    L"JOYSTICKBUTTON",
    L"JOYSTICKPOV",
    L"DROPFILE",
    L"DDECONVDISCONNECTED",
    L"DDEADVISEDATA",
    L"SEND",
    L"RECEIVE",
    L"ERROR",
};
static_assert(sizeof kMessageNames / sizeof *kMessageNames == MSG_LAST - MSG_FIRST + 1);

struct SKeyName {
    int code;
    const wchar_t* name;
};
constexpr SKeyName kKeyNames[] = {
    {KEYCODE_BACK, L"back"},      {KEYCODE_ENTER, L"enter"},
    {KEYCODE_ESCAPE, L"escape"},  {KEYCODE_SPACE, L"space"},
    {KEYCODE_PRIOR, L"previous"}, {KEYCODE_NEXT, L"next"},
    {KEYCODE_END, L"end"},        {KEYCODE_HOME, L"home"},
    {KEYCODE_LEFT, L"left"},      {KEYCODE_UP, L"up"},
    {KEYCODE_RIGHT, L"right"},    {KEYCODE_DOWN, L"down"},
    {KEYCODE_INSERT, L"insert"},  {KEYCODE_DELETE, L"delete"},
    {KEYCODE_HELP, L"help"},      {KEYCODE_MULTIPLY, L"multiply"},
    {KEYCODE_ADD, L"add"},        {KEYCODE_SUBTRACT, L"subtract"},
    {KEYCODE_DIVIDE, L"divide"},
};
} // namespace

const wchar_t* MessageName(uint32_t code) {
    if (code < MSG_FIRST || code > MSG_LAST) return L"?";
    return kMessageNames[code - MSG_FIRST];
}

Text KeyName(intptr_t param) {
    const int code = static_cast<int>(param & 0xFFFF);
    if (code >= L'0' && code <= L'9') return Text(1, static_cast<wchar_t>(code));
    if (code >= L'A' && code <= L'Z')
        return Text(1, static_cast<wchar_t>((param & KEY_SHIFT) ? code : code + 32));
    if (code >= KEYCODE_F1 && code <= KEYCODE_F24) return L"F" + IntText(code - KEYCODE_F1 + 1);
    for (const auto& k : kKeyNames)
        if (k.code == code) return k.name;
    return Text();
}
