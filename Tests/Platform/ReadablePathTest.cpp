// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ReadablePath.h"

#include "Tests/Fakes/NoMoreThreads.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <chrono>
#include <filesystem>

namespace quorrel {
namespace {

using ReadablePath::Files;

struct ReadablePathTest : testing::Test {
    TemporaryFolder m_folder;
    MainContextPool m_contexts;
    InterruptEvent m_interrupted;
    BoundedLoop m_loop { m_contexts, Seconds { 60 }, m_interrupted };
};

TEST_F(ReadablePathTest, aLookThatBeganEarlierSeesWhatCameMeanwhile) {
    const auto listed = ReadablePath::lookUntilListed(m_folder.path("mount"));
    const auto reachable = ReadablePath::lookUntilReachable(m_folder.path("mount/file"));
    std::filesystem::create_directory(m_folder.path("mount"));
    m_folder.put("mount/file", "");
    EXPECT_EQ(ReadablePath::wait(m_loop, *listed), Files::Shown);
    EXPECT_EQ(ReadablePath::wait(m_loop, *reachable), Files::Shown);
}

TEST_F(ReadablePathTest, aLookThatIsRepeatedLooksAtTheSamePlace) {
    m_folder.put("mount", "");
    const auto first = ReadablePath::lookUntilListed(m_folder.path("mount"));
    ASSERT_EQ(ReadablePath::wait(m_loop, *first), Files::Shown);
    EXPECT_EQ(ReadablePath::wait(m_loop, *ReadablePath::lookAgain(*first)), Files::Shown);
}

TEST_F(ReadablePathTest, whatDoesNotComeIsSlow) {
    const auto look = ReadablePath::lookUntilListed(m_folder.path("nothing"));
    EXPECT_EQ(ReadablePath::wait(m_loop, *look), Files::Slow);
}

TEST_F(ReadablePathTest, anInterruptEndsTheWait) {
    const auto look = ReadablePath::lookUntilListed(m_folder.path("nothing"));
    m_interrupted.signal();
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ReadablePath::wait(m_loop, *look), Files::Slow);
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(ReadablePathTest, withoutAThreadNobodyLooksAndNobodyWaits) {
    std::filesystem::create_directory(m_folder.path("mount"));
    const NoMoreThreads noMoreThreads;
    const auto start = std::chrono::steady_clock::now();
    EXPECT_EQ(ReadablePath::wait(m_loop, *ReadablePath::lookUntilListed(m_folder.path("mount"))), Files::Slow);
    EXPECT_EQ(ReadablePath::wait(m_loop, *ReadablePath::lookUntilReachable(m_folder.path("mount"))), Files::Slow);
    EXPECT_FALSE(ReadablePath::isCutOff(m_loop, m_folder.path("mount")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
}

TEST_F(ReadablePathTest, aFolderThatIsNotThereIsNotCutOff) {
    EXPECT_FALSE(ReadablePath::isCutOff(m_loop, m_folder.path()));
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(ReadablePath::isCutOff(m_loop, m_folder.path("nothing")));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3)); // it looks once
}

} // namespace
} // namespace quorrel
