// Codes of the messages that reach a shell's queue, and their words.
#pragma once

#include <cstdint>

#include "base/text.h"

enum EShellMessage : uint32_t {
    MSG_FIRST = 4096,
    MSG_EXIT = 4097, // the shell ends
    MSG_RUN = 4098,  // a command text for the shell
    MSG_LOGMSG = 4099,
    MSG_TIMER = 4100,
    MSG_UPDATE = 4101,
    MSG_COMMAND = 4102,
    MSG_VALUE = 4103,
    MSG_POPUP_ITEM = 4106, // a menu item of the main window
    MSG_KEY = 4109,
    MSG_CELLEDITED = 4110,
    MSG_CELLCANCELLED = 4111,
    MSG_CELLEDITEDBACKTAB = 4112,
    MSG_CELLEDITEDTAB = 4113,
    MSG_DEVICE_EXIT = 4114, // a wave item's device ended
    MSG_DEVICE_STOP = 4115,
    MSG_DEVICE_RUN = 4116,
    MSG_MINIMIZE = 4117,
    MSG_RESTORE = 4118,
    MSG_MAXIMIZE = 4119,
    MSG_CLOSE = 4120,
    MSG_SYNC = 4121,
    MSG_DATA = 4122,
    MSG_TRACE = 4124,
    MSG_MSSELECT = 4125,
    MSG_MSDESELECT = 4126,
    MSG_MSUPDATE = 4127,
    MSG_MSRESIZING = 4128,
    MSG_MSCOMMAND = 4129,
    MSG_WHEEL = 4130,
    MSG_DATASETLOADED = 4131,
    MSG_TBCOMMAND = 4132,
    MSG_TBCHECK = 4133,
    MSG_TBUNCHECK = 4134,
    MSG_POPUP = 4135, // a popup entry of a display or graph
    MSG_JOYSTICKBUTTON = 4136,
    MSG_JOYSTICKPOV = 4137,
    MSG_DROPFILE = 4138,
    MSG_DDE_DISCONNECTED = 4139,
    MSG_DDE_ADVISEDATA = 4140,
    MSG_IP_SEND = 4141,
    MSG_IP_RECEIVE = 4142,
    MSG_IP_ERROR = 4143,
    MSG_LAST = 4143,
};

// The word of a code as a macro sees it; "?" outside 4096..4143.
const wchar_t* MessageName(uint32_t code);

// Key codes as the front ends report them (the classic virtual-key numbers).
enum EKeyCode : int {
    KEYCODE_BACK = 8,
    KEYCODE_ENTER = 13,
    KEYCODE_ESCAPE = 27,
    KEYCODE_SPACE = 32,
    KEYCODE_PRIOR = 33,
    KEYCODE_NEXT = 34,
    KEYCODE_END = 35,
    KEYCODE_HOME = 36,
    KEYCODE_LEFT = 37,
    KEYCODE_UP = 38,
    KEYCODE_RIGHT = 39,
    KEYCODE_DOWN = 40,
    KEYCODE_INSERT = 45,
    KEYCODE_DELETE = 46,
    KEYCODE_HELP = 47,
    KEYCODE_MULTIPLY = 106,
    KEYCODE_ADD = 107,
    KEYCODE_SUBTRACT = 109,
    KEYCODE_DIVIDE = 111,
    KEYCODE_F1 = 112,
    KEYCODE_F24 = 135,
};
// Bits of a KEY message's parameter beside the key code in the low word.
constexpr intptr_t KEY_CTRL = 1 << 16;
constexpr intptr_t KEY_SHIFT = 1 << 17;

// The name of a key as the KEY line ends with it.
Text KeyName(intptr_t param);
