#include <gtest/gtest.h>

#include <map>

#include "signal/segment_address.h"

namespace {

struct SRange {
    int code;
    long long begin, end;
    bool operator==(const SRange&) const = default;
};
std::ostream& operator<<(std::ostream& out, const SRange& r) {
    return out << r.code << ":" << r.begin << "_" << r.end;
}

class SegmentAddress : public ::testing::Test {
protected:
    SegmentAddress() {
        m_context.rate = 8000;
        m_context.length = 1000;
        m_context.lookup = [this](TextView name, long long& b, long long& e) {
            auto it = m_segments.find(Text(name));
            if (it == m_segments.end()) return false;
            b = it->second.first;
            e = it->second.second;
            return true;
        };
    }
    SRange Range(const wchar_t* text) {
        SRange r{0, -1, -1};
        r.code = ParseSegmentRange(text, m_context, r.begin, r.end);
        if (r.code) r.begin = r.end = -1;
        return r;
    }
    SSegmentContext m_context;
    std::map<Text, std::pair<long long, long long>> m_segments = {
        {L"WORD.1", {200, 450}}, {L"a_b", {10, 20}}, {L"MARK.", {600, 600}}};
};

TEST_F(SegmentAddress, NumbersWithUnits) {
    EXPECT_EQ(Range(L"10%_+5"), (SRange{0, 100, 105}));
    EXPECT_EQ(Range(L"5%%"), (SRange{0, 5, 5}));
    EXPECT_EQ(Range(L"12.9"), (SRange{0, 12, 12})); // truncated
    EXPECT_EQ(Range(L"0.05s_100ms"), (SRange{0, 400, 800}));
    EXPECT_EQ(Range(L"1kHz"), (SRange{0, 8, 8}));    // one period
    EXPECT_EQ(Range(L"300HZ"), (SRange{0, 26, 26})); // 26.67
    EXPECT_EQ(Range(L".5S"), (SRange{0, 4000, 4000}));
    EXPECT_EQ(Range(L"1s-10+2"), (SRange{0, 7992, 7992}));
    EXPECT_EQ(Range(L"0Hz").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"10parsec").code, RC_BAD_SEGMENT_START);
    m_context.length = -1;
    EXPECT_EQ(Range(L"10%").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"0_10%").code, RC_BAD_SEGMENT_END);
    m_context.rate = 0;
    EXPECT_EQ(Range(L"1ms").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"7_9"), (SRange{0, 7, 9}));
}

TEST_F(SegmentAddress, SegmentsAndSelectors) {
    EXPECT_EQ(Range(L"WORD.1"), (SRange{0, 200, 450}));
    EXPECT_EQ(Range(L"WORD.1:b"), (SRange{0, 200, 200}));
    EXPECT_EQ(Range(L"WORD.1:E"), (SRange{0, 450, 450}));
    EXPECT_EQ(Range(L"WORD.1:L"), (SRange{0, 250, 250}));
    EXPECT_EQ(Range(L"WORD.1+10"), (SRange{0, 210, 460})); // pairs add
    EXPECT_EQ(Range(L"WORD.1:B_MARK."), (SRange{0, 200, 600}));
    EXPECT_EQ(Range(L"WORD.1_+WORD.1:L"), (SRange{0, 200, 450}));
    EXPECT_EQ(Range(L"a_b"), (SRange{0, 10, 20})); // the name holds the "_"
    EXPECT_EQ(Range(L"a_b:E_+1"), (SRange{0, 20, 21}));
    EXPECT_EQ(Range(L"WORD.1:X").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"NOPE").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"10_NOPE").code, RC_BAD_SEGMENT_END);
}

TEST_F(SegmentAddress, OrderAndSigns) {
    EXPECT_EQ(Range(L"100_-30"), (SRange{0, 70, 100}));
    EXPECT_EQ(Range(L"100_30"), (SRange{0, 30, 100}));
    EXPECT_EQ(Range(L"10_-30").code, RC_BAD_SEGMENT_START); // begin would be negative
    EXPECT_EQ(Range(L"-WORD.1:B+250"), (SRange{0, 50, 50}));
    EXPECT_EQ(Range(L"-5").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"5+").code, RC_BAD_SEGMENT_START);
    EXPECT_EQ(Range(L"5_").code, RC_BAD_SEGMENT_END);
}

} // namespace
