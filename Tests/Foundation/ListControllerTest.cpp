// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/ListController.h"
#include "Foundation/Text.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

namespace {

using Items = std::vector<std::string>;
using Controller = ListController<std::string>;

/// An item is "host/share"; each part is the value of a key.
std::string part(const std::string& item, std::string_view key) {
    const auto slash = item.find('/');
    return key == "host" ? item.substr(0, slash) : item.substr(slash + 1);
}

int comparisons = 0; // of the items below

struct Counted final {
    int number;
    friend bool operator==(const Counted& left, const Counted& right) {
        ++comparisons;
        return left.number == right.number;
    }
};

} // namespace

} // namespace quorrel

template <>
struct std::hash<quorrel::Counted> {
    std::size_t operator()(const quorrel::Counted& item) const { return std::hash<int>()(item.number); }
};

namespace quorrel {

class ListControllerTest : public testing::Test {
protected:
    /// Watches the list from now on; each announcement with what is selected at that moment.
    void watch() {
        subscription = controller.observe([this](ListChange change) {
            std::string line = change == ListChange::Arrangement ? "arrangement" : "selection";
            if (change == ListChange::Selection)
                for (const auto& item : controller.selectedObjects())
                    line += " " + item;
            announced.push_back(line);
        });
    }

    Controller controller { part };
    Items announced;
    Subscription subscription;
};

TEST_F(ListControllerTest, keepsTheOrderOfTheContentWithoutDescriptors) {
    controller.setContent({ "b/1", "a/2", "c/0" });
    EXPECT_EQ(controller.arrangedObjects(), (Items { "b/1", "a/2", "c/0" }));
}

TEST_F(ListControllerTest, sortsByTheDescriptorsInTurn) {
    controller.setSortDescriptors({ { "host", SortOrder::Ascending }, { "share", SortOrder::Descending } });
    controller.setContent({ "b/1", "a/1", "b/2", "a/2" });
    EXPECT_EQ(controller.arrangedObjects(), (Items { "a/2", "a/1", "b/2", "b/1" }));
    controller.setSortDescriptors({ { "share" } });
    EXPECT_EQ(controller.arrangedObjects(), (Items { "a/1", "b/1", "a/2", "b/2" }));
}

TEST_F(ListControllerTest, keepsTheOrderOfWhatIsEqual) {
    controller.setSortDescriptors({ { "host", SortOrder::Descending } });
    controller.setContent({ "a/3", "a/1", "a/2" });
    EXPECT_EQ(controller.arrangedObjects(), (Items { "a/3", "a/1", "a/2" }));
}

TEST_F(ListControllerTest, comparesAsItIsTold) {
    Controller other(part, [](const std::string& left, const std::string& right) {
        return Text::lowerCase(left) < Text::lowerCase(right);
    });
    other.setSortDescriptors({ { "host" } });
    other.setContent({ "b/", "C/", "A/" });
    EXPECT_EQ(other.arrangedObjects(), (Items { "A/", "b/", "C/" }));
}

TEST_F(ListControllerTest, selectsOnlyWhatIsThere) {
    controller.setContent({ "a/1", "b/1" });
    controller.setSelectedObjects({ "x/1", "b/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "b/1" }));
    controller.setSelectedObjects({});
    EXPECT_TRUE(controller.selectedObjects().empty());
}

TEST_F(ListControllerTest, theSelectionCanBeSelectedAgain) {
    controller.setContent({ "a/1", "b/1" });
    controller.setSelectedObjects({ "a/1", "b/1" });
    controller.setSelectedObjects(controller.selectedObjects());
    EXPECT_EQ(controller.selectedObjects(), (Items { "a/1", "b/1" }));
}

TEST_F(ListControllerTest, theSelectionSurvivesAChangeOfTheContent) {
    controller.setContent({ "a/1", "b/1", "c/1" });
    controller.setSelectedObjects({ "a/1", "c/1" });
    controller.setContent({ "c/1", "d/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "c/1" }));
    controller.setContent({ "a/1", "c/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "c/1" }));
}

TEST_F(ListControllerTest, theSelectionIsInTheOrderOfTheList) {
    controller.setContent({ "a/1", "b/1", "c/1" });
    controller.setSelectedObjects({ "c/1", "a/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "a/1", "c/1" }));
    controller.setSortDescriptors({ { "host", SortOrder::Descending } });
    EXPECT_EQ(controller.selectedObjects(), (Items { "c/1", "a/1" }));
}

TEST_F(ListControllerTest, announcesEveryNewArrangement) {
    watch();
    controller.setContent({ "b/1", "a/1" });
    controller.setContent({ "b/1", "a/1" });
    controller.setSortDescriptors({ { "host" } });
    controller.rearrange();
    EXPECT_EQ(announced, (Items { "arrangement", "arrangement", "arrangement", "arrangement" }));
}

TEST_F(ListControllerTest, theNewArrangementIsThereWhenItIsAnnounced) {
    Items seen;
    subscription = controller.observe([&](ListChange) { seen = controller.arrangedObjects(); });
    controller.setSortDescriptors({ { "host" } });
    controller.setContent({ "b/1", "a/1" });
    EXPECT_EQ(seen, (Items { "a/1", "b/1" }));
}

TEST_F(ListControllerTest, whatIsGoneIsNotSelectedWhenTheArrangementIsAnnounced) {
    controller.setContent({ "a/1", "b/1" });
    controller.setSelectedObjects({ "a/1", "b/1" });
    Items selected;
    subscription = controller.observe([&](ListChange change) {
        if (change == ListChange::Arrangement)
            selected = controller.selectedObjects();
    });
    controller.setContent({ "b/1", "c/1" });
    EXPECT_EQ(selected, (Items { "b/1" }));
}

TEST_F(ListControllerTest, theSelectionOfAnObserverIsAnnouncedOnce) {
    controller.setContent({ "a/1", "b/1" });
    controller.setSelectedObjects({ "a/1" });
    watch();
    const auto selecting = controller.observe([&](ListChange change) {
        if (change == ListChange::Arrangement)
            controller.setSelectedObjects({ "b/1" });
    });
    controller.setContent({ "b/1" });
    EXPECT_EQ(announced, (Items { "arrangement", "selection b/1" }));
}

TEST_F(ListControllerTest, aSelectionOfManyIsNotComparedEachWithEach) {
    ListController<Counted> many([](const Counted& item, std::string_view) { return std::to_string(item.number); });
    std::vector<Counted> items;
    for (int number = 0; number < 1000; ++number)
        items.push_back({ number });
    many.setContent(items);
    comparisons = 0;
    many.setSelectedObjects(items);
    many.rearrange();
    EXPECT_EQ(many.selectedObjects().size(), items.size());
    EXPECT_LT(comparisons, 20'000);
}

TEST_F(ListControllerTest, announcesASelectionOnlyWhenItChanges) {
    controller.setContent({ "a/1", "b/1" });
    watch();
    controller.setSelectedObjects({ "b/1" });
    controller.setSelectedObjects({ "b/1", "x/1" });
    controller.setSelectedObjects({ "b/1", "a/1" });
    controller.setSelectedObjects({});
    EXPECT_EQ(announced, (Items { "selection b/1", "selection a/1 b/1", "selection" }));
}

TEST_F(ListControllerTest, announcesTheSelectionThatANewContentLeaves) {
    controller.setContent({ "a/1", "b/1", "c/1" });
    controller.setSelectedObjects({ "a/1", "c/1" });
    watch();
    controller.setContent({ "c/1", "a/1" });
    controller.setContent({ "c/1" });
    controller.setContent({ "c/1", "d/1" });
    EXPECT_EQ(announced, (Items { "arrangement", "selection c/1 a/1", "arrangement", "selection c/1", "arrangement" }));
}

TEST_F(ListControllerTest, announcesNothingToWhoGaveItsSubscriptionUp) {
    watch();
    subscription.cancel();
    controller.setContent({ "a/1" });
    controller.setSelectedObjects({ "a/1" });
    EXPECT_TRUE(announced.empty());
}

TEST_F(ListControllerTest, anObserverMaySelectWhenTheArrangementChanges) {
    subscription = controller.observe([&](ListChange change) {
        if (change == ListChange::Arrangement)
            controller.setSelectedObjects({ controller.arrangedObjects().front() });
    });
    controller.setContent({ "a/1", "b/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "a/1" }));
    controller.setContent({ "b/1" });
    EXPECT_EQ(controller.selectedObjects(), (Items { "b/1" }));
}

TEST_F(ListControllerTest, readsEachKeyOnceHoweverManyItCompares) {
    int reads = 0;
    Controller counting([&](const std::string& item, std::string_view key) {
        ++reads;
        return part(item, key);
    });
    counting.setSortDescriptors({ { "host" }, { "share" } });
    Items items;
    for (int number = 0; number < 100; ++number)
        items.push_back(std::to_string(number * 37 % 100) + "/x");
    counting.setContent(items);
    EXPECT_EQ(reads, 200);
}

} // namespace quorrel
