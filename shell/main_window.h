// What the environment asks of the main window. Shells never touch a window:
// they post orders and log lines, from any thread. The Qt window and the
// headless front end implement this.
#pragma once

#include <memory>
#include <vector>

#include "base/message_queue.h"
#include "base/text.h"

enum EMainOrder : int {
    ORDER_SHOW = 0,      // show the window (restore)
    ORDER_ADD_MENU = 1,  // payload: SMenuPayload
    ORDER_SHOW_MENU = 2, // attach the menu bar
    ORDER_CLEAR_MENUS = 3,
    ORDER_LOG_FILE = 4, // payload: STextPayload with the path; none closes the log file
    ORDER_HIDE = 5,
};

struct SMenuItem {
    Text text;
    unsigned flags = 0; // MF_-style flags of the item; separators carry MENU_SEPARATOR
};
enum : unsigned { MENU_SEPARATOR = 0x800, MENU_GRAYED = 0x1, MENU_CHECKED = 0x8 };

struct SMenuPayload : SPayload {
    Text title;
    std::vector<SMenuItem> items;
};

// The answers to the program check box of a failing statement.
enum EProgramCheckAnswer : int { CHECK_IGNORE = 0, CHECK_RETRY = 1, CHECK_ABORT = 2 };

class IMainWindow {
public:
    virtual ~IMainWindow() = default;
    virtual void PostOrder(int order, std::unique_ptr<SPayload> payload) = 0;
    // A log line; `clear` empties the list first.
    virtual void PostLog(const Text& line, bool clear = false) = 0;
    // A shell's thread has ended (the process may be able to end now).
    virtual void PostShellEnded() = 0;
    // The program check box; called on a shell's thread, which waits for the
    // answer. Without a window the text goes to the log and the answer is Ignore.
    virtual int ProgramCheck(const Text& text) {
        PostLog(text);
        return CHECK_IGNORE;
    }
};
