// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsolePasswordWindow.h"

#include "Tests/Console/PasswordTarget.h"
#include "Tests/Console/RecordingOutput.h"
#include "Tests/Console/ScriptedPrompt.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class ConsolePasswordWindowTest : public testing::Test {
protected:
    PasswordWindow::Response run(const std::optional<std::string>& password) {
        ConsolePasswordWindow window(password, prompt, errors, [this] { ++announcements; });
        m_window = &window;
        return window.runModal(target);
    }

    ScriptedPrompt prompt;
    RecordingOutput errors;
    int announcements = 0;
    PasswordWindow* m_window = nullptr;
    PasswordTarget target { [this](PasswordWindow::Response response) {
        response == PasswordWindow::Response::Stopped ? m_window->stopModal() : m_window->abortModal();
    } };
};

TEST_F(ConsolePasswordWindowTest, givesThePasswordOfTheFileWithoutAsking) {
    EXPECT_EQ(run("secret"), PasswordWindow::Response::Stopped);
    EXPECT_EQ(target.given, "secret");
    EXPECT_THAT(prompt.prompts(), IsEmpty());
    EXPECT_EQ(announcements, 0);
}

TEST_F(ConsolePasswordWindowTest, asksOnTheTerminal) {
    prompt.answers.push_back({ PasswordPrompt::Outcome::Given, "typed" });
    EXPECT_EQ(run({}), PasswordWindow::Response::Stopped);
    EXPECT_EQ(target.given, "typed");
    EXPECT_THAT(prompt.prompts(), ElementsAre("Password on na\\ns for na\\ns/docs: "));
    EXPECT_EQ(announcements, 1);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ConsolePasswordWindowTest, anEndOfFileOnTheTerminalCancels) {
    prompt.answers.push_back({ PasswordPrompt::Outcome::Cancelled, "" });
    EXPECT_EQ(run({}), PasswordWindow::Response::Aborted);
    EXPECT_EQ(target.given, std::nullopt);
    EXPECT_EQ(errors.text(), "");
}

TEST_F(ConsolePasswordWindowTest, saysSoWhenThereIsNobodyToAsk) {
    EXPECT_EQ(run({}), PasswordWindow::Response::Aborted);
    EXPECT_EQ(target.given, std::nullopt);
    EXPECT_THAT(errors.text(), HasSubstr("no terminal to ask on; --password-file FILE"));
}

} // namespace
} // namespace quorrel
