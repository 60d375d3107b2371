// The nice step of tick lists, the view inside a range, and the map to pixels.
#include <gtest/gtest.h>

#include <unistd.h>

#include <cmath>
#include <cstdio>

#include "graphics/coordinates.h"
#include "graphics/ds_file.h"

namespace {

TEST(NiceTicks, TheStepIsOneTwoOrFiveTimesAPowerOfTen) {
    STickList t;
    ASSERT_TRUE(NiceTicks(0, 1, t));
    EXPECT_DOUBLE_EQ(t.step, 0.2);
    ASSERT_TRUE(NiceTicks(0, 7, t));
    EXPECT_DOUBLE_EQ(t.step, 1) << "1.4 lies below 1.5";
    ASSERT_TRUE(NiceTicks(0, 15, t));
    EXPECT_DOUBLE_EQ(t.step, 2) << "3 lies below 3.5";
    ASSERT_TRUE(NiceTicks(0, 30, t));
    EXPECT_DOUBLE_EQ(t.step, 5);
    ASSERT_TRUE(NiceTicks(-0.003, 0.004, t));
    EXPECT_DOUBLE_EQ(t.step, 0.001);
}

TEST(NiceTicks, TicksRunFromTheFirstAtOrAboveLowToHigh) {
    STickList t;
    ASSERT_TRUE(NiceTicks(0, 1, t));
    ASSERT_EQ(t.ticks.size(), 6u);
    EXPECT_DOUBLE_EQ(t.ticks.front(), 0);
    EXPECT_NEAR(t.ticks.back(), 1, 1e-12);
    // 13..47: step 5, power 1: the first tick is 13 itself, and the list runs by 5 to 43.
    ASSERT_TRUE(NiceTicks(13, 47, t));
    EXPECT_DOUBLE_EQ(t.step, 5);
    EXPECT_DOUBLE_EQ(t.ticks.front(), 13);
    EXPECT_DOUBLE_EQ(t.ticks.back(), 43);
    // 0.13..1.1: step 0.2, power 0.1: 0.1 lies below 0.13 and moves up one step to 0.3.
    ASSERT_TRUE(NiceTicks(0.13, 1.1, t));
    EXPECT_DOUBLE_EQ(t.step, 0.2);
    EXPECT_NEAR(t.ticks.front(), 0.3, 1e-12);
}

TEST(NiceTicks, AnythingNotFiniteLeavesTheListEmpty) {
    STickList t;
    EXPECT_FALSE(NiceTicks(0, INFINITY, t));
    EXPECT_TRUE(t.ticks.empty());
    EXPECT_FALSE(NiceTicks(NAN, 1, t));
    EXPECT_FALSE(NiceTicks(5, 5, t));
}

TEST(CoordinateView, TheViewStaysInsideItsRangeAndKeepsItsSize) {
    CSPView v;
    v.SetRange(0, 100);
    EXPECT_TRUE(v.IsWhole());
    ASSERT_TRUE(v.SetView(60, 80));
    EXPECT_FALSE(v.SetView(90, 110)) << "outside the range";
    EXPECT_FALSE(v.SetView(50, 50));
    v.SetRange(0, 70);
    EXPECT_DOUBLE_EQ(v.ViewLow(), 50);
    EXPECT_DOUBLE_EQ(v.ViewHigh(), 70) << "moved in, same size";
    ASSERT_TRUE(v.SetViewClamped(-10, 30));
    EXPECT_DOUBLE_EQ(v.ViewLow(), 0);
    v.ClearChanged();
    v.SetRange(0, 70);
    EXPECT_FALSE(v.Changed()) << "the flag is set only by a real change";
}

TEST(CoordinateView, ValuesMapToPixelsAndBack) {
    CSPView v;
    v.SetRange(0, 10);
    ASSERT_TRUE(v.SetView(2, 4));
    EXPECT_DOUBLE_EQ(v.Map(3, 100, 300), 200);
    EXPECT_DOUBLE_EQ(v.Unmap(200, 100, 300), 3);
    v.m_inverted = true;
    EXPECT_DOUBLE_EQ(v.Map(2, 100, 300), 300);
    v.m_inverted = false;
    v.SetRange(1, 1000);
    v.ResetView();
    v.m_logarithmic = true;
    EXPECT_NEAR(v.Map(10, 0, 300), 100, 1e-9);
    EXPECT_NEAR(v.Unmap(200, 0, 300), 100, 1e-9);
}

TEST(DataSetCache, RecordsGoAsFloatsOrRoundedIntegersAndTheFileGoesWithItsOwner) {
    std::string path;
    {
        CDSFile file(2);
        ASSERT_TRUE(file.Ok());
        path = ToUtf8(file.Path());
        EXPECT_EQ(::access(path.c_str(), F_OK), 0);
        const double values[] = {0.5, -1.25, 3e10, 7};
        EXPECT_EQ(file.Write(values, 2), 2);
        EXPECT_EQ(file.Records(), 2);
        EXPECT_EQ(file.BytesWritten(), 16);
        float back[4];
        EXPECT_EQ(file.ReadAt(1, 5, back), 1) << "only what was written";
        EXPECT_EQ(back[0], 3e10f);
        file.Rewind();
        double all[4];
        EXPECT_EQ(file.Read(all, 2), 2);
        EXPECT_EQ(all[1], -1.25);
        EXPECT_EQ(file.RecordsRead(), 2);
    }
    EXPECT_NE(::access(path.c_str(), F_OK), 0) << "deleted with its owner";
    CDSFSpec scale(3);
    const double levels[] = {-12.4, 12.5, 99999.0};
    scale.Write(levels, 1);
    float back[3];
    ASSERT_EQ(scale.ReadAt(0, 1, back), 1);
    EXPECT_EQ(back[0], -12.0f);
    EXPECT_EQ(back[1], 13.0f);
    EXPECT_EQ(back[2], 32767.0f) << "a 16-bit value holds no more";
}

TEST(DataSetCache, CachesOfAProcessThatDiedAreRemovedAtTheNextStart) {
    const std::string folder = ToUtf8(CDSFile::Folder());
    // A pid that no process has: beyond the kernel's limit.
    const std::string dead = folder + "/kvo4194305_17.tmp";
    const std::string alive = folder + "/kvo" + std::to_string(::getpid()) + "_999999.tmp";
    const std::string other = folder + "/kvo4194305_17.txt";
    for (const std::string& p : {dead, alive, other}) std::fclose(std::fopen(p.c_str(), "w"));
    EXPECT_GE(CDSFile::RemoveStale(), 1);
    EXPECT_NE(::access(dead.c_str(), F_OK), 0);
    EXPECT_EQ(::access(alive.c_str(), F_OK), 0) << "this process is alive";
    EXPECT_EQ(::access(other.c_str(), F_OK), 0) << "not a cache of ours";
    ::unlink(alive.c_str());
    ::unlink(other.c_str());
}

} // namespace
