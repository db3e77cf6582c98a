// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/LogFile.h"
#include "Platform/Linux/StandardErrorLogSink.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <sstream>
#include <thread>
#include <vector>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// Puts standard error back where it was.
class KeptStandardError final {
public:
    KeptStandardError()
        : m_copy(::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3)) { }
    KeptStandardError(const KeptStandardError&) = delete;
    KeptStandardError& operator=(const KeptStandardError&) = delete;
    ~KeptStandardError() { ::dup2(m_copy.get(), STDERR_FILENO); }

    /// Whether standard error is that same open file now.
    [[nodiscard]] bool isInPlace() const {
        struct stat then { };
        struct stat now { };
        return ::fstat(m_copy.get(), &then) == 0 && ::fstat(STDERR_FILENO, &now) == 0 && then.st_ino == now.st_ino
            && then.st_dev == now.st_dev;
    }

private:
    FileDescriptor m_copy;
};

} // namespace

TEST(StandardErrorLogSinkTest, linesOfManyThreadsStayWhole) {
    const TemporaryFolder folder;
    const FileDescriptor file(::open(folder.path("log").c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    StandardErrorLogSink sink(file.get());
    std::vector<std::thread> threads;
    for (char letter = 'a'; letter < 'e'; ++letter)
        threads.emplace_back([&sink, letter] {
            for (int round = 0; round < 200; ++round)
                sink.write(std::string(300, letter) + "\n");
        });
    for (auto& thread : threads)
        thread.join();
    std::istringstream lines(folder.contentOf("log"));
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count)
        EXPECT_EQ(line, std::string(300, line.front()));
    EXPECT_EQ(count, 800);
}

TEST(StandardErrorLogSinkTest, namesTheProcessAndTheCallingThread) {
    const StandardErrorLogSink sink;
    EXPECT_EQ(sink.processIdentifier(), ::getpid());
    EXPECT_EQ(sink.threadIdentifier(), ::gettid());
    long other = 0;
    std::thread([&] { other = sink.threadIdentifier(); }).join();
    EXPECT_NE(other, sink.threadIdentifier());
    EXPECT_NE(other, 0);
}

TEST(StandardErrorLogSinkTest, aFileThatCannotBeWrittenIsPassedOver) {
    StandardErrorLogSink(-1).write("lost\n");
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    StandardErrorLogSink(full.get()).write("lost\n");
}

TEST(LogFileTest, standardErrorGoesToTheEndOfTheFile) {
    const TemporaryFolder folder;
    const auto path = folder.path("state/Quorrel/Quorrel.log");
    bool first = false;
    bool second = false;
    {
        const KeptStandardError kept;
        const auto mask = ::umask(0);
        first = LogFile::reopenStandardError(path);
        ::umask(mask);
        StandardErrorLogSink().write("one\n");
        second = LogFile::reopenStandardError(path);
        StandardErrorLogSink().write("two\n");
    }
    EXPECT_TRUE(first);
    EXPECT_TRUE(second);
    EXPECT_EQ(folder.contentOf("state/Quorrel/Quorrel.log"), "one\ntwo\n");
    EXPECT_EQ(folder.modeOf("state/Quorrel/Quorrel.log"), 0600U);
    EXPECT_EQ(folder.modeOf("state/Quorrel"), 0700U);
}

TEST(LogFileTest, anOlderFileLosesTheRightsOfOthersAndNothingElse) {
    const TemporaryFolder folder;
    const auto path = folder.put("log", "before\n", 0644);
    {
        const KeptStandardError kept;
        EXPECT_TRUE(LogFile::reopenStandardError(path));
    }
    EXPECT_EQ(folder.modeOf("log"), 0600U);
    EXPECT_EQ(folder.contentOf("log"), "before\n");
}

TEST(LogFileTest, whatCannotBeOpenedLeavesStandardErrorWhereItWas) {
    const TemporaryFolder folder;
    folder.put("file", "text");
    ASSERT_EQ(::mkfifo(folder.path("pipe").c_str(), 0600), 0);
    const KeptStandardError kept;
    for (const auto* name : { "file/below/log", "pipe", "" }) {
        EXPECT_FALSE(LogFile::reopenStandardError(folder.path(name)));
        EXPECT_TRUE(kept.isInPlace());
    }
}

} // namespace quorrel
