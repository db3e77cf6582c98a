// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/SpawnedProcess.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/ProcessEnd.h"

#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {
namespace {

TEST(SpawnedProcessTest, childrenThatNobodyWaitsForAreReapedWhenTheyEnd) {
    TemporaryFolder folder;
    const auto gate = folder.path("gate");
    ASSERT_EQ(::mkfifo(gate.c_str(), 0600), 0);
    const FileDescriptor output(::open("/dev/null", O_WRONLY | O_CLOEXEC));
    SpawnedProcess ended("/bin/true", {});
    SpawnedProcess running("/bin/cat", { gate });
    ASSERT_EQ(ended.start(output.get()), 0);
    ASSERT_EQ(running.start(output.get()), 0);
    SpawnedProcess::reapInherited();
    EXPECT_TRUE(isGone(ended.identifier()));
    EXPECT_EQ(::kill(running.identifier(), 0), 0);
    FileDescriptor(::open(gate.c_str(), O_WRONLY | O_CLOEXEC)).close();
    EXPECT_TRUE(isGone(running.identifier()));
}

} // namespace
} // namespace quorrel
