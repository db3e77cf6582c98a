// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/MainThreadQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quorrel {

TEST(MainThreadQueueTest, runsWhatWasPostedInOrder) {
    MainThreadQueue queue;
    std::vector<int> order;
    for (int number = 0; number < 3; ++number)
        queue.post([&order, number] { order.push_back(number); });
    EXPECT_TRUE(order.empty());
    queue.runPending();
    EXPECT_EQ(order, (std::vector { 0, 1, 2 }));
    queue.runPending();
    EXPECT_EQ(order.size(), 3U);
}

TEST(MainThreadQueueTest, aTaskPostedByATaskWaitsForTheNextTurn) {
    MainThreadQueue queue;
    int ran = 0;
    queue.post([&] { queue.post([&] { ++ran; }); });
    queue.runPending();
    EXPECT_EQ(ran, 0);
    queue.runPending();
    EXPECT_EQ(ran, 1);
}

TEST(MainThreadQueueTest, wakesOncePerBatchWithNoLockHeld) {
    MainThreadQueue queue;
    int wakes = 0;
    queue.setWaker([&] {
        ++wakes;
        std::thread([&] { queue.post([] {}); }).join(); // would wait for ever on a held lock
    });
    queue.post([] {});
    queue.post([] {});
    EXPECT_EQ(wakes, 1);
    queue.runPending();
    queue.post([] {});
    EXPECT_EQ(wakes, 2);
}

TEST(MainThreadQueueTest, wakesForATaskPostedWhileOthersRun) {
    MainThreadQueue queue;
    int wakes = 0;
    queue.setWaker([&] { ++wakes; });
    queue.post([&] { queue.post([] {}); });
    queue.runPending();
    EXPECT_EQ(wakes, 2);
}

TEST(MainThreadQueueTest, leavesTasksWhereTheyAreDuringAPause) {
    MainThreadQueue queue;
    int wakes = 0;
    int ran = 0;
    queue.setWaker([&] { ++wakes; });
    {
        const MainThreadQueue::Pause outer(queue);
        {
            const MainThreadQueue::Pause inner(queue);
            queue.post([&] { ++ran; });
            queue.runPending();
        }
        queue.runPending();
        EXPECT_EQ(ran, 0);
        EXPECT_EQ(wakes, 1);
    }
    EXPECT_EQ(wakes, 2);
    queue.runPending();
    EXPECT_EQ(ran, 1);
}

TEST(MainThreadQueueTest, aPauseDuringWhichNothingWasPostedWakesNobody) {
    MainThreadQueue queue;
    int wakes = 0;
    queue.setWaker([&] { ++wakes; });
    { const MainThreadQueue::Pause pause(queue); }
    EXPECT_EQ(wakes, 0);
}

TEST(MainThreadQueueTest, knowsItsThread) {
    const MainThreadQueue queue;
    EXPECT_TRUE(queue.isMainThread());
    bool other = true;
    std::thread([&] { other = queue.isMainThread(); }).join();
    EXPECT_FALSE(other);
}

TEST(MainThreadQueueTest, aTaskIsDestroyedAsSoonAsItRan) {
    MainThreadQueue queue;
    auto held = std::make_shared<int>(1);
    long during = 0;
    queue.post([held] {});
    queue.post([&] { during = held.use_count(); });
    queue.runPending();
    EXPECT_EQ(during, 1);
}

TEST(MainThreadQueueTest, aTaskThatThrowsLeavesThoseBehindItForTheNextTurn) {
    MainThreadQueue queue;
    std::vector<int> order;
    int wakes = 0;
    queue.setWaker([&] { ++wakes; });
    queue.post([&] { queue.post([&] { order.push_back(3); }); });
    queue.post([] { throw std::runtime_error("x"); });
    queue.post([&] { order.push_back(1); });
    queue.post([&] { order.push_back(2); });
    EXPECT_THROW(queue.runPending(), std::runtime_error);
    EXPECT_GE(wakes, 2);
    queue.runPending();
    EXPECT_EQ(order, (std::vector { 1, 2, 3 }));
}

TEST(MainThreadQueueTest, aThrowWithNothingPostedMeanwhileWakesForTheRest) {
    MainThreadQueue queue;
    int wakes = 0;
    queue.setWaker([&] { ++wakes; });
    queue.post([] { throw std::runtime_error("x"); });
    queue.post([] {});
    EXPECT_THROW(queue.runPending(), std::runtime_error);
    EXPECT_EQ(wakes, 2);
}

TEST(MainThreadQueueTest, aWakeThatCameToNothingForAPauseIsRepeated) {
    MainThreadQueue queue;
    int wakes = 0;
    queue.setWaker([&] { ++wakes; });
    queue.post([] {});
    {
        const MainThreadQueue::Pause pause(queue);
        queue.runPending(); // the loop's answer to the waker, which is not asked again
    }
    EXPECT_EQ(wakes, 2);
}

TEST(MainThreadQueueTest, aLoopWithinATaskRunsNothingDuringAPause) {
    MainThreadQueue queue;
    std::vector<int> order;
    queue.post([&] {
        const MainThreadQueue::Pause pause(queue);
        queue.post([&] { order.push_back(2); });
        queue.runPending();
    });
    queue.post([&] { order.push_back(1); });
    queue.runPending();
    EXPECT_EQ(order, (std::vector { 1 }));
    queue.runPending();
    EXPECT_EQ(order, (std::vector { 1, 2 }));
}

TEST(MainThreadQueueTest, losesNothingThatManyThreadsPost) {
    MainThreadQueue queue;
    int ran = 0;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 250; ++round)
                queue.post([&] { ++ran; });
        });
    for (auto& thread : threads)
        thread.join();
    queue.runPending();
    EXPECT_EQ(ran, 1000);
}

} // namespace quorrel
