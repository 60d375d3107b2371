// CSPToolBar: a toolbar of a display. Its buttons carry command ids and take
// their images in order from the program's icon set or from a strip picture;
// a click sends TBCOMMAND, or TBCHECK / TBUNCHECK for a button that a macro
// has checked or unchecked once (which gives it the check style).
#pragma once

#include <QToolBar>
#include <functional>
#include <vector>

#include "base/text.h"

class CSPToolBar : public QToolBar {
    Q_OBJECT

public:
    // Called with the command id, whether the button has the check style, its new
    // state and the button's text.
    using PressFn = std::function<void(int id, bool checkStyle, bool checked, const Text& text)>;

    CSPToolBar(int index, QWidget* parent, PressFn pressed);
    int Index() const { return m_index; }
    // Buttons by id (-1 a separator); images from `bitmaps`: "*", empty or "KVO" for
    // the program's set, a number for the set from that image on, else a picture
    // file cut into square images of its height. False when the picture cannot be read.
    bool SetButtons(const std::vector<int>& ids, const Text& bitmaps);
    // E enable, D disable, C check, U uncheck, B button, S separator; false when no
    // button has the id.
    bool SetState(int id, wchar_t letter);
    QAction* Button(int id) const;

private:
    int m_index;
    PressFn m_pressed;
};

// The program's own icon set: the images toolbars take by default, with names.
int ProgramIconCount();
QIcon ProgramIcon(int index);
const wchar_t* ProgramIconName(int index);
