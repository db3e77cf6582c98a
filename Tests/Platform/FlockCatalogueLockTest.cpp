// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FlockCatalogueLock.h"

#include "Platform/Linux/PosixChildProcess.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>

#include <unistd.h>

namespace quorrel {
namespace {

using Kind = CatalogueLock::Outcome::Kind;

class FlockCatalogueLockTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string path = folder.path("state/Quorrel.lock");
};

TEST_F(FlockCatalogueLockTest, isHeldByOneAtATimeAndSaysByWhom) {
    FlockCatalogueLock second(path);
    {
        FlockCatalogueLock first(path);
        EXPECT_EQ(first.take().kind, Kind::Taken);
        EXPECT_EQ(first.take().kind, Kind::Taken);
        const auto refused = second.take();
        EXPECT_EQ(refused.kind, Kind::Refused);
        EXPECT_EQ(refused.holder, static_cast<long>(::getpid()));
    }
    EXPECT_EQ(second.take().kind, Kind::Taken);
}

TEST_F(FlockCatalogueLockTest, theFileIsTheOwnersAloneAndStays) {
    {
        FlockCatalogueLock lock(path);
        ASSERT_EQ(lock.take().kind, Kind::Taken);
    }
    EXPECT_EQ(folder.modeOf("state"), 0700U);
    EXPECT_EQ(folder.modeOf("state/Quorrel.lock"), 0600U);
    EXPECT_EQ(folder.contentOf("state/Quorrel.lock"), std::to_string(::getpid()) + '\n');
}

TEST_F(FlockCatalogueLockTest, whatAnEarlierProcessWroteDoesNotCount) {
    std::filesystem::create_directory(folder.path("state"));
    folder.put("state/Quorrel.lock", "123456789012345678\nand more");
    FlockCatalogueLock lock(path);
    EXPECT_EQ(lock.take().kind, Kind::Taken);
    EXPECT_EQ(folder.contentOf("state/Quorrel.lock"), std::to_string(::getpid()) + '\n');
}

TEST_F(FlockCatalogueLockTest, aHolderThatHasNotSaidWhoItIsHoldsItAllTheSame) {
    FlockCatalogueLock first(path);
    ASSERT_EQ(first.take().kind, Kind::Taken);
    for (const char* content : { "", "-1\n", "nobody\n" }) {
        folder.put("state/Quorrel.lock", content);
        FlockCatalogueLock second(path);
        const auto refused = second.take();
        EXPECT_EQ(refused.kind, Kind::Refused) << content;
        EXPECT_EQ(refused.holder, std::nullopt) << content;
    }
}

TEST_F(FlockCatalogueLockTest, noChildInheritsIt) {
    FlockCatalogueLock lock(path);
    ASSERT_EQ(lock.take().kind, Kind::Taken);
    PosixChildProcess processes;
    const auto open = processes.run("/bin/sh", { "-c", "ls -l /proc/$$/fd" });
    ASSERT_TRUE(open.started);
    EXPECT_EQ(open.output.find("Quorrel.lock"), std::string::npos) << open.output;
}

TEST_F(FlockCatalogueLockTest, isUnavailableWhereNoFileCanBe) {
    folder.put("state", "a file where the folder should be");
    EXPECT_EQ(FlockCatalogueLock(path).take().kind, Kind::Unavailable);
    std::filesystem::remove(folder.path("state"));
    std::filesystem::create_directories(path);
    const auto outcome = FlockCatalogueLock(path).take();
    EXPECT_EQ(outcome.kind, Kind::Unavailable);
    EXPECT_FALSE(outcome.reason.empty());
}

TEST_F(FlockCatalogueLockTest, followsNoLink) {
    std::filesystem::create_directory(folder.path("state"));
    folder.put("precious", "content");
    std::filesystem::create_symlink(folder.path("precious"), path);
    EXPECT_EQ(FlockCatalogueLock(path).take().kind, Kind::Unavailable);
    EXPECT_EQ(folder.contentOf("precious"), "content");
}

} // namespace
} // namespace quorrel
