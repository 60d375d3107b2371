// A graph input fed by a producer thread at full speed while the GUI side
// draws: every block arrives, the graph is told once per drawing, a type a
// data set cannot take is refused with the language's text, and an input
// that the graph has let go of delivers nowhere.
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "graphics/graph_input.h"
#include "graphics/wave_data_set.h"

namespace {

TEST(GraphInput, EveryBlockArrivesWhileTheGuiSideDrawsAndIsToldOncePerDrawing) {
    auto wave = std::make_shared<CWaveDataSet>();
    auto track = std::make_shared<CParamDataSet>();
    wave->Prepare(0, 48, 48000, 0, 400);
    wave->SetRolling(true);
    std::atomic<int> told{0};
    CSPIn input([&] { ++told; });
    input.Bind(wave);
    input.Bind(track);
    input.Start();
    constexpr int kBlocks = 5000;
    std::atomic<bool> done{false};
    std::thread producer([&] {
        std::vector<double> block(48);
        for (int b = 0; b < kBlocks; ++b) {
            for (int i = 0; i < 48; ++i) block[static_cast<size_t>(i)] = std::sin((b * 48 + i) * 0.01);
            EXPECT_TRUE(input.Deliver(VALUE_VECTOR, block.data(), block.size()));
        }
        done = true;
    });
    int drawings = 0;
    std::vector<float> lo, hi;
    while (!done.load()) {
        // The GUI thread's part: copy the columns, then say what came is drawn.
        wave->CopyColumns(lo, hi);
        input.Drawn();
        ++drawings;
    }
    producer.join();
    input.End();
    EXPECT_EQ(input.Blocks(), static_cast<unsigned long long>(kBlocks));
    EXPECT_EQ(wave->Points(), kBlocks * 48LL) << "no block dropped";
    EXPECT_EQ(track->Points(), kBlocks * 48LL);
    EXPECT_TRUE(wave->Done());
    EXPECT_GE(told.load(), 1);
    EXPECT_LE(told.load(), drawings + 1) << "at most once per drawing";
    EXPECT_EQ(wave->CopyColumns(lo, hi), 400) << "a rolling ring stays full";
}

TEST(GraphInput, ScalarsGatherIntoBlocksAndAnUnsupportedTypeIsRefused) {
    auto track = std::make_shared<CParamDataSet>();
    auto xy = std::make_shared<CXYDataSet>();
    CSPIn input(nullptr);
    input.Bind(track);
    input.Start();
    for (int i = 0; i < 1500; ++i) {
        const double v = i;
        ASSERT_TRUE(input.Deliver(VALUE_NUMBER, &v, 1));
    }
    EXPECT_EQ(track->Points(), 1024) << "a block of 1024 scalars is taken at once";
    input.End();
    EXPECT_EQ(track->Points(), 1500) << "the rest with the end of the run";
    input.Bind(xy);
    const wchar_t* failure = nullptr;
    const double v = 1;
    EXPECT_FALSE(input.Deliver(VALUE_NUMBER, &v, 1, &failure));
    ASSERT_NE(failure, nullptr);
    EXPECT_EQ(Text(failure), L"Parameter dataset input type unsupported");
}

TEST(GraphInput, AfterDisconnectBlocksGoNowhereAndTellNoOne) {
    auto wave = std::make_shared<CWaveDataSet>();
    wave->Prepare(0, 16, 1, 0, 10);
    std::atomic<int> told{0};
    CSPIn input([&] { ++told; });
    input.Bind(wave);
    const double block[16] = {};
    input.Deliver(VALUE_VECTOR, block, 16);
    input.Drawn();
    input.Disconnect();
    input.Deliver(VALUE_VECTOR, block, 16);
    EXPECT_EQ(told.load(), 1);
    EXPECT_EQ(wave->Points(), 16);
}

} // namespace
