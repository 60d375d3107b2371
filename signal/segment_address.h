// Segment addresses: "<address>[_[+|-]<address>]", where an address is a sum
// of numbers with units ("10%", "250ms", "1kHz") and segment names with
// selectors ("word:B"), each term a pair of frames.
#pragma once

#include <functional>

#include "base/text.h"
#include "shell/rc_codes.h"

struct SSegmentContext {
    double rate = 0;       // frames a second; units of time need it above 0
    long long length = -1; // frames; percentages need it, -1 when unknown
    // Begin and end of a named segment; false when there is none.
    std::function<bool(TextView name, long long& begin, long long& end)> lookup;
};

// One address without "_": the pair of frames. False when it does not parse.
bool ParseAddress(TextView text, const SSegmentContext& context, long long& begin, long long& end);

// A whole range: 0, RC_BAD_SEGMENT_START or RC_BAD_SEGMENT_END. Begin and end come out in order.
int ParseSegmentRange(TextView text, const SSegmentContext& context, long long& begin, long long& end);
