// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/RecordWatch.h"

#include "Foundation/Property.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string_view>
#include <thread>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class Record final : public Observable {
public:
    Property<int> number { *this, "number" };
    Property<int> other { *this, "other" };
};

class RecordWatchTest : public testing::Test {
protected:
    RecordWatchTest() {
        queue.setWaker([this] { ++wakes; });
        watch.emplace(queue, [this](const RecordWatch::Changed& changed) {
            EXPECT_TRUE(queue.isMainThread());
            told.push_back(changed);
        });
        watch->setRecords({ &first, &second });
    }

    Record first;
    Record second;
    Record third;
    MainThreadQueue queue;
    std::atomic<int> wakes = 0;
    std::vector<RecordWatch::Changed> told;
    std::optional<RecordWatch> watch;
};

TEST_F(RecordWatchTest, tellsOnceATurnWhichRecordsChangedHoweverOften) {
    for (int number = 0; number < 100; ++number)
        std::thread([&] {
            first.number.set(number);
            first.other.set(number);
        }).join();
    second.number.set(1);
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(wakes, 1);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(UnorderedElementsAre(&first, &second)));
    second.number.set(2);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(testing::_, ElementsAre(&second)));
}

TEST_F(RecordWatchTest, tellsOfAChangeOnlyWhenItIsMade) {
    const auto turnInBetween = first.observe("number", [this](std::string_view, Change change) {
        if (change == Change::Will)
            queue.runPending();
    });
    first.number.set(1);
    EXPECT_THAT(told, IsEmpty());
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(ElementsAre(&first)));
}

TEST_F(RecordWatchTest, watchesOtherRecordsInPlaceOfThoseBefore) {
    watch->setRecords({ &second, &third });
    first.number.set(1);
    queue.runPending();
    EXPECT_THAT(told, IsEmpty());
    second.number.set(1);
    third.number.set(1);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(UnorderedElementsAre(&second, &third)));
}

TEST_F(RecordWatchTest, aRecordThatStaysIsWatchedOnce) {
    watch->setRecords({ &second, &first, &third });
    first.number.set(1);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(ElementsAre(&first)));
}

TEST_F(RecordWatchTest, tellsNothingAfterItsEnd) {
    first.number.set(1);
    watch.reset();
    second.number.set(1);
    queue.runPending();
    EXPECT_THAT(told, IsEmpty());
}

TEST_F(RecordWatchTest, aListenerMayWatchOtherRecordsAndEndTheWatch) {
    watch.emplace(queue, [this](const RecordWatch::Changed& changed) {
        told.push_back(changed);
        if (changed.contains(&first))
            watch->setRecords({ &third });
        else
            watch.reset();
    });
    watch->setRecords({ &first });
    first.number.set(1);
    queue.runPending();
    third.number.set(1);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(ElementsAre(&first), ElementsAre(&third)));
    EXPECT_FALSE(watch.has_value());
}

TEST_F(RecordWatchTest, recordsMayChangeOnFourThreadsWhileOthersAreWatched) {
    constexpr int rounds = 500;
    std::vector<std::thread> workers;
    for (int worker = 0; worker < 4; ++worker)
        workers.emplace_back([this] {
            for (int number = 1; number <= rounds; ++number)
                for (auto* record : { &first, &second, &third })
                    record->number.set(number);
        });
    for (int turn = 0; turn < rounds; ++turn) {
        watch->setRecords(
            turn % 2 ? std::vector<Observable*> { &first } : std::vector<Observable*> { &second, &third });
        queue.runPending();
    }
    watch->setRecords({ &first, &second, &third });
    for (auto& worker : workers)
        worker.join();
    queue.runPending();
    told.clear();
    for (auto* record : { &first, &second, &third })
        record->number.set(0);
    queue.runPending();
    EXPECT_THAT(told, ElementsAre(UnorderedElementsAre(&first, &second, &third)));
}

} // namespace
} // namespace quorrel
