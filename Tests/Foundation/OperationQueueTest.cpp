// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/OperationQueue.h"
#include "Tests/Fakes/Gate.h"
#include "Tests/Fakes/NoMoreThreads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

class Work final : public Operation {
public:
    explicit Work(std::function<void(Work&)> body)
        : m_body(std::move(body)) { }
    void main() override { m_body(*this); }

private:
    const std::function<void(Work&)> m_body;
};

std::shared_ptr<Work> work(std::function<void(Work&)> body) {
    return std::make_shared<Work>(std::move(body));
}

} // namespace

class OperationQueueTest : public testing::Test {
protected:
    /// Blocks a worker until the test opens the gate.
    std::shared_ptr<Work> blocked() {
        return work([this](Work&) {
            started.open();
            EXPECT_TRUE(mayEnd.wait());
        });
    }

    Gate started;
    Gate mayEnd;
    Gate idle;
    std::mutex mutex;
    std::vector<std::string> failures;
    OperationQueue queue { 4, [this](const std::string& what) {
                              const std::lock_guard lock(mutex);
                              failures.push_back(what);
                          } };
    Subscription idleSubscription = queue.observeIdle([this] { idle.open(); });
};

TEST_F(OperationQueueTest, runsOperationsOnOtherThreads) {
    std::thread::id thread;
    queue.addOperation(work([&](Work&) { thread = std::this_thread::get_id(); }));
    ASSERT_TRUE(idle.wait());
    EXPECT_NE(thread, std::this_thread::get_id());
    EXPECT_NE(thread, std::thread::id());
}

TEST_F(OperationQueueTest, runsFourAtATimeAndNoMore) {
    std::atomic<int> running = 0;
    std::atomic<int> most = 0;
    Gate ended;
    for (int number = 0; number < 12; ++number)
        queue.addOperation(work([&](Work&) {
            const int now = ++running;
            int before = most;
            while (before < now && !most.compare_exchange_weak(before, now)) { }
            started.open();
            EXPECT_TRUE(started.wait(4)); // four are in here together
            --running;
            ended.open();
        }));
    ASSERT_TRUE(ended.wait(12));
    EXPECT_EQ(most, 4);
    EXPECT_EQ(queue.maxConcurrentOperationCount(), 4U);
}

TEST_F(OperationQueueTest, aBlockedOperationBlocksOnlyItsOwnThread) {
    for (int number = 0; number < 3; ++number)
        queue.addOperation(blocked());
    ASSERT_TRUE(started.wait(3));
    Gate done;
    for (int number = 0; number < 20; ++number)
        queue.addOperation(work([&](Work&) { done.open(); }));
    EXPECT_TRUE(done.wait(20));
    mayEnd.open();
    EXPECT_TRUE(idle.wait());
}

TEST_F(OperationQueueTest, startsInTheOrderOfAdding) {
    std::vector<int> order;
    {
        OperationQueue single(1);
        for (int number = 0; number < 50; ++number)
            single.addOperation(work([&order, number](Work&) { order.push_back(number); }));
        Gate last;
        single.addOperation(work([&](Work&) { last.open(); }));
        ASSERT_TRUE(last.wait());
    }
    ASSERT_EQ(order.size(), 50U);
    for (int number = 0; number < 50; ++number)
        EXPECT_EQ(order[static_cast<std::size_t>(number)], number);
}

