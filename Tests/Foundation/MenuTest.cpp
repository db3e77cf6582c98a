// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Menu.h"

#include <gmock/gmock.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

MenuItem titled(std::string title, int tag = 0) {
    MenuItem item { std::move(title) };
    item.tag = tag;
    return item;
}

MenuItem parentOf(const std::shared_ptr<Menu>& submenu) {
    MenuItem item { submenu->title() };
    item.submenu = submenu;
    return item;
}

std::vector<std::string> titles(const Menu& menu) {
    std::vector<std::string> result;
    for (const auto& item : menu.items())
        result.push_back(item.title);
    return result;
}

/// How often a menu announced a change.
class Announcements final {
public:
    explicit Announcements(Menu& menu)
        : m_subscription(menu.observe([this] { ++m_count; })) { }

    int take() { return std::exchange(m_count, 0); }

private:
    int m_count = 0;
    Subscription m_subscription;
};

} // namespace

class MenuTest : public testing::Test {
protected:
    Menu menu { "Menu" };
    Announcements announcements { menu };
};

TEST_F(MenuTest, HoldsItsItemsInOrderAndEachKnowsItsMenu) {
    EXPECT_THAT(menu.items(), IsEmpty());
    menu.addItem(titled("a"));
    menu.addItem(MenuItem::separator());
    menu.addItem(titled("b"));
    EXPECT_EQ(menu.title(), "Menu");
    EXPECT_THAT(titles(menu), ElementsAre("a", "", "b"));
    EXPECT_TRUE(menu.items()[1].isSeparator);
    EXPECT_FALSE(menu.items()[2].isSeparator);
    for (const auto& item : menu.items())
        EXPECT_EQ(item.menu, &menu);
    EXPECT_EQ(announcements.take(), 3);
}

TEST_F(MenuTest, FindsTheFirstItemWithATagOrATitle) {
    menu.replaceItems(0, 0, { titled("a", 5), titled("b", 7), titled("b", 7) });
    EXPECT_EQ(menu.indexOfItemWithTag(7), 1U);
    EXPECT_EQ(menu.indexOfItemWithTag(6), std::nullopt);
    EXPECT_EQ(menu.indexOfItemWithTitle("b"), 1U);
    EXPECT_EQ(menu.indexOfItemWithTitle("B"), std::nullopt);
}

TEST_F(MenuTest, FindsTheItemThatASubmenuHangsOn) {
    const auto first = std::make_shared<Menu>("Same");
    const auto second = std::make_shared<Menu>("Same");
    menu.replaceItems(0, 0, { titled("a"), parentOf(first), parentOf(second) });
    EXPECT_EQ(menu.indexOfItemWithSubmenu(second.get()), 2U);
    EXPECT_EQ(menu.indexOfItemWithSubmenu(&menu), std::nullopt);
}

TEST_F(MenuTest, ReplacesARangeWithOneAnnouncement) {
    menu.replaceItems(0, 0, { titled("a"), titled("b"), titled("c"), titled("d") });
    EXPECT_EQ(announcements.take(), 1);
    menu.replaceItems(1, 3, { titled("x"), titled("y"), titled("z") });
    EXPECT_THAT(titles(menu), ElementsAre("a", "x", "y", "z", "d"));
    EXPECT_EQ(announcements.take(), 1);
    for (const auto& item : menu.items())
        EXPECT_EQ(item.menu, &menu);
    menu.replaceItems(5, 5, { titled("e") });
    EXPECT_THAT(titles(menu), ElementsAre("a", "x", "y", "z", "d", "e"));
    menu.removeAllItems();
    EXPECT_THAT(menu.items(), IsEmpty());
    EXPECT_EQ(announcements.take(), 2);
}

TEST_F(MenuTest, AnnouncesThatAnItemIsEnabledOnlyWhenThatChanges) {
    menu.addItem(titled("a"));
    announcements.take();
    menu.setEnabled(0, true);
    EXPECT_EQ(announcements.take(), 0);
    menu.setEnabled(0, false);
    EXPECT_FALSE(menu.items()[0].isEnabled);
    EXPECT_EQ(announcements.take(), 1);
}

TEST_F(MenuTest, HearsOfChangesBelowItForAsLongAsTheyAreBelowIt) {
    const auto child = std::make_shared<Menu>("Child");
    const auto grandchild = std::make_shared<Menu>("Grandchild");
    child->addItem(parentOf(grandchild));
    menu.addItem(parentOf(child));
    announcements.take();
    grandchild->addItem(titled("a"));
    EXPECT_EQ(announcements.take(), 1);
    menu.removeAllItems();
    announcements.take();
    grandchild->addItem(titled("b"));
    child->addItem(titled("c"));
    EXPECT_EQ(announcements.take(), 0);
}

TEST_F(MenuTest, ASubmenuThatIsPutBackIsHeardOfAgain) {
    const auto child = std::make_shared<Menu>("Child");
    menu.addItem(parentOf(child));
    menu.replaceItems(0, 1, { titled("a"), parentOf(child) });
    announcements.take();
    child->addItem(titled("b"));
    EXPECT_EQ(announcements.take(), 1);
}

TEST_F(MenuTest, ASubmenuThatWentToAnotherMenuIsHeardOfThere) {
    const auto child = std::make_shared<Menu>("Child");
    Menu other("Other");
    Announcements heard(other);
    menu.addItem(parentOf(child));
    other.addItem(parentOf(child));
    menu.removeAllItems();
    heard.take();
    announcements.take();
    child->addItem(titled("a"));
    EXPECT_EQ(heard.take(), 1);
    EXPECT_EQ(announcements.take(), 0);
}

TEST_F(MenuTest, ASubmenuOutlivesTheMenuThatItWasIn) {
    const auto child = std::make_shared<Menu>("Child");
    Announcements heard(*child);
    {
        Menu other("Other");
        other.addItem(parentOf(child));
    }
    child->addItem(titled("a"));
    EXPECT_EQ(heard.take(), 1);
}

TEST_F(MenuTest, AnObserverMayChangeTheMenuAndComeAndGo) {
    int calls = 0;
    Subscription once;
    once = menu.observe([&] {
        ++calls;
        once.cancel();
        menu.addItem(titled("added by the observer"));
    });
    menu.addItem(titled("a"));
    EXPECT_EQ(calls, 1);
    EXPECT_THAT(titles(menu), ElementsAre("a", "added by the observer"));
    EXPECT_EQ(announcements.take(), 2);
}

TEST_F(MenuTest, KeepsTitlesAsTheyAre) {
    const std::vector<std::string> names { "a : b", "my_share", "Tom & Jerry", "a\tb", "a\nb",
        "\xd7\xa9\xd7\x9c\xd7\x95\xd7\x9d", "" };
    for (const auto& name : names)
        menu.addItem(titled(name));
    EXPECT_EQ(titles(menu), names);
}

} // namespace quorrel
