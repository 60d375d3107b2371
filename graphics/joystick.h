// The joystick of a display, through the Linux joystick interface
// (/dev/input/js*). The display polls it every 10 ms; a button that changes
// toggles its bit in a mask that the whole program shares (JOYSTICKBUTTON),
// and the hat reports its direction 0..7 from north clockwise, -1 when centred
// (JOYSTICKPOV). A machine without a joystick simply has none.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

class CJoystick {
public:
    using ButtonFn = std::function<void(uint32_t mask)>;
    using PovFn = std::function<void(int direction)>;

    CJoystick(ButtonFn button, PovFn pov) : m_button(std::move(button)), m_pov(std::move(pov)) {}
    ~CJoystick();
    CJoystick(const CJoystick&) = delete;
    CJoystick& operator=(const CJoystick&) = delete;

    // The first device of /dev/input/js0 .. js31 that opens; false when none does.
    bool OpenFirst();
    // A given device (or a pipe that speaks the same events). `hatAxes` names the
    // axis numbers of the hat when the device cannot tell them itself.
    bool Open(const std::string& path, std::vector<int> hatAxes = {});
    bool IsOpen() const { return m_fd >= 0; }
    // Reads what waits, without blocking, and reports the changes.
    void Poll();

    // The buttons' bits, shared by every display of the program.
    static std::atomic<uint32_t> s_buttonMask;
    // The hat's direction from its two axes (-1 centred).
    static int Direction(int x, int y);

private:
    ButtonFn m_button;
    PovFn m_pov;
    int m_fd = -1;
    int m_hatX = -1, m_hatY = -1;
    int m_x = 0, m_y = 0;
    int m_lastPov = -1;
    uint8_t m_buttons[32] = {};
};
