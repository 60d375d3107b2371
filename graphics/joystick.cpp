#include "graphics/joystick.h"

#include <fcntl.h>
#include <linux/joystick.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

std::atomic<uint32_t> CJoystick::s_buttonMask{0};

namespace {
constexpr int kHat0X = 0x10, kHat0Y = 0x11; // ABS_HAT0X, ABS_HAT0Y
} // namespace

CJoystick::~CJoystick() {
    if (m_fd >= 0) ::close(m_fd);
}

bool CJoystick::OpenFirst() {
    for (int i = 0; i < 32; ++i)
        if (Open("/dev/input/js" + std::to_string(i))) return true;
    return false;
}

bool CJoystick::Open(const std::string& path, std::vector<int> hatAxes) {
    const int fd = ::open(path.c_str(), O_RDONLY | O_NONBLOCK);
    if (fd < 0) return false;
    if (m_fd >= 0) ::close(m_fd);
    m_fd = fd;
    uint8_t axes = 0;
    uint8_t map[ABS_CNT] = {};
    if (::ioctl(fd, JSIOCGAXES, &axes) == 0 && ::ioctl(fd, JSIOCGAXMAP, map) == 0) {
        for (int a = 0; a < axes && a < ABS_CNT; ++a) {
            if (map[a] == kHat0X) m_hatX = a;
            if (map[a] == kHat0Y) m_hatY = a;
        }
    } else if (hatAxes.size() == 2) {
        m_hatX = hatAxes[0];
        m_hatY = hatAxes[1];
    }
    return true;
}

int CJoystick::Direction(int x, int y) {
    // North first, then clockwise in steps of 45 degrees.
    static constexpr int kDirections[3][3] = {{7, 0, 1}, {6, -1, 2}, {5, 4, 3}};
    const int col = x < 0 ? 0 : x > 0 ? 2 : 1;
    const int row = y < 0 ? 0 : y > 0 ? 2 : 1;
    return kDirections[row][col];
}

void CJoystick::Poll() {
    if (m_fd < 0) return;
    js_event e;
    for (;;) {
        const ssize_t n = ::read(m_fd, &e, sizeof e);
        if (n != static_cast<ssize_t>(sizeof e)) break;
        const uint8_t type = e.type & ~JS_EVENT_INIT;
        if (type == JS_EVENT_BUTTON && e.number < 32) {
            const uint8_t now = e.value ? 1 : 0;
            if (now == m_buttons[e.number]) continue;
            m_buttons[e.number] = now;
            // The initial state only tells where the buttons stand.
            if (e.type & JS_EVENT_INIT) continue;
            const uint32_t mask = s_buttonMask.fetch_xor(1u << e.number) ^ (1u << e.number);
            if (m_button) m_button(mask);
        } else if (type == JS_EVENT_AXIS && (e.number == m_hatX || e.number == m_hatY)) {
            (e.number == m_hatX ? m_x : m_y) = e.value;
            const int pov = Direction(m_x, m_y);
            if (pov != m_lastPov) {
                m_lastPov = pov;
                if (m_pov && !(e.type & JS_EVENT_INIT)) m_pov(pov);
            }
        }
    }
}
