// The request channel: blocks from many threads served one at a time on the
// GUI thread, a window that is gone answering at once, and shells released
// (not left waiting) when the channel closes at the program's end.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <QThread>
#include <atomic>
#include <thread>
#include <vector>

#include "graphics/gui_channel.h"
#include "graphics/tests/graphics_fixture.h"

namespace {

class CCountingTarget : public IRequestTarget {
public:
    void ServeRequest(int code, SRequestBlock& block) override {
        onGuiThread = onGuiThread && GuiChannel::OnGuiThread();
        // Not atomic on purpose: the channel serves one block at a time.
        served += 1;
        block.result = code + block.args[0];
    }
    int served = 0;
    bool onGuiThread = true;
};

class GuiChannelTest : public ::testing::Test {
protected:
    static void SetUpTestSuite() { EnsureApplication(); }
    void TearDown() override { GuiChannel::Open(); }

    template <class Done> void Spin(Done done) {
        while (!done()) QCoreApplication::processEvents(QEventLoop::AllEvents, 5);
    }
};

TEST_F(GuiChannelTest, RequestsFromManyThreadsAreServedOnceEachOnTheGuiThread) {
    CCountingTarget target;
    auto slot = std::make_shared<SWindowSlot>();
    slot->target = &target;
    constexpr int kThreads = 8, kEach = 200;
    std::atomic<int> wrong{0}, finished{0};
    std::vector<std::thread> shells;
    for (int t = 0; t < kThreads; ++t) {
        shells.emplace_back([&, t] {
            SRequestBlock block;
            for (int i = 0; i < kEach; ++i) {
                block.args[0] = t * 1000 + i;
                if (!GuiChannel::Request(slot, 7, block) || block.result != 7 + t * 1000 + i) ++wrong;
            }
            ++finished;
        });
    }
    Spin([&] { return finished.load() == kThreads; });
    for (auto& s : shells) s.join();
    EXPECT_EQ(wrong.load(), 0);
    EXPECT_EQ(target.served, kThreads * kEach);
    EXPECT_TRUE(target.onGuiThread);
}

TEST_F(GuiChannelTest, AWindowThatIsGoneAnswersAtOnceWithACleanBlock) {
    auto slot = std::make_shared<SWindowSlot>();
    slot->gone = true;
    SRequestBlock block;
    block.result = 99;
    std::atomic<bool> returned{false};
    std::thread shell([&] {
        EXPECT_FALSE(GuiChannel::Request(slot, 1, block));
        returned = true;
    });
    // No event loop turns here: the answer must not need the GUI thread.
    shell.join();
    EXPECT_TRUE(returned.load());
    EXPECT_EQ(block.result, 0);
    EXPECT_FALSE(block.served);
}

TEST_F(GuiChannelTest, ClosingReleasesWaitingShellsAndRefusesLaterRequests) {
    CCountingTarget target;
    auto slot = std::make_shared<SWindowSlot>();
    slot->target = &target;
    std::atomic<int> released{0};
    std::vector<std::thread> shells;
    for (int t = 0; t < 4; ++t)
        shells.emplace_back([&] {
            SRequestBlock block;
            EXPECT_FALSE(GuiChannel::Request(slot, 3, block));
            ++released;
        });
    // The GUI thread is busy elsewhere (it does not turn its loop) until the four
    // blocks wait in the channel; then the program ends.
    while (GuiChannel::Pending() < 4) std::this_thread::yield();
    GuiChannel::Close();
    for (auto& s : shells) s.join();
    EXPECT_EQ(released.load(), 4);
    EXPECT_EQ(target.served, 0);
    // The queued calls that arrive later find nothing to serve.
    QCoreApplication::processEvents();
    EXPECT_EQ(target.served, 0);
    SRequestBlock late;
    std::thread after([&] { EXPECT_FALSE(GuiChannel::Request(slot, 3, late)); });
    after.join();
}

TEST_F(GuiChannelTest, OnTheGuiThreadARequestIsServedAtOnce) {
    CCountingTarget target;
    auto slot = std::make_shared<SWindowSlot>();
    slot->target = &target;
    SRequestBlock block;
    block.args[0] = 5;
    EXPECT_TRUE(GuiChannel::Request(slot, 2, block));
    EXPECT_EQ(block.result, 7);
    EXPECT_EQ(target.served, 1);
}

} // namespace
