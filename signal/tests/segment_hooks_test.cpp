#include <gtest/gtest.h>

#include <map>

#include "signal/sample_coding.h"
#include "signal/segment_tables.h"
#include "signal/sound_file.h"
#include "signal/tests/sound_test_util.h"

namespace {

// A stand-in for the directory table: a map of name to begin and end, and a share count.
struct SFakeTable {
    bool directory = true;
    int shares = 1;
    std::map<Text, std::pair<long long, long long>> rows;
};

SFakeTable& Fake(void* table) {
    return *static_cast<SFakeTable*>(table);
}

const SSegmentTableHooks kFakeHooks = {
    [](CSoundFile&) -> void* { return nullptr; },
    [](void* t, TextView name, long long& b, long long& e) {
        auto it = Fake(t).rows.find(Text(name));
        if (it == Fake(t).rows.end()) return false;
        b = it->second.first;
        e = it->second.second;
        return true;
    },
    [](void* t) { ++Fake(t).shares; },
    [](void* t) { --Fake(t).shares; },
    [](void* t) { return Fake(t).directory; },
    [](void* t, const CSoundFile& file) {
        for (const SSegment& s : file.Segments()) Fake(t).rows[s.name] = {s.begin, s.end};
    },
};

TEST(SegmentTables, AttachingGoesThroughTheTableLayerOnceItIsThere) {
    const std::string path = FreshPath("hooks.kv5");
    {
        CSoundFile file;
        ASSERT_EQ(file.Create(FromUtf8(path), SFKIND_KV5 | CODING_PCM8 | SFACCESS_WRITE, 1, 8000), 0);
    }
    std::vector<unsigned char> bytes = FileBytes(path);
    bytes[64] = 1; // a marker "M." at frame 7
    bytes[65] = 'M';
    bytes[64 + 12] = 7;
    WriteBytes(path, bytes);
    CSoundFile file;
    ASSERT_EQ(file.Open(FromUtf8(path), SFACCESS_READ), 0);
    SFakeTable table;
    long long b = 0, e = 0;
    SetSegmentTableHooks(nullptr);
    EXPECT_EQ(AttachSegmentTable(file, &table, true), 157);
    EXPECT_TRUE(LookupFileSegment(file, L"m.", b, e)); // the directory read from the file
    EXPECT_EQ(e, 7);

    SetSegmentTableHooks(&kFakeHooks);
    table.directory = false;
    EXPECT_EQ(AttachSegmentTable(file, &table, true), 146);
    EXPECT_EQ(table.shares, 1);
    table.directory = true;
    ASSERT_EQ(AttachSegmentTable(file, &table, true), 0);
    EXPECT_EQ(table.shares, 2);
    ASSERT_EQ(table.rows.count(L"M."), 1u);
    // Macros change the table; addresses follow it, not the file.
    table.rows[L"WORD."] = {100, 200};
    EXPECT_TRUE(LookupFileSegment(file, L"WORD.", b, e));
    EXPECT_EQ(b, 100);
    EXPECT_FALSE(LookupFileSegment(file, L"m.", b, e)); // the fake compares case-sensitively
    EXPECT_EQ(file.Close(), 0);
    EXPECT_EQ(table.shares, 1);
    EXPECT_EQ(file.m_pTable, nullptr);
    SetSegmentTableHooks(nullptr);
}

} // namespace
