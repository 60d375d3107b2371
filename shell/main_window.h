// What the environment asks of the main window. Shells never touch a window:
// they post orders and log lines, from any thread. The Qt window and the
// headless front end implement this.
#pragma once

#include <memory>
#include <vector>

#include "base/message_queue.h"
#include "base/text.h"

enum EMainOrder : int {
    ORDER_SHOW = 0,      // no payload: show the window (restore); SMainWindowPayload: MSG MAIN
    ORDER_ADD_MENU = 1,  // payload: SMenuPayload
    ORDER_SHOW_MENU = 2, // attach the menu bar
    ORDER_CLEAR_MENUS = 3,
    ORDER_LOG_FILE = 4, // payload: STextPayload with the path; none closes the log file
    ORDER_HIDE = 5,
    ORDER_BEEP = 6, // payload: SBeepPayload
};

// What MSG MAIN reads and sets: the main window's mode ("NOWINDOW", "HIDDEN",
// "VISIBLE", "ENABLED"), show state ("MINIMIZED", "RESTORED", "MAXIMIZED",
// "SHOW"), geometry in pixels and title.
struct SMainWindowState {
    Text mode = L"VISIBLE";
    Text show = L"RESTORED";
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
    Text title;
};

// Order 0 with the parts of the state that MSG MAIN gives; the others stay.
struct SMainWindowPayload : SPayload {
    enum : unsigned { MODE = 1, SHOW = 2, LEFT = 4, TOP = 8, WIDTH = 16, HEIGHT = 32, TITLE = 64 };
    unsigned fields = 0;
    SMainWindowState state;
    // The given parts of `state` written over `target`.
    void ApplyTo(SMainWindowState& target) const {
        if (fields & MODE) target.mode = state.mode;
        if (fields & SHOW) target.show = state.show;
        if (fields & LEFT) target.left = state.left;
        if (fields & TOP) target.top = state.top;
        if (fields & WIDTH) target.width = state.width;
        if (fields & HEIGHT) target.height = state.height;
        if (fields & TITLE) target.title = state.title;
    }
};

// The monitors of the desktop and the rectangle of the virtual screen.
struct SDesktopMetrics {
    int monitors = 0;
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;
};

// MSG BEEP: a system sound (64, 48, 16, 32, 0; -1 the simple beep), or a
// tone when `frequency` is above 0. A window without sounds of its kinds
// rings its one bell for all of them.
struct SBeepPayload : SPayload {
    int sound = -1;
    int frequency = 0;
    int duration = 0;
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

// The answers to the program check box of a failing statement. STOP ends
// the shell as EXIT 0 does: a front end with nobody to ask may stop a run
// at its first error.
enum EProgramCheckAnswer : int { CHECK_IGNORE = 0, CHECK_RETRY = 1, CHECK_ABORT = 2, CHECK_STOP = 3 };

// A failing statement as the program check reports it.
struct SProgramCheck {
    int code = 0;
    Text macro;   // the running macro
    Text file;    // the source file that macro was loaded from
    int line = 0; // its source line, from 1
    Text message; // the message of the code
    Text text;    // the whole text of the box
};

// What a log line is. The window's list shows every line alike; a front end
// with more than one place to write to (standard output and standard error)
// tells them apart.
enum class ELogKind : int {
    OUTPUT, // what macros write: WRITELOG, the console's results
    TRACE,  // the account of work done: the loader's lines, attached sound files
    FAULT,  // why something failed, and warnings
};

class IMainWindow {
public:
    virtual ~IMainWindow() = default;
    virtual void PostOrder(int order, std::unique_ptr<SPayload> payload) = 0;
    // A log line; `clear` empties the list first.
    virtual void PostLog(const Text& line, bool clear = false) = 0;
    // A log line of a kind.
    virtual void PostLogLine(ELogKind, const Text& line) { PostLog(line); }
    // A shell's thread has ended (the process may be able to end now).
    virtual void PostShellEnded() = 0;
    // The program check box; called on a shell's thread, which waits for the
    // answer. Without a window the text goes to the log and the answer is Ignore.
    virtual int ProgramCheck(const SProgramCheck& check) {
        PostLogLine(ELogKind::FAULT, check.text);
        return CHECK_IGNORE;
    }
    // The window's present state, for MSG MAIN; false when the window cannot tell.
    // Called on a shell's thread.
    virtual bool MainWindowState(SMainWindowState& /*out*/) { return false; }
    // The monitors and the virtual screen, for MSG DESKTOP; false when there is
    // no screen to ask (the answer of MSG DESKTOP is then empty). Called on a shell's thread.
    virtual bool DesktopMetrics(SDesktopMetrics& /*out*/) { return false; }
    // The font families of the system, for KVOCONSTANTS FONTS; false when the
    // window knows no fonts. Called on a shell's thread.
    virtual bool FontFamilies(std::vector<Text>& /*out*/) { return false; }
};
