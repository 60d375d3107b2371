// The requests a display window serves, and the records that travel with
// them in the request block's data slot.
#pragma once

#include <memory>
#include <vector>

#include "base/text.h"
#include "graphics/event_sink.h"
#include "graphics/gui_channel.h"
#include "graphics/popup_menus.h"

class CShellEnv;

enum EDisplayRequest : int {
    DR_CREATE = 1, // served by the display factory
    DR_CLOSE,
    DR_WINDOW,
    DR_GET_LAYOUT,
    DR_COMMIT_LAYOUT,
    DR_GET_SETTINGS,
    DR_COMMIT_SETTINGS,
    DR_SET_TITLE,
    DR_SET_ACTIVE_GRAPH,
    DR_ADD_GRAPH,
    DR_REMOVE_GRAPH,
    DR_ADD_TOOLBAR,
    DR_DEL_TOOLBAR,
    DR_SET_TOOLBAR,
    DR_ADD_POPUP,
    DR_SET_POPUP,
    DR_DEL_POPUP,
    DR_STATUS,
};

// Display modes (bits 0..2 of the style word), the joystick bit and the dialog bits.
enum EDisplayStyle : int {
    STYLE_GRAPHS = 0,
    STYLE_DIALOG = 1,
    STYLE_MODAL = 2,
    STYLE_GRAPHS2 = 4,
    STYLE_MODE_MASK = 7,
    STYLE_JOYSTICK = 8,
    STYLE_DIALOG_MASK = 0x70,
};

// The slot through which new display windows are made on the GUI thread.
WindowSlotPtr& DisplayFactorySlot();

struct SDisplayCreate {
    CShellEnv* env = nullptr;
    Text title;
    int style = 0;
    int kind = 0;
    int dialogStyle = 0; // 0x01 docked with the alignment in 0x70, 0x80 floating
    WindowSlotPtr parent;
    bool hasRect = false;
    int rect[4] = {};
    EventSinkPtr sink;
    WindowSlotPtr slot; // out
};

// The window form of SET: each part is applied only when given.
struct SWindowForm {
    int mode = -1;  // NOWINDOW, HIDDEN, VISIBLE, ENABLED
    int state = -1; // MINIMIZED, RESTORED, MAXIMIZED, SHOW
    bool has[4] = {};
    int rect[4] = {};
    bool center = false;
    bool foreground = false;
    int dialogAlign = -1;
    int dialogFlags = 0; // 1 attached, 2 floating, 4 neither
};

struct SStatusQuery {
    int key = -1; // -1: the whole status line
    std::vector<Text> args;
    Text out;
};

struct SToolBarRequest {
    int index = 0;
    int position = 0; // 0 top, 1 bottom, 2 left, 3 right
    Text bitmaps;
    std::vector<int> buttons; // -1 a separator
    Text letters;             // SetToolBar: the option letters in order
};
