// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/ObservableList.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

struct Owner : Observable {
    ObservableList<int> numbers { *this, "numbers" };
    ObservableList<std::shared_ptr<int>> objects { *this, "objects" };
};

using Numbers = std::vector<int>;

/// The list's size at each announcement.
Observable::Observer sizes(std::vector<std::string>& seen, Owner& owner) {
    return [&](std::string_view key, Change change) {
        seen.push_back(
            std::string(key) + (change == Change::Will ? " will " : " did ") + std::to_string(owner.numbers.count()));
    };
}

} // namespace

TEST(ObservableListTest, keepsTheOrderOfAppending) {
    Owner owner;
    owner.numbers.append(3);
    owner.numbers.append(1);
    owner.numbers.append(3);
    EXPECT_EQ(owner.numbers.snapshot(), (Numbers { 3, 1, 3 }));
    EXPECT_EQ(owner.numbers.count(), 3U);
}

TEST(ObservableListTest, removesEveryEqualItem) {
    Owner owner;
    owner.numbers.replace({ 3, 1, 3, 2 });
    owner.numbers.remove(3);
    EXPECT_EQ(owner.numbers.snapshot(), (Numbers { 1, 2 }));
    owner.numbers.removeAll();
    EXPECT_EQ(owner.numbers.count(), 0U);
}

TEST(ObservableListTest, announcesEveryChangeAroundIt) {
    Owner owner;
    std::vector<std::string> seen;
    const auto subscription = owner.observe("numbers", sizes(seen, owner));
    owner.numbers.append(1);
    owner.numbers.replace({ 1, 2, 3 });
    owner.numbers.remove(9);
    owner.numbers.remove(2);
    owner.numbers.removeAll();
    EXPECT_EQ(seen,
        (std::vector<std::string> { "numbers will 0", "numbers did 1", "numbers will 1", "numbers did 3",
            "numbers will 3", "numbers did 3", "numbers will 3", "numbers did 2", "numbers will 2", "numbers did 0" }));
}

TEST(ObservableListTest, anOwnerMayAnnounceAChangeItself) {
    Owner owner;
    std::vector<std::string> seen;
    const auto subscription = owner.observeAll(sizes(seen, owner));
    owner.numbers.replaceUnannounced({ 1, 2 });
    EXPECT_TRUE(seen.empty());
    EXPECT_EQ(owner.numbers.snapshot(), (Numbers { 1, 2 }));
}

TEST(ObservableListTest, mayChangeUnderAWalk) {
    Owner owner;
    owner.numbers.replace({ 1, 2, 3 });
    Numbers walked;
    for (const int number : owner.numbers.snapshot()) {
        owner.numbers.remove(number);
        walked.push_back(number);
    }
    EXPECT_EQ(walked, (Numbers { 1, 2, 3 }));
    EXPECT_EQ(owner.numbers.count(), 0U);
}

TEST(ObservableListTest, destroysWhatItRemovesWithNoLockHeld) {
    Owner owner;
    int destroyed = 0;
    const auto make = [&] {
        return std::shared_ptr<int>(new int(0), [&](const int* number) {
            destroyed += static_cast<int>(owner.numbers.count()) + 1;
            delete number;
        });
    };
    auto first = make();
    const std::shared_ptr<int> equal(std::shared_ptr<void>(), first.get()); // owns nothing
    owner.objects.append(std::exchange(first, nullptr));
    owner.objects.remove(equal);
    EXPECT_EQ(destroyed, 1);
    owner.objects.append(make());
    owner.objects.removeAll();
    EXPECT_EQ(destroyed, 2);
    owner.objects.append(make());
    owner.objects.replaceUnannounced({});
    EXPECT_EQ(destroyed, 3);
}

TEST(ObservableListTest, countsEveryChangeAnnouncedOrNotBeforeItTells) {
    Owner owner;
    std::vector<std::uint64_t> told;
    const auto subscription
        = owner.observe("numbers", [&](std::string_view, Change) { told.push_back(owner.numbers.changes()); });
    owner.numbers.append(3);
    owner.numbers.remove(7);
    EXPECT_EQ(told, (std::vector<std::uint64_t> { 0, 1, 1, 2 }));
    owner.numbers.replaceUnannounced({ 1, 2 });
    EXPECT_EQ(owner.numbers.changes(), 3U);
    EXPECT_EQ(owner.objects.changes(), 0U);
}

TEST(ObservableListTest, tellsSingleItems) {
    Owner owner;
    owner.numbers.replace({ 3, 1 });
    EXPECT_EQ(owner.numbers.itemAt(0), 3);
    EXPECT_EQ(owner.numbers.itemAt(1), 1);
    EXPECT_EQ(owner.numbers.itemAt(2), std::nullopt);
}

TEST(ObservableListTest, losesNothingThatManyThreadsAppend) {
    Owner owner;
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&owner, number] {
            for (int round = 0; round < 250; ++round)
                owner.numbers.append(number);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(owner.numbers.count(), 1000U);
}

} // namespace quorrel
