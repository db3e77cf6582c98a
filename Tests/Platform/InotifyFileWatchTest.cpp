// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/InotifyFileWatch.h"

#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/GlibTurns.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace quorrel {
namespace {

namespace fs = std::filesystem;

class InotifyFileWatchTest : public testing::Test {
protected:
    void start() {
        ASSERT_EQ(watch.start([this] { ++changes; }), std::nullopt);
    }
    /// Whether so many changes have been told, as soon as it is that many.
    [[nodiscard]] bool tells(int count) {
        return runMainContextUntil([&] { return changes >= count; }, Seconds(10)) && changes == count;
    }
    /// A change that comes after everything before it, and is told by itself.
    [[nodiscard]] bool isSilentUntilTheNextChange() {
        const int before = changes;
        folder.put("Quorrel/Quorrel.conf", "the next");
        return runMainContextUntil([&] { return changes > before; }, Seconds(10)) && changes == before + 1;
    }

    TemporaryFolder folder;
    const std::string path = folder.path("Quorrel/Quorrel.conf");
    InotifyFileWatch watch { path, Seconds(0.02) };
    int changes = 0;
};

TEST_F(InotifyFileWatchTest, tellsOfAFileWrittenInPlace) {
    fs::create_directory(folder.path("Quorrel"));
    folder.put("Quorrel/Quorrel.conf", "a");
    start();
    folder.put("Quorrel/Quorrel.conf", "b");
    EXPECT_TRUE(tells(1));
    EXPECT_TRUE(isSilentUntilTheNextChange());
}

TEST_F(InotifyFileWatchTest, tellsOfAFileReplacedAgainAndAgain) {
    fs::create_directory(folder.path("Quorrel"));
    folder.put("Quorrel/Quorrel.conf", "a");
    start();
    for (int count = 1; count <= 3; ++count) {
        folder.put("Quorrel/other", "b");
        fs::rename(folder.path("Quorrel/other"), path);
        EXPECT_TRUE(tells(count));
    }
}

TEST_F(InotifyFileWatchTest, tellsOnceOfManyChangesInAShortTime) {
    fs::create_directory(folder.path("Quorrel"));
    start();
    for (int count = 0; count < 100; ++count)
        folder.put("Quorrel/Quorrel.conf", std::to_string(count));
    EXPECT_TRUE(tells(1));
    EXPECT_TRUE(isSilentUntilTheNextChange());
}

TEST_F(InotifyFileWatchTest, tellsOfAFileThatComesAndGoes) {
    fs::create_directory(folder.path("Quorrel"));
    start();
    folder.put("Quorrel/Quorrel.conf", "a");
    EXPECT_TRUE(tells(1));
    fs::remove(path);
    EXPECT_TRUE(tells(2));
    folder.put("Quorrel/Quorrel.conf", "a");
    EXPECT_TRUE(tells(3));
}

TEST_F(InotifyFileWatchTest, looksForFoldersThatAreMissingAtFirst) {
    InotifyFileWatch deep(folder.path("a/b/c/Quorrel.conf"), Seconds(0.02));
    ASSERT_EQ(deep.start([this] { ++changes; }), std::nullopt);
    fs::create_directories(folder.path("a/b/c"));
    EXPECT_TRUE(tells(1));
    folder.put("a/b/c/Quorrel.conf", "a");
    EXPECT_TRUE(tells(2));
    // All of it goes, and comes again.
    fs::remove_all(folder.path("a"));
    EXPECT_TRUE(runMainContextUntil([&] { return changes >= 3; }, Seconds(10)));
    fs::create_directories(folder.path("a/b/c"));
    folder.put("a/b/c/Quorrel.conf", "b");
    EXPECT_TRUE(runMainContextUntil([&] { return changes >= 4; }, Seconds(10)));
    const int before = changes;
    folder.put("a/b/c/Quorrel.conf", "c");
    EXPECT_TRUE(runMainContextUntil([&] { return changes > before; }, Seconds(10)));
}

TEST_F(InotifyFileWatchTest, followsAFolderThatIsReplaced) {
    fs::create_directory(folder.path("Quorrel"));
    start();
    fs::rename(folder.path("Quorrel"), folder.path("aside"));
    EXPECT_TRUE(tells(1));
    folder.put("aside/Quorrel.conf", "not this one");
    fs::create_directory(folder.path("Quorrel"));
    EXPECT_TRUE(tells(2));
    EXPECT_TRUE(isSilentUntilTheNextChange());
}

TEST_F(InotifyFileWatchTest, seesWhatALinkLeadsTo) {
    fs::create_directory(folder.path("Quorrel"));
    fs::create_directory(folder.path("dotfiles"));
    folder.put("dotfiles/quorrel", "a");
    fs::create_symlink("../dotfiles/quorrel", path);
    start();
    folder.put("dotfiles/quorrel", "b");
    EXPECT_TRUE(tells(1));
    folder.put("dotfiles/other", "c");
    fs::rename(folder.path("dotfiles/other"), folder.path("dotfiles/quorrel"));
    EXPECT_TRUE(tells(2));
}

TEST_F(InotifyFileWatchTest, isSilentAboutOtherFiles) {
    fs::create_directory(folder.path("Quorrel"));
    start();
    folder.put("Quorrel/Quorrel.conf.bak", "a");
    folder.put("Quorrel.conf", "a");
    std::ifstream(folder.path("Quorrel/Quorrel.conf.bak")).get();
    EXPECT_TRUE(isSilentUntilTheNextChange());
}

TEST_F(InotifyFileWatchTest, isSilentOnceItIsStopped) {
    fs::create_directory(folder.path("Quorrel"));
    start();
    folder.put("Quorrel/Quorrel.conf", "a");
    watch.stop();
    start();
    EXPECT_TRUE(isSilentUntilTheNextChange());
    EXPECT_EQ(changes, 1);
}

TEST_F(InotifyFileWatchTest, mayBeStoppedByWhatItCalls) {
    fs::create_directory(folder.path("Quorrel"));
    ASSERT_EQ(watch.start([this] {
        ++changes;
        watch.stop();
    }),
        std::nullopt);
    folder.put("Quorrel/Quorrel.conf", "a");
    EXPECT_TRUE(tells(1));
}

} // namespace
} // namespace quorrel
