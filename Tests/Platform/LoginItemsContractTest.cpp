// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AutostartLoginItems.h"
#include "Tests/Fakes/FakeLoginItems.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

namespace quorrel {

namespace {

struct OnFake final {
    FakeLoginItems items;
    std::string program = "/opt/quorrel";
    void putForeign(const std::string& path) { items.put(path, path == program); }
    void breakList() { items.failOpening(true); }
};

struct OnLinux final {
    TemporaryFolder home;
    AutostartLoginItems items { { home.path("config/autostart"), {}, {} } };
    std::string program = home.put("a program \"$HOME\" `id` 50%f \\ of all", "");
    void putForeign(const std::string& path) const {
        std::filesystem::create_directories(home.path("config/autostart"));
        home.put("config/autostart/foreign.desktop", "[Desktop Entry]\nExec=" + path + "\n");
    }
    void breakList() const {
        std::filesystem::create_directories(home.path("config"));
        home.put("config/autostart", "a file");
    }
};

} // namespace

template <typename Ground>
class LoginItemsContract : public testing::Test {
protected:
    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(LoginItemsContract, Grounds);

TYPED_TEST(LoginItemsContract, whatWasInsertedIsThereWhenTheListIsOpenedAgain) {
    const auto list = this->ground.items.open();
    ASSERT_TRUE(list);
    EXPECT_TRUE(list->snapshot().empty());
    const auto item = list->insertItemURL(this->ground.program);
    ASSERT_TRUE(item);
    EXPECT_EQ(list->snapshot(), std::vector { *item });
    const auto again = this->ground.items.open();
    ASSERT_TRUE(again);
    EXPECT_EQ(again->snapshot(), std::vector { *item });
    EXPECT_EQ(again->resolve(*item), this->ground.program);
}

TYPED_TEST(LoginItemsContract, twoItemsForOneProgramAreTwo) {
    const auto list = this->ground.items.open();
    const auto first = list->insertItemURL(this->ground.program);
    const auto second = list->insertItemURL(this->ground.program);
    ASSERT_TRUE(first && second);
    EXPECT_NE(*first, *second);
    EXPECT_EQ(list->snapshot(), (std::vector { *first, *second }));
    EXPECT_TRUE(list->remove(*first));
    EXPECT_EQ(list->snapshot(), std::vector { *second });
    EXPECT_EQ(list->resolve(*first), std::nullopt);
    EXPECT_EQ(list->resolve(*second), this->ground.program);
}

TYPED_TEST(LoginItemsContract, anItemWhoseFileIsMissingDoesNotResolveAndIsListed) {
    this->ground.putForeign("/nowhere/at/all");
    const auto list = this->ground.items.open();
    ASSERT_EQ(list->snapshot().size(), 1U);
    EXPECT_EQ(list->resolve(list->snapshot().front()), std::nullopt);
}

TYPED_TEST(LoginItemsContract, removingWhatIsGoneIsNoFailure) {
    const auto list = this->ground.items.open();
    const auto item = list->insertItemURL(this->ground.program);
    ASSERT_TRUE(item);
    EXPECT_TRUE(list->remove(*item));
    EXPECT_TRUE(list->remove(*item));
    EXPECT_TRUE(this->ground.items.open()->snapshot().empty());
}

TYPED_TEST(LoginItemsContract, aListThatCannotBeHadIsNull) {
    this->ground.breakList();
    EXPECT_FALSE(this->ground.items.open());
}

class AutostartLoginItemsTest : public testing::Test {
protected:
    void putEntry(const std::string& name, const std::string& lines) const {
        std::filesystem::create_directories(folder.path("autostart"));
        folder.put("autostart/" + name, "[Desktop Entry]\nType=Application\n" + lines);
    }
    /// What the only entry starts.
    [[nodiscard]] std::optional<std::string> resolved(const std::string& lines) {
        putEntry("entry.desktop", lines);
        const auto list = items.open();
        return list ? list->resolve({ "entry.desktop" }) : std::nullopt;
    }

    TemporaryFolder folder;
    std::string program = folder.put("quorrel", "", 0700);
    AutostartLoginItems items { { folder.path("autostart"), { "/nonexistent", folder.path() },
        { folder.path("Volumes") } } };
};

TEST_F(AutostartLoginItemsTest, anEntryIsOneThatDesktopsUnderstand) {
    ASSERT_TRUE(items.open()->insertItemURL(folder.put("my \"$%", "")));
    EXPECT_EQ(folder.contentOf("autostart/quorrel.desktop"),
        "[Desktop Entry]\nType=Application\nName=Quorrel\nIcon=org.quorrel.Quorrel\nExec=\"" + folder.path()
            + "/my \\\\\"\\\\$%%\"\nTryExec=" + folder.path() + "/my \"$%\nTerminal=false\n");
}

TEST_F(AutostartLoginItemsTest, whatIsThereIsNeverOverwritten) {
    putEntry("quorrel.desktop", "Exec=other\n");
    std::filesystem::create_symlink("nowhere", folder.path("autostart/quorrel-1.desktop"));
    std::filesystem::create_directory(folder.path("autostart/quorrel-2.desktop"));
    const auto before = folder.contentOf("autostart/quorrel.desktop");
    const auto item = items.open()->insertItemURL(program);
    ASSERT_TRUE(item);
    EXPECT_EQ(item->identifier, "quorrel-3.desktop");
    EXPECT_EQ(folder.contentOf("autostart/quorrel.desktop"), before);
    EXPECT_TRUE(std::filesystem::is_symlink(folder.path("autostart/quorrel-1.desktop")));
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(folder.path("autostart")), {}), 4);
}

