// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/LoginItem.h"

#include "Tests/Fakes/FakeLoginItems.h"

#include <gtest/gtest.h>

namespace quorrel {

class LoginItemTest : public testing::Test {
protected:
    using Paths = std::vector<std::string>;

    void toggle(bool isOn) {
        item.oOpenAtLogin = isOn;
        item.addLoginItem();
    }

    FakeLoginItems items;
    LoginItem item { items, "/opt/quorrel" };
};

TEST_F(LoginItemTest, turningTheBoxOnAppendsTheApplication) {
    items.put("/usr/bin/other");
    EXPECT_FALSE(item.isLoginItem());
    toggle(true);
    EXPECT_EQ(items.paths(), (Paths { "/usr/bin/other", "/opt/quorrel" }));
    EXPECT_TRUE(item.isLoginItem());
}

TEST_F(LoginItemTest, turningTheBoxOnDoesNotCheckWhatIsThere) {
    toggle(true);
    toggle(true);
    EXPECT_EQ(items.paths(), (Paths { "/opt/quorrel", "/opt/quorrel" }));
}

TEST_F(LoginItemTest, turningTheBoxOffRemovesEveryItemOfTheApplicationAndInsideIt) {
    for (const char* path : { "/opt/quorrel", "/usr/bin/other", "/opt/quorrel/bin/quorrel", "/opt", "/opt/quorrel" })
        items.put(path);
    toggle(false);
    EXPECT_EQ(items.paths(), (Paths { "/usr/bin/other", "/opt" }));
    EXPECT_FALSE(item.isLoginItem());
}

TEST_F(LoginItemTest, theTestForThePrefixIsOneOnTheText) {
    items.put("/opt/quorrel-nightly");
    items.put("/home/ann/opt/quorrel");
    EXPECT_TRUE(item.isLoginItem());
    toggle(false);
    EXPECT_EQ(items.paths(), (Paths { "/home/ann/opt/quorrel" }));
}

TEST_F(LoginItemTest, anItemWhoseFileIsMissingIsNotRemoved) {
    items.put("/opt/quorrel", false);
    EXPECT_FALSE(item.isLoginItem());
    toggle(false);
    EXPECT_EQ(items.paths(), (Paths { "/opt/quorrel" }));
}

TEST_F(LoginItemTest, aListThatCannotBeOpenedLeavesEverythingAsItWas) {
    items.put("/opt/quorrel");
    items.failOpening(true);
    EXPECT_FALSE(item.isLoginItem());
    toggle(false);
    toggle(true);
    items.failOpening(false);
    EXPECT_EQ(items.paths(), (Paths { "/opt/quorrel" }));
}

TEST_F(LoginItemTest, whatCouldNotBeStoredIsSeenByReadingBack) {
    items.failChanges(true);
    toggle(true);
    EXPECT_FALSE(item.isLoginItem());
    items.put("/opt/quorrel");
    toggle(false);
    EXPECT_TRUE(item.isLoginItem());
}

TEST_F(LoginItemTest, anApplicationThatDoesNotKnowWhereItIsTouchesNothing) {
    items.put("/usr/bin/other");
    LoginItem nowhere(items, "");
    EXPECT_FALSE(nowhere.isLoginItem());
    nowhere.addLoginItem();
    nowhere.oOpenAtLogin = true;
    nowhere.addLoginItem();
    EXPECT_EQ(items.paths(), (Paths { "/usr/bin/other" }));
}

} // namespace quorrel
