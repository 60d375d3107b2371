#include "graphics/key_codes.h"

#include <QKeyEvent>
#include <QWheelEvent>

#include "shell/message_codes.h"

namespace {
struct SKeyRow {
    int qt;
    int code;
};
constexpr SKeyRow kKeys[] = {
    {Qt::Key_Backspace, KEYCODE_BACK},
    {Qt::Key_Tab, 9},
    {Qt::Key_Return, KEYCODE_ENTER},
    {Qt::Key_Enter, KEYCODE_ENTER},
    {Qt::Key_Pause, 19},
    {Qt::Key_CapsLock, 20},
    {Qt::Key_Escape, KEYCODE_ESCAPE},
    {Qt::Key_Space, KEYCODE_SPACE},
    {Qt::Key_PageUp, KEYCODE_PRIOR},
    {Qt::Key_PageDown, KEYCODE_NEXT},
    {Qt::Key_End, KEYCODE_END},
    {Qt::Key_Home, KEYCODE_HOME},
    {Qt::Key_Left, KEYCODE_LEFT},
    {Qt::Key_Up, KEYCODE_UP},
    {Qt::Key_Right, KEYCODE_RIGHT},
    {Qt::Key_Down, KEYCODE_DOWN},
    {Qt::Key_Print, 44},
    {Qt::Key_Insert, KEYCODE_INSERT},
    {Qt::Key_Delete, KEYCODE_DELETE},
    {Qt::Key_Help, KEYCODE_HELP},
    {Qt::Key_Asterisk, KEYCODE_MULTIPLY},
    {Qt::Key_Plus, KEYCODE_ADD},
    {Qt::Key_Minus, KEYCODE_SUBTRACT},
    {Qt::Key_Slash, KEYCODE_DIVIDE},
};
// Wheel flags of the button and key state.
constexpr intptr_t kLeft = 0x01, kRight = 0x02, kShift = 0x04, kCtrl = 0x08, kMiddle = 0x10;
} // namespace

int VirtualKey(const QKeyEvent& event) {
    const int key = event.key();
    if (key == Qt::Key_Shift || key == Qt::Key_Control || key == Qt::Key_Alt || key == Qt::Key_Meta) return 0;
    if (key >= Qt::Key_A && key <= Qt::Key_Z) return 'A' + (key - Qt::Key_A);
    if (key >= Qt::Key_0 && key <= Qt::Key_9) {
        // Keypad digits are keys of their own.
        return (event.modifiers() & Qt::KeypadModifier) ? 96 + (key - Qt::Key_0) : '0' + (key - Qt::Key_0);
    }
    if (key >= Qt::Key_F1 && key <= Qt::Key_F24) return KEYCODE_F1 + (key - Qt::Key_F1);
    for (const SKeyRow& row : kKeys)
        if (row.qt == key) return row.code;
    return 0;
}

intptr_t KeyParameter(const QKeyEvent& event) {
    const int code = VirtualKey(event);
    if (!code) return 0;
    intptr_t param = code;
    if (event.modifiers() & Qt::ControlModifier) param |= KEY_CTRL;
    if (event.modifiers() & Qt::ShiftModifier) param |= KEY_SHIFT;
    return param;
}

intptr_t WheelParameter(const QWheelEvent& event) {
    int delta = event.angleDelta().y();
    if (delta == 0) delta = event.angleDelta().x();
    intptr_t flags = 0;
    if (event.buttons() & Qt::LeftButton) flags |= kLeft;
    if (event.buttons() & Qt::RightButton) flags |= kRight;
    if (event.buttons() & Qt::MiddleButton) flags |= kMiddle;
    if (event.modifiers() & Qt::ShiftModifier) flags |= kShift;
    if (event.modifiers() & Qt::ControlModifier) flags |= kCtrl;
    return (static_cast<intptr_t>(static_cast<uint16_t>(static_cast<int16_t>(delta))) << 16) | flags;
}