TEST_F(OperationQueueTest, countsWhatWaitsAndWhatRuns) {
    EXPECT_EQ(queue.operationCount(), 0U);
    for (int number = 0; number < 6; ++number)
        queue.addOperation(blocked());
    ASSERT_TRUE(started.wait(4));
    EXPECT_EQ(queue.operationCount(), 6U);
    mayEnd.open();
    ASSERT_TRUE(idle.wait());
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST_F(OperationQueueTest, cancelKeepsWhatWaitsFromStartingAndTellsWhatRuns) {
    Gate sawCancel;
    auto running = work([&](Work& self) {
        started.open();
        EXPECT_TRUE(mayEnd.wait());
        if (self.isCancelled())
            sawCancel.open();
    });
    queue.addOperation(running);
    for (int number = 0; number < 3; ++number)
        queue.addOperation(blocked());
    ASSERT_TRUE(started.wait(4));
    std::atomic<bool> ran = false;
    const auto waiting = work([&](Work&) { ran = true; });
    queue.addOperation(waiting);
    queue.cancelAllOperations();
    EXPECT_TRUE(waiting->isCancelled());
    EXPECT_TRUE(running->isCancelled());
    EXPECT_EQ(queue.operationCount(), 4U);
    mayEnd.open();
    EXPECT_TRUE(sawCancel.wait());
    EXPECT_TRUE(idle.wait());
    EXPECT_FALSE(ran);
}

TEST_F(OperationQueueTest, anOperationCancelledBeforeItsTurnNeverStarts) {
    std::atomic<bool> ran = false;
    const auto operation = work([&](Work&) { ran = true; });
    operation->cancel();
    queue.addOperation(operation);
    ASSERT_TRUE(idle.wait());
    EXPECT_FALSE(ran);
}

TEST_F(OperationQueueTest, runsWhatIsAddedAfterACancel) {
    queue.cancelAllOperations();
    Gate ran;
    queue.addOperation(work([&](Work&) { ran.open(); }));
    EXPECT_TRUE(ran.wait());
}

TEST_F(OperationQueueTest, anExceptionIsToldAndEndsOnlyItsOperation) {
    queue.addOperation(work([](Work&) { throw std::runtime_error("broken"); }));
    ASSERT_TRUE(idle.wait(1));
    queue.addOperation(work([](Work&) { throw 1; }));
    ASSERT_TRUE(idle.wait(2));
    Gate ran;
    queue.addOperation(work([&](Work&) { ran.open(); }));
    EXPECT_TRUE(ran.wait());
    const std::lock_guard lock(mutex);
    EXPECT_EQ(failures, (std::vector<std::string> { "broken", "an exception of unknown type" }));
}

TEST_F(OperationQueueTest, letsGoOfAnOperationBeforeItIsIdle) {
    std::weak_ptr<Work> kept;
    {
        auto operation = work([](Work&) {});
        kept = operation;
        queue.addOperation(std::move(operation));
    }
    ASSERT_TRUE(idle.wait());
    EXPECT_TRUE(kept.expired());
}

TEST_F(OperationQueueTest, anOperationMayAddAnother) {
    Gate second;
    queue.addOperation(work([&](Work&) { queue.addOperation(work([&](Work&) { second.open(); })); }));
    EXPECT_TRUE(second.wait());
}

TEST_F(OperationQueueTest, cancellingAllThatWaitsTellsThatItIsIdle) {
    OperationQueue stopped(0); // nothing ever starts
    Gate told;
    const auto subscription = stopped.observeIdle([&] { told.open(); });
    stopped.addOperation(work([](Work&) {}));
    EXPECT_EQ(stopped.operationCount(), 1U);
    stopped.cancelAllOperations();
    EXPECT_EQ(told.count(), 1);
    EXPECT_EQ(stopped.operationCount(), 0U);
}

TEST_F(OperationQueueTest, tellsOfEachEndAlsoWhileOthersRun) {
    Gate ends;
    Gate release;
    OperationQueue two(2);
    const auto subscription = two.observeEnds([&] { ends.open(); });
    two.addOperation(work([&](Work&) { EXPECT_TRUE(release.wait()); }));
    two.addOperation(work([](Work&) {}));
    EXPECT_TRUE(ends.wait());
    EXPECT_EQ(two.operationCount(), 1U);
    EXPECT_EQ(ends.count(), 1);
    release.open();
}

TEST_F(OperationQueueTest, tellsOfTheEndOfWhatNeverStarted) {
    OperationQueue stopped(0);
    Gate ends;
    const auto subscription = stopped.observeEnds([&] { ends.open(); });
    stopped.cancelAllOperations();
    EXPECT_EQ(ends.count(), 0);
    stopped.addOperation(work([](Work&) {}));
    stopped.addOperation(work([](Work&) {}));
    stopped.cancelAllOperations();
    EXPECT_EQ(ends.count(), 1);
}

TEST_F(OperationQueueTest, anOperationTakesThePlaceOfTheWaitingOneOfItsKeyAtTheEnd) {
    const int subject = 0;
    const int otherSubject = 0;
    std::vector<std::string> order;
    OperationQueue single(1);
    Gate done;
    Gate ends;
    const auto note = [&](const std::string& name) { return work([&order, name](Work&) { order.push_back(name); }); };
    single.addOperation(blocked());
    ASSERT_TRUE(started.wait());
    const auto subscription = single.observeEnds([&] { ends.open(); });
    const auto first = note("mount");
    single.addOperation(first, { "mount", &subject });
    single.addOperation(note("unmount"), { "unmount", &subject });
    single.addOperation(note("other"), { "mount", &otherSubject });
    single.addOperation(note("without a key"));
    EXPECT_EQ(ends.count(), 0);
    single.addOperation(note("mount again"), { std::string_view("mount"), &subject });

    EXPECT_TRUE(first->isCancelled());
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(ends.count(), 1) << "told as of what was cancelled";
    EXPECT_EQ(single.operationCount(), 5U);
    single.addOperation(work([&](Work&) { done.open(); }));
    mayEnd.open();
    ASSERT_TRUE(done.wait());
    EXPECT_EQ(order, (std::vector<std::string> { "unmount", "other", "without a key", "mount again" }));
}

TEST_F(OperationQueueTest, anOperationThatHasStartedIsNotReplacedByALaterOneOfItsKey) {
    const OperationKey key { "mount", this };
    const auto running = blocked();
    queue.addOperation(running, key);
    ASSERT_TRUE(started.wait());
    queue.addOperation(blocked(), key);
    EXPECT_FALSE(running->isCancelled());
    mayEnd.open();
    EXPECT_TRUE(started.wait(2));
    EXPECT_TRUE(idle.wait());
}

TEST_F(OperationQueueTest, operationsOfOneSubjectRunOneAfterAnotherAndThoseBehindThemGoFirst) {
    const int otherSubject = 0;
    Gate otherRan;
    std::atomic<bool> othersRan = false;
    std::vector<std::string> order; // of one subject's, which no lock need guard
    const auto note = [&](const std::string& name) {
        return work([&, name](Work&) { order.push_back(othersRan ? name : name + " too early"); });
    };
    queue.addOperation(blocked(), { "mount", this });
    ASSERT_TRUE(started.wait());
    queue.addOperation(note("unmount"), { "unmount", this });
    queue.addOperation(note("mount"), { "mount", this });
    queue.addOperation(work([&](Work&) { otherRan.open(); }), { "mount", &otherSubject });
    queue.addOperation(work([&](Work&) { otherRan.open(); }));
    EXPECT_TRUE(otherRan.wait(2));
    EXPECT_EQ(idle.count(), 0);

    othersRan = true;
    mayEnd.open();
    ASSERT_TRUE(idle.wait());
    EXPECT_EQ(order, (std::vector<std::string> { "unmount", "mount" }));
}

TEST_F(OperationQueueTest, manySubjectsKeepTheirOrderOnAllWorkers) {
    constexpr std::size_t subjects = 20;
    constexpr int rounds = 50;
    std::vector<std::vector<int>> order(subjects);
    std::vector<std::atomic<int>> atWork(subjects);
    std::atomic<int> overlaps = 0;
    const std::vector<std::string> kinds = [] {
        std::vector<std::string> result;
        for (int round = 0; round < rounds; ++round)
            result.push_back(std::to_string(round));
        return result;
    }();
    for (int round = 0; round < rounds; ++round)
        for (std::size_t subject = 0; subject < subjects; ++subject)
            queue.addOperation(work([&, subject, round](Work&) {
                if (atWork[subject]++ == 0)
                    order[subject].push_back(round);
                else
                    ++overlaps;
                std::this_thread::yield();
                --atWork[subject];
            }),
                { kinds[static_cast<std::size_t>(round)], &order[subject] });
    for (int seen = 0; queue.operationCount() > 0;) // it may have been idle in between
        ASSERT_TRUE(idle.wait(++seen));
    EXPECT_EQ(overlaps, 0);
    for (const auto& each : order) {
        EXPECT_EQ(each.size(), static_cast<std::size_t>(rounds));
        EXPECT_TRUE(std::is_sorted(each.begin(), each.end()));
    }
}

TEST_F(OperationQueueTest, aKeyIsFreeAgainOnceItsOperationStartedOrWasCancelled) {
    OperationQueue stopped(0);
    const OperationKey key { "mount", this };
    const auto first = work([](Work&) {});
    stopped.addOperation(first, key);
    stopped.cancelAllOperations();
    const auto second = work([](Work&) {});
    stopped.addOperation(second, key);
    EXPECT_EQ(stopped.operationCount(), 1U);
    EXPECT_FALSE(second->isCancelled());
}

TEST_F(OperationQueueTest, anOperationAddedAgainWhileItWaitsMovesToTheEnd) {
    OperationQueue stopped(0);
    const auto operation = work([](Work&) {});
    stopped.addOperation(operation, { "scan", operation.get() });
    stopped.addOperation(operation, { "scan", operation.get() });
    EXPECT_FALSE(operation->isCancelled());
    EXPECT_EQ(stopped.operationCount(), 1U);
}

TEST_F(OperationQueueTest, anOperationRunsOnceForEachTimeItIsAddedAlsoTwiceAtOnce) {
    const auto twice = blocked();
    queue.addOperation(twice);
    queue.addOperation(twice);
    ASSERT_TRUE(started.wait(2)); // both are in there
    EXPECT_EQ(queue.operationCount(), 2U);
    mayEnd.open();
    ASSERT_TRUE(idle.wait());
    EXPECT_EQ(idle.count(), 1);
    queue.addOperation(twice);
    EXPECT_TRUE(started.wait(3));
    EXPECT_TRUE(idle.wait(2));
}

TEST_F(OperationQueueTest, whatIsAskedForOverAndOverWaitsOnce) {
    constexpr std::size_t subjects = 500;
    const std::vector<int> all(subjects);
    OperationQueue stopped(0);
    for (int round = 0; round < 20; ++round)
        for (const auto& subject : all)
            for (const auto* kind : { "mount", "unmount" })
                stopped.addOperation(work([](Work&) {}), { kind, &subject });
    EXPECT_EQ(stopped.operationCount(), 2 * subjects);
}

TEST_F(OperationQueueTest, whatNoThreadIsThereForIsCancelledAndTold) {
    const auto never = work([](Work&) { ADD_FAILURE(); });
    {
        const NoMoreThreads noMoreThreads;
        queue.addOperation(never);
    }
    EXPECT_TRUE(never->isCancelled());
    EXPECT_EQ(failures.size(), 1U);
    EXPECT_TRUE(queue.waitUntilIdle(Seconds(0)));
    bool hasRun = false;
    queue.addOperation(work([&](Work&) { hasRun = true; }));
    ASSERT_TRUE(idle.wait());
    EXPECT_TRUE(hasRun);
}

TEST_F(OperationQueueTest, whatNoFurtherThreadIsThereForWaitsForTheOneThereIs) {
    queue.addOperation(blocked());
    ASSERT_TRUE(started.wait());
    Gate hasRun;
    {
        const NoMoreThreads noMoreThreads;
        queue.addOperation(work([&](Work&) { hasRun.open(); }));
    }
    EXPECT_EQ(queue.operationCount(), 2U);
    EXPECT_FALSE(queue.waitUntilIdle(Seconds(0)));
    mayEnd.open();
    EXPECT_TRUE(hasRun.wait());
    EXPECT_TRUE(queue.waitUntilIdle(Seconds(30)));
    EXPECT_TRUE(failures.empty());
}

TEST(OperationQueueDestructorTest, cancelsEverythingAndWaitsForWhatRuns) {
    Gate started;
    std::atomic<bool> ended = false;
    std::atomic<bool> ran = false;
    {
        OperationQueue queue(1);
        queue.addOperation(work([&](Work& self) {
            started.open();
            while (!self.isCancelled())
                std::this_thread::yield();
            ended = true;
        }));
        queue.addOperation(work([&](Work&) { ran = true; }));
        ASSERT_TRUE(started.wait());
    }
    EXPECT_TRUE(ended);
    EXPECT_FALSE(ran);
}

TEST(OperationQueueDestructorTest, endsAtOnceWithoutWork) {
    const OperationQueue queue(4);
    EXPECT_EQ(queue.operationCount(), 0U);
}

TEST(OperationQueueStressTest, manyThreadsAddAndCancel) {
    std::atomic<int> ran = 0;
    Gate idle;
    OperationQueue queue(4);
    const auto subscription = queue.observeIdle([&] { idle.open(); });
    std::vector<std::thread> threads;
    for (int number = 0; number < 3; ++number)
        threads.emplace_back([&] {
            for (int round = 0; round < 200; ++round) {
                queue.addOperation(work([&](Work&) { ++ran; }));
                queue.addOperation(work([&](Work&) { ++ran; }), { "shared by all", &ran });
                if (round % 50 == 0)
                    queue.cancelAllOperations();
            }
        });
    for (auto& thread : threads)
        thread.join();
    Gate last;
    queue.addOperation(work([&](Work&) { last.open(); }));
    EXPECT_TRUE(last.wait());
    EXPECT_GT(ran, 0);
    EXPECT_LE(ran, 1200);
}

} // namespace quorrel
