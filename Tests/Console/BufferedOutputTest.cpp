// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/BufferedOutput.h"

#include "Tests/Platform/GlibTurns.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <csignal>
#include <string>
#include <utility>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

namespace quorrel {
namespace {

/// Two ends: what is written to one is read at the other. A write that waits for its reader waits for ever here, and
/// fails the test by its time limit.
class BufferedOutputTest : public testing::Test {
protected:
    BufferedOutputTest() {
        std::array<int, 2> ends { -1, -1 };
        EXPECT_EQ(::pipe2(ends.data(), O_CLOEXEC), 0);
        use(ends);
    }

    void use(const std::array<int, 2>& ends) {
        reader = FileDescriptor(ends[0]);
        writer = FileDescriptor(ends[1]);
    }

    /// Until nothing more goes in.
    void fill() const {
        const std::string block(512, '.');
        for (pollfd room { writer.get(), POLLOUT, 0 }; ::poll(&room, 1, 0) > 0;)
            ASSERT_GT(::write(writer.get(), block.data(), block.size()), 0);
    }

    /// Everything that comes until the text is there, save what filled the way.
    std::string readUntil(const std::string& text) const {
        std::string seen;
        std::array<char, 65536> buffer {};
        static_cast<void>(runMainContextUntil(
            [&] {
                for (pollfd more { reader.get(), POLLIN, 0 }; ::poll(&more, 1, 0) > 0;) {
                    const auto count = ::read(reader.get(), buffer.data(), buffer.size());
                    if (count <= 0)
                        return true;
                    seen.append(buffer.data(), static_cast<std::size_t>(count));
                }
                return seen.ends_with(text);
            },
            Seconds(10)));
        return seen.substr(std::min(seen.find_first_not_of('.'), seen.size()));
    }

    FileDescriptor reader;
    FileDescriptor writer;
};

TEST_F(BufferedOutputTest, whatIsReadAtOnceIsWrittenAtOnce) {
    BufferedOutput output(writer.get());
    output.write("one\n");
    output.write("two\n");
    std::array<char, 16> buffer {};
    EXPECT_EQ(::read(reader.get(), buffer.data(), buffer.size()), 8);
}

TEST_F(BufferedOutputTest, aFullPipeHoldsNobodyUpAndGetsTheRestLater) {
    BufferedOutput output(writer.get());
    fill();
    output.write("one\n");
    output.write("two\n");
    EXPECT_EQ(readUntil("two\n"), "one\ntwo\n");
    output.write("three\n");
    EXPECT_EQ(readUntil("three\n"), "three\n");
}

TEST_F(BufferedOutputTest, moreThanAPipeHoldsComesThroughWhole) {
    BufferedOutput output(writer.get());
    std::string text(300000, 'x');
    text += "end\n";
    output.write(text);
    EXPECT_EQ(readUntil("end\n"), text);
}

TEST_F(BufferedOutputTest, aHaltedTerminalHoldsNobodyUp) {
    FileDescriptor terminal(::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC));
    std::array<char, 64> name {};
    ASSERT_EQ(::grantpt(terminal.get()), 0);
    ASSERT_EQ(::unlockpt(terminal.get()), 0);
    ASSERT_EQ(::ptsname_r(terminal.get(), name.data(), name.size()), 0);
    writer = FileDescriptor(::open(name.data(), O_RDWR | O_NOCTTY | O_CLOEXEC));
    reader = std::move(terminal);
    BufferedOutput output(writer.get());
    fill();
    output.write("one\n");
    EXPECT_EQ(readUntil("one\r\n"), "one\r\n");
}

TEST_F(BufferedOutputTest, aSocketWithoutRoomHoldsNobodyUp) {
    std::array<int, 2> ends { -1, -1 };
    ASSERT_EQ(::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()), 0);
    use(ends);
    BufferedOutput output(writer.get());
    fill();
    const std::string text(100000, 'x');
    output.write(text);
    output.write("end\n");
    EXPECT_EQ(readUntil("end\n"), text + "end\n");
}

TEST_F(BufferedOutputTest, ofWhatNobodyReadsTheOldestGoes) {
    BufferedOutput output(writer.get(), 20);
    fill();
    for (int number = 1; number <= 9; ++number)
        output.write("line " + std::to_string(number) + '\n');
    output.write("a longer line than there is room for\n");
    EXPECT_EQ(readUntil("for\n"), "a longer line than there is room for\n");
    fill();
    for (int number = 1; number <= 9; ++number)
        output.write("line " + std::to_string(number) + '\n');
    EXPECT_EQ(readUntil("9\n"), "line 8\nline 9\n");
}

TEST_F(BufferedOutputTest, aTextThatWasBegunIsFinished) {
    BufferedOutput output(writer.get(), 20);
    std::string text(100000, 'x');
    text += '\n';
    output.write(text);
    output.write("two\n");
    output.write("three\n");
    EXPECT_EQ(readUntil("three\n"), text + "three\n");
}

TEST_F(BufferedOutputTest, aReaderThatGoesEndsTheWaiting) {
    const auto before = std::signal(SIGPIPE, SIG_IGN);
    BufferedOutput output(writer.get());
    fill();
    output.write("one\n");
    reader.close();
    EXPECT_FALSE(runMainContextUntil([] { return false; }, Seconds(0.02)));
    output.write("two\n");
    const FileDescriptor full(::open("/dev/full", O_WRONLY | O_CLOEXEC));
    BufferedOutput(full.get()).write("three\n");
    std::signal(SIGPIPE, before);
}

TEST_F(BufferedOutputTest, theEndGivesAReaderThatStallsAMomentAndNoMore) {
    fill();
    const auto begin = std::chrono::steady_clock::now();
    {
        BufferedOutput output(writer.get());
        output.write("one\n");
    }
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
}

TEST_F(BufferedOutputTest, theDescriptorsFlagsStayAsTheyWere) {
    const int before = ::fcntl(writer.get(), F_GETFL);
    BufferedOutput output(writer.get());
    output.write("one\n");
    EXPECT_EQ(::fcntl(writer.get(), F_GETFL), before);
}

} // namespace
} // namespace quorrel