TEST_F(AutostartLoginItemsTest, entriesOfOtherHandsAreRead) {
    EXPECT_EQ(resolved("Exec=" + program + " --hidden %U\n"), program);
    EXPECT_EQ(resolved("Exec=\"" + program + "\" \"a b\"\n"), program);
    EXPECT_EQ(resolved("Exec=quorrel\n"), program);
    EXPECT_EQ(resolved("Exec=quorrel\nHidden=false\nX-GNOME-Autostart-enabled=true\n"), program);
}

TEST_F(AutostartLoginItemsTest, whatStartsNothingDoesNotResolve) {
    EXPECT_EQ(resolved("Exec=quorrel\nHidden=true\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=quorrel\nX-GNOME-Autostart-enabled=false\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=" + folder.path("gone") + "\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=gone\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=./quorrel\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=autostart\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=\"" + program + "\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=\n"), std::nullopt);
    EXPECT_EQ(resolved("Name=Nothing\n"), std::nullopt);
    folder.put("autostart/entry.desktop", "no entry at all");
    EXPECT_EQ(items.open()->resolve({ "entry.desktop" }), std::nullopt);
}

TEST_F(AutostartLoginItemsTest, aProgramIsKnownBehindLinks) {
    std::filesystem::create_symlink(program, folder.path("link"));
    std::filesystem::create_symlink("gone", folder.path("dangling"));
    EXPECT_EQ(resolved("Exec=" + folder.path("link") + "\n"), program);
    EXPECT_EQ(resolved("Exec=link\n"), program);
    EXPECT_EQ(resolved("Exec=dangling\n"), std::nullopt);
}

TEST_F(AutostartLoginItemsTest, programsOnVolumesAreNotLookedAt) {
    std::filesystem::create_directory(folder.path("Volumes"));
    const auto remote = folder.put("Volumes/quorrel", "");
    std::filesystem::create_symlink(folder.path("Volumes"), folder.path("remote"));
    EXPECT_EQ(resolved("Exec=" + remote + "\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=" + folder.path("autostart/../Volumes/quorrel") + "\n"), std::nullopt);
    EXPECT_EQ(resolved("Exec=" + folder.path("remote/quorrel") + "\n"), std::nullopt);
}

TEST_F(AutostartLoginItemsTest, anEntryOnAVolumeIsNotRead) {
    std::filesystem::create_directory(folder.path("Volumes"));
    std::filesystem::create_directory(folder.path("autostart"));
    const auto remote = folder.put("Volumes/entry.desktop", "[Desktop Entry]\nExec=quorrel\n");
    std::filesystem::create_symlink(remote, folder.path("autostart/entry.desktop"));
    EXPECT_EQ(items.open()->resolve({ "entry.desktop" }), std::nullopt);
}

TEST_F(AutostartLoginItemsTest, onlyDesktopFilesAreItems) {
    putEntry("b.desktop", "");
    putEntry("a.desktop", "");
    putEntry("a.desktop.12-0.new", "");
    EXPECT_EQ(items.open()->snapshot(), (std::vector<LoginItemEntry> { { "a.desktop" }, { "b.desktop" } }));
}

TEST_F(AutostartLoginItemsTest, aFolderThatCannotBeMadeFailsTheInsertion) {
    const auto list = items.open();
    ASSERT_TRUE(list);
    folder.put("autostart", "a file");
    EXPECT_FALSE(list->insertItemURL(program));
    EXPECT_TRUE(list->snapshot().empty());
}

TEST_F(AutostartLoginItemsTest, whatWouldNotBeStartedIsNotInserted) {
    std::filesystem::create_directory(folder.path("Volumes"));
    const auto list = items.open();
    ASSERT_TRUE(list);
    for (const auto& path : { std::string(), std::string("quorrel"), folder.put("not\xFFutf8", ""), folder.path("gone"),
             folder.path("Volumes"), folder.put("Volumes/quorrel", ""), folder.path() })
        EXPECT_FALSE(list->insertItemURL(path)) << path;
    EXPECT_TRUE(list->snapshot().empty());
    EXPECT_FALSE(std::filesystem::exists(folder.path("autostart")));
}

} // namespace quorrel
