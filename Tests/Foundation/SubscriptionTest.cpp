// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/ObserverList.h"
#include "Tests/Fakes/Gate.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>
#include <vector>

namespace quorrel {

using Observers = ObserverList<int>;
using Numbers = std::vector<int>;

TEST(SubscriptionTest, endsWithItsDestructor) {
    Observers observers;
    Numbers seen;
    {
        const auto subscription = observers.add([&](int number) { seen.push_back(number); });
        observers.notify(1);
    }
    observers.notify(2);
    EXPECT_EQ(seen, (Numbers { 1 }));
}

TEST(SubscriptionTest, cancelEndsItAndMayBeRepeated) {
    Observers observers;
    Numbers seen;
    auto subscription = observers.add([&](int number) { seen.push_back(number); });
    subscription.cancel();
    subscription.cancel();
    observers.notify(1);
    EXPECT_TRUE(seen.empty());
    Subscription().cancel();
}

TEST(SubscriptionTest, movesWithItsOwner) {
    Observers observers;
    Numbers seen;
    Subscription kept;
    {
        auto first = observers.add([&](int number) { seen.push_back(number); });
        kept = std::move(first);
    }
    observers.notify(1);
    Subscription last(std::move(kept));
    observers.notify(2);
    last = Subscription();
    observers.notify(3);
    EXPECT_EQ(seen, (Numbers { 1, 2 }));
}

TEST(SubscriptionTest, assigningAnotherEndsTheFirst) {
    Observers observers;
    Numbers seen;
    auto subscription = observers.add([&](int number) { seen.push_back(number); });
    subscription = observers.add([&](int number) { seen.push_back(10 * number); });
    observers.notify(1);
    EXPECT_EQ(seen, (Numbers { 10 }));
}

TEST(SubscriptionTest, mayOutliveWhatItObserves) {
    auto observers = std::make_unique<Observers>();
    const auto subscription = observers->add([](int) {});
    observers.reset();
}

TEST(SubscriptionTest, letsGoOfTheCallbackAtOnce) {
    Observers observers;
    auto held = std::make_shared<int>(1);
    auto subscription = observers.add([held](int) {});
    EXPECT_EQ(held.use_count(), 2);
    subscription.cancel();
    EXPECT_EQ(held.use_count(), 1);
}

TEST(SubscriptionTest, anObserverMayCancelItself) {
    Observers observers;
    Numbers seen;
    auto held = std::make_shared<int>(5);
    Subscription subscription;
    subscription = observers.add([&, held](int number) {
        subscription.cancel();
        seen.push_back(number + *held); // what the callback holds lives until it returns
    });
    observers.notify(1);
    observers.notify(2);
    EXPECT_EQ(seen, (Numbers { 6 }));
    EXPECT_EQ(held.use_count(), 1);
}

TEST(SubscriptionTest, anObserverMayCancelItselfFromWithinItself) {
    Observers observers;
    int calls = 0;
    auto held = std::make_shared<int>(1);
    const std::weak_ptr<int> watched = held;
    Subscription subscription;
    subscription = observers.add([&, kept = std::move(held)](int depth) {
        const auto& stillHeld = watched; // what the callback captured may be gone when it should not be
        ++calls;
        if (depth < 3)
            observers.notify(depth + 1);
        else
            subscription.cancel();
        EXPECT_FALSE(stillHeld.expired());
    });
    observers.notify(1);
    EXPECT_EQ(calls, 3);
    EXPECT_TRUE(watched.expired());
    observers.notify(1);
    EXPECT_EQ(calls, 3);
}

TEST(SubscriptionTest, anObserverCancelledDuringANotificationIsNotToldOfIt) {
    Observers observers;
    Numbers seen;
    Subscription second;
    const auto first = observers.add([&](int) { second.cancel(); });
    second = observers.add([&](int number) { seen.push_back(number); });
    observers.notify(1);
    EXPECT_TRUE(seen.empty());
}

TEST(SubscriptionTest, anObserverAddedDuringANotificationIsToldOfTheNext) {
    Observers observers;
    Numbers seen;
    std::optional<Subscription> added;
    const auto first = observers.add([&](int) {
        if (!added)
            added = observers.add([&](int number) { seen.push_back(number); });
    });
    observers.notify(1);
    EXPECT_TRUE(seen.empty());
    observers.notify(2);
    EXPECT_EQ(seen, (Numbers { 2 }));
}

TEST(SubscriptionTest, cancelWaitsForACallOnAnotherThread) {
    Observers observers;
    Gate isInside;
    Gate mayLeave;
    std::atomic<bool> hasLeft = false;
    auto subscription = observers.add([&](int) {
        isInside.open();
        EXPECT_TRUE(mayLeave.wait());
        hasLeft = true;
    });
    std::thread notifier([&] { observers.notify(1); });
    ASSERT_TRUE(isInside.wait());
    std::atomic<bool> cancelled = false;
    std::thread canceller([&] {
        subscription.cancel();
        EXPECT_TRUE(hasLeft);
        cancelled = true;
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(20)); // long enough for a cancel that does not wait
    EXPECT_FALSE(cancelled);
    mayLeave.open();
    canceller.join();
    notifier.join();
    EXPECT_TRUE(cancelled);
}

TEST(SubscriptionTest, whatACallbackThrowsLeavesNobodyInside) {
    Observers observers;
    auto subscription = observers.add([](int) { throw std::runtime_error("x"); });
    EXPECT_THROW(observers.notify(1), std::runtime_error);
    std::thread([&] { subscription.cancel(); }).join(); // would wait for ever
}

TEST(SubscriptionTest, comeAndGoOnManyThreads) {
    Observers observers;
    std::atomic<bool> isOver = false;
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 300; ++round) {
                auto alive = std::make_unique<int>(1);
                auto subscription = observers.add([pointer = alive.get()](int add) { *pointer += add; });
                std::this_thread::yield();
                subscription.cancel();
                alive.reset(); // nobody is inside any more
            }
        });
    std::thread notifier([&] {
        while (!isOver)
            observers.notify(1);
    });
    for (auto& thread : threads)
        thread.join();
    isOver = true;
    notifier.join();
}

} // namespace quorrel
