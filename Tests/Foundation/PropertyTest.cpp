// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Property.h"
#include "Foundation/CountedProperty.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cstddef>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {

namespace {

struct Record : Observable {
    Property<int> count { *this, "count" };
    Property<std::string> name { *this, "name", "initial" };
    Property<std::shared_ptr<int>> object { *this, "object" };
};

struct Guarded : Observable {
    Property<int, Guarded> count { *this, "count" };
    void setCount(int value) { count.assign(value * 2); }
};

struct Counted : Observable {
    ChangeCount names;
    ChangeCount ends;
    CountedProperty<std::string, isOther<std::string>> name { *this, "name", names };
    CountedProperty<bool, isCleared> mark { *this, "mark", ends };
};

/// What a notification showed: key, phase and the record's values at that moment.
using Seen = std::vector<std::string>;

Observable::Observer noting(Seen& seen, Record& record) {
    return [&](std::string_view key, Change change) {
        seen.push_back(std::string(key) + (change == Change::Will ? " will " : " did ")
            + std::to_string(record.count.get()) + " " + record.name.get());
    };
}

} // namespace

TEST(PropertyTest, startsWithItsInitialValue) {
    const Record record;
    EXPECT_EQ(record.count.get(), 0);
    EXPECT_EQ(record.name.get(), "initial");
}

TEST(PropertyTest, tellsBeforeAndAfterTheStore) {
    Record record;
    Seen seen;
    const auto subscription = record.observeAll(noting(seen, record));
    record.count.set(5);
    EXPECT_EQ(seen, (Seen { "count will 0 initial", "count did 5 initial" }));
}

TEST(PropertyTest, tellsOfAnEqualValueToo) {
    Record record;
    Seen seen;
    const auto subscription = record.observe("name", noting(seen, record));
    record.name.set("initial");
    EXPECT_EQ(seen, (Seen { "name will 0 initial", "name did 0 initial" }));
}

TEST(PropertyTest, tellsOnlyThoseWhoObserveTheKey) {
    Record record;
    Seen counts;
    Seen names;
    const auto first = record.observe("count", noting(counts, record));
    const auto second = record.observe("name", noting(names, record));
    record.count.set(1);
    EXPECT_EQ(counts.size(), 2U);
    EXPECT_TRUE(names.empty());
}

TEST(PropertyTest, tellsObserversInTheOrderOfTheirRegistration) {
    Record record;
    std::vector<int> order;
    const auto first = record.observeAll([&](std::string_view, Change) { order.push_back(1); });
    const auto second = record.observe("count", [&](std::string_view, Change) { order.push_back(2); });
    const auto third = record.observeAll([&](std::string_view, Change) { order.push_back(3); });
    record.count.set(1);
    EXPECT_EQ(order, (std::vector { 1, 2, 3, 1, 2, 3 }));
}

TEST(PropertyTest, tellsOnTheThreadThatSets) {
    Record record;
    std::vector<std::thread::id> threads;
    const auto subscription
        = record.observe("count", [&](std::string_view, Change) { threads.push_back(std::this_thread::get_id()); });
    std::thread::id setter;
    std::thread([&] {
        setter = std::this_thread::get_id();
        record.count.set(1);
    }).join();
    EXPECT_EQ(threads, (std::vector { setter, setter }));
}

TEST(PropertyTest, holdsNoLockWhileObserversRun) {
    Record record;
    int calls = 0;
    const auto subscription = record.observe("count", [&](std::string_view, Change) {
        ++calls;
        // Neither the record's nor that of its observers: another thread can read, register and set meanwhile.
        std::thread([&] {
            EXPECT_EQ(record.count.get(), calls == 1 ? 0 : 1);
            const auto other = record.observe("name", [](std::string_view, Change) {});
            record.name.set("set by another thread");
        }).join();
    });
    record.count.set(1);
    EXPECT_EQ(calls, 2);
    EXPECT_EQ(record.name.get(), "set by another thread");
}

TEST(PropertyTest, anObserverMaySetTheSameField) {
    Record record;
    const auto subscription = record.observe("count", [&](std::string_view, Change change) {
        if (change == Change::Did && record.count.get() < 3)
            record.count.set(record.count.get() + 1);
    });
    record.count.set(1);
    EXPECT_EQ(record.count.get(), 3);
}

TEST(PropertyTest, theOldValueIsDestroyedWithNoLockHeld) {
    Record record;
    int seen = -1;
    record.count.set(7);
    record.object.set(std::shared_ptr<int>(new int(1), [&](const int* number) {
        seen = record.count.get();
        delete number;
    }));
    record.object.set(nullptr);
    EXPECT_EQ(seen, 7);
}

TEST(PropertyTest, aGuardedFieldIsSetThroughItsOwnerOnly) {
    Guarded guarded;
    guarded.setCount(4);
    EXPECT_EQ(guarded.count.get(), 8);
}

TEST(PropertyTest, absentReadsAsFalseAndAsEmpty) {
    EXPECT_FALSE(isSet(OptionalFlag()));
    EXPECT_FALSE(isSet(OptionalFlag(false)));
    EXPECT_TRUE(isSet(OptionalFlag(true)));
    EXPECT_EQ(textOf(OptionalText()), "");
    EXPECT_EQ(textOf(OptionalText("x")), "x");
}

TEST(PropertyTest, manyThreadsSetReadAndObserve) {
    Record record;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&record, number] {
            for (int round = 0; round < 200; ++round) {
                std::atomic<std::size_t> heard = 0; // the other threads tell this observer, too
                const auto subscription
                    = record.observe("name", [&](std::string_view key, Change) { heard += key.size(); });
                record.name.set("name " + std::to_string(number));
                EXPECT_GE(heard, 8U);
                EXPECT_EQ(record.name.get().substr(0, 5), "name ");
            }
        });
    for (auto& thread : threads)
        thread.join();
}

TEST(ObservableTest, anOwnerAnnouncesACompoundChange) {
    Record record;
    Seen seen;
    const auto subscription = record.observe("hosts", noting(seen, record));
    record.willChangeValueForKey("hosts");
    record.name.set("changed");
    record.didChangeValueForKey("hosts");
    EXPECT_EQ(seen, (Seen { "hosts will 0 initial", "hosts did 0 changed" }));
}

TEST(CountedPropertyTest, countsTheChangesThatItIsMadeFor) {
    Counted record;
    record.name.set("");
    EXPECT_EQ(record.names, 0U) << "the same";
    record.name.set("other");
    EXPECT_EQ(record.names, 1U);
    record.mark.set(false);
    record.mark.set(true);
    record.mark.set(true);
    EXPECT_EQ(record.ends, 0U);
    record.mark.set(false);
    EXPECT_EQ(record.ends, 1U);
    EXPECT_EQ(record.names, 1U);
}

TEST(CountedPropertyTest, tellsAsAnyPropertyDoesAndHasCountedWhenItTellsOfTheStore) {
    Counted record;
    Seen seen;
    const auto subscription = record.observe("name", [&](std::string_view, Change change) {
        seen.push_back(
            (change == Change::Will ? "will " : "did ") + record.name.get() + std::to_string(record.names.load()));
    });
    record.name.set("a");
    record.name.set("a");
    EXPECT_EQ(seen, (Seen { "will 0", "did a1", "will a1", "did a1" }));
}

} // namespace quorrel
