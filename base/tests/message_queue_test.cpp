#include <gtest/gtest.h>

#include <atomic>
#include <thread>

#include "base/event.h"
#include "base/message_queue.h"

TEST(MessageQueue, FirstInFirstOutAcrossThreads) {
    CMessageQueue queue;
    constexpr int kCount = 20000;
    std::thread producer([&] {
        for (int i = 0; i < kCount; ++i) queue.Post(4100, nullptr, i);
    });
    SMessage m;
    for (int i = 0; i < kCount; ++i) {
        ASSERT_TRUE(queue.Receive(m, true));
        ASSERT_EQ(m.param, i);
    }
    producer.join();
    EXPECT_FALSE(queue.Receive(m, false));
}

TEST(MessageQueue, NonBlockingReceiveOnEmptyQueue) {
    CMessageQueue queue;
    SMessage m;
    m.code = 77;
    EXPECT_FALSE(queue.Receive(m, false));
    EXPECT_EQ(m.code, 77u); // untouched
    EXPECT_FALSE(queue.ReceiveFor(m, 5));
}

TEST(MessageQueue, CloseRefusesPostsWakesReceiverAndKeepsWaitingMessages) {
    CMessageQueue queue;
    queue.Post(1, nullptr, 0, std::make_unique<STextPayload>(L"kept"));
    queue.Close();
    EXPECT_FALSE(queue.Post(2, nullptr, 0));
    SMessage m;
    ASSERT_TRUE(queue.Receive(m, true));
    ASSERT_NE(m.payload, nullptr);
    EXPECT_EQ(static_cast<STextPayload*>(m.payload.get())->text, L"kept");
    std::thread waiter([&] { EXPECT_FALSE(queue.Receive(m, true)); });
    waiter.join(); // returns although nothing arrives
}

TEST(MessageQueue, BlockedReceiverWakesOnPost) {
    CMessageQueue queue;
    std::atomic<bool> got{false};
    std::thread consumer([&] {
        SMessage m;
        got = queue.Receive(m, true) && m.code == 4098;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    queue.Post(4098, nullptr, 0);
    consumer.join();
    EXPECT_TRUE(got);
}

TEST(Event, ManualResetLetsEveryWaiterPassUntilReset) {
    CEvent event;
    EXPECT_FALSE(event.WaitFor(1));
    std::atomic<int> passed{0};
    std::vector<std::thread> waiters;
    for (int i = 0; i < 3; ++i)
        waiters.emplace_back([&] {
            event.Wait();
            ++passed;
        });
    event.Set();
    for (auto& t : waiters) t.join();
    EXPECT_EQ(passed, 3);
    EXPECT_TRUE(event.WaitFor(0));
    event.Reset();
    EXPECT_FALSE(event.IsSet());
}

TEST(Event, WaitForAllNeedsEveryEvent) {
    CEvent a(true), b;
    EXPECT_FALSE(WaitForAll({&a, &b}, 10));
    std::thread setter([&] { b.Set(); });
    EXPECT_TRUE(WaitForAll({&a, &b}));
    setter.join();
}
