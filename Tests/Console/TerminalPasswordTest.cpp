// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/TerminalPassword.h"

#include <gtest/gtest.h>

#include <array>
#include <cstdlib>
#include <string>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

namespace quorrel {
namespace {

/// A terminal whose other end the test holds.
class TerminalPasswordTest : public testing::Test {
protected:
    TerminalPasswordTest() {
        EXPECT_EQ(grantpt(keyboard), 0);
        EXPECT_EQ(unlockpt(keyboard), 0);
        path = ptsname(keyboard);
        line = open(path.c_str(), O_RDWR | O_CLOEXEC | O_NOCTTY);
        EXPECT_GE(line, 0);
    }
    ~TerminalPasswordTest() override {
        close(line);
        close(keyboard);
    }

    void type(const std::string& text) const {
        EXPECT_EQ(write(keyboard, text.data(), text.size()), static_cast<ssize_t>(text.size()));
    }
    /// Reads the screen until that was shown; all that was shown. Gives up after ten seconds.
    std::string screenUntil(const std::string& text) {
        pollfd waiting { keyboard, POLLIN, 0 };
        while (screen.find(text) == std::string::npos && poll(&waiting, 1, 10'000) == 1) {
            std::array<char, 256> buffer {};
            const auto count = read(keyboard, buffer.data(), buffer.size());
            if (count <= 0)
                break;
            screen.append(buffer.data(), static_cast<std::size_t>(count));
        }
        return screen;
    }
    [[nodiscard]] bool showsTyping() const {
        termios settings {};
        EXPECT_EQ(tcgetattr(line, &settings), 0);
        return (settings.c_lflag & ECHO) != 0;
    }

    const int keyboard = posix_openpt(O_RDWR | O_CLOEXEC | O_NOCTTY);
    std::string path;
    int line = -1;
    std::string screen;
};

TEST_F(TerminalPasswordTest, readsALineThatIsNotShown) {
    PasswordPrompt::Answer answer;
    std::thread user([&] { answer = TerminalPassword(path).ask("Password: "); });
    EXPECT_EQ(screenUntil("Password: "), "Password: ");
    EXPECT_FALSE(showsTyping());
    type("hunter2\r");
    user.join();
    EXPECT_EQ(answer.outcome, PasswordPrompt::Outcome::Given);
    EXPECT_EQ(answer.password, "hunter2");
    EXPECT_EQ(screenUntil("\r\n"), "Password: \r\n");
    EXPECT_TRUE(showsTyping());
}

TEST_F(TerminalPasswordTest, anEndOfFileCancels) {
    PasswordPrompt::Answer answer;
    std::thread user([&] { answer = TerminalPassword(path).ask("Password: "); });
    screenUntil("Password: ");
    type("\x04");
    user.join();
    EXPECT_EQ(answer.outcome, PasswordPrompt::Outcome::Cancelled);
    EXPECT_TRUE(showsTyping());
}

TEST_F(TerminalPasswordTest, anotherThreadMakesTypingVisibleAgain) {
    TerminalPassword prompt(path);
    PasswordPrompt::Answer answer;
    std::thread user([&] { answer = prompt.ask("Password: "); });
    screenUntil("Password: ");
    EXPECT_FALSE(showsTyping());
    prompt.restore();
    EXPECT_TRUE(showsTyping());
    type("\r");
    user.join();
    EXPECT_TRUE(showsTyping());
}

TEST_F(TerminalPasswordTest, saysSoWithoutATerminal) {
    EXPECT_EQ(TerminalPassword("/dev/null").ask("Password: ").outcome, PasswordPrompt::Outcome::NoTerminal);
    EXPECT_EQ(TerminalPassword(path + "-none").ask("Password: ").outcome, PasswordPrompt::Outcome::NoTerminal);
}

} // namespace
} // namespace quorrel
