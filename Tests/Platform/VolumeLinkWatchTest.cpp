// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeLinkWatch.h"

#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/GlibTurns.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class VolumeLinkWatchTest : public testing::Test {
protected:
    void makeWatch(const std::string& home) {
        watch = std::make_unique<VolumeLinkWatch>(home, mounts, [this] { ++changes; });
    }
    std::vector<std::string> names() const {
        std::vector<std::string> result;
        for (const auto& link : watch->links())
            result.push_back(link.name);
        return result;
    }
    bool comesTo(const std::vector<std::string>& wanted) {
        return runMainContextUntil([&] { return names() == wanted; }, Seconds(10));
    }
    void add(const std::string& name) {
        std::string reason;
        EXPECT_EQ(links.add(name, mounts + "/" + name, reason), name) << reason;
    }
    void remove(const std::string& name) { links.removeLinksTo(mounts + "/" + name); }

    const TemporaryFolder folder;
    const std::string mounts = folder.path("gvfs");
    VolumeLinks links { folder.path(), mounts };
    std::unique_ptr<VolumeLinkWatch> watch;
    int changes = 0;
};

TEST_F(VolumeLinkWatchTest, knowsTheLinksThatAreThere) {
    add("b");
    add("a");
    makeWatch(folder.path());
    EXPECT_THAT(names(), ElementsAre("a", "b"));
    EXPECT_EQ(changes, 0);
}

TEST_F(VolumeLinkWatchTest, followsLinksWithAndWithoutTheirFolder) {
    makeWatch(folder.path());
    for (int round = 0; round < 20; ++round) {
        add("a");
        ASSERT_TRUE(comesTo({ "a" }));
        add("b");
        ASSERT_TRUE(comesTo({ "a", "b" }));
        remove("a");
        ASSERT_TRUE(comesTo({ "b" }));
        remove("b"); // and the folder with it
        ASSERT_TRUE(comesTo({}));
    }
    EXPECT_EQ(changes, 80);
}

TEST_F(VolumeLinkWatchTest, aFolderThatIsReplacedBetweenTurnsIsFollowedOn) {
    makeWatch(folder.path());
    for (int round = 0; round < 20; ++round) {
        add("a");
        remove("a");
        add("b");
        ASSERT_TRUE(comesTo({ "b" }));
        remove("b");
        add("c");
        ASSERT_TRUE(comesTo({ "c" }));
        std::filesystem::rename(folder.path("Volumes"), folder.path("Elsewhere"));
        ASSERT_TRUE(comesTo({}));
        std::filesystem::rename(folder.path("Elsewhere"), folder.path("Volumes"));
        ASSERT_TRUE(comesTo({ "c" }));
        remove("c");
        ASSERT_TRUE(comesTo({}));
    }
}

TEST_F(VolumeLinkWatchTest, othersEntriesAreNoChange) {
    add("a");
    makeWatch(folder.path());
    std::filesystem::create_symlink("/etc", folder.path("Volumes/other"));
    std::filesystem::create_directory(folder.path("Volumes/folder"));
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.1)));
    EXPECT_THAT(names(), ElementsAre("a"));
    EXPECT_EQ(changes, 0);
}

TEST_F(VolumeLinkWatchTest, aHomeFolderMayBeALinkAndTheFolderOfVolumesMayNot) {
    const TemporaryFolder other;
    std::filesystem::create_symlink(folder.path(), other.path("home"));
    makeWatch(other.path("home"));
    add("a");
    ASSERT_TRUE(comesTo({ "a" }));
    std::filesystem::create_symlink(folder.path("Volumes"), other.path("Volumes"));
    makeWatch(other.path());
    EXPECT_THAT(names(), IsEmpty());
    std::filesystem::remove(other.path("Volumes"));
}

TEST_F(VolumeLinkWatchTest, aHomeFolderThatIsNotThereHasNoLinks) {
    makeWatch(folder.path("nowhere"));
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.05)));
    EXPECT_THAT(names(), IsEmpty());
}

TEST_F(VolumeLinkWatchTest, aCallbackMayDestroyIt) {
    watch = std::make_unique<VolumeLinkWatch>(folder.path(), mounts, [this] {
        ++changes;
        watch.reset();
    });
    add("a");
    EXPECT_TRUE(runMainContextUntil([&] { return changes == 1; }, Seconds(10)));
    add("b");
    EXPECT_FALSE(runMainContextUntil([&] { return changes > 1; }, Seconds(0.1)));
}

} // namespace
} // namespace quorrel
