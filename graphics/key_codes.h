// Keys and mouse state as the events of displays carry them: the classic
// virtual-key numbers with Ctrl in bit 16 and Shift in bit 17, and the wheel's
// button and key flags.
#pragma once

#include <cstdint>

class QKeyEvent;
class QWheelEvent;

// The key's number, or 0 for a key that sends nothing (Shift or Ctrl alone,
// keys without a number).
int VirtualKey(const QKeyEvent& event);
// The KEY parameter: the key with the Ctrl and Shift bits; 0 when nothing is sent.
intptr_t KeyParameter(const QKeyEvent& event);
// The WHEEL parameter: the delta in the upper 16 bits, button and key flags below.
intptr_t WheelParameter(const QWheelEvent& event);
