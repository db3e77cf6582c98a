// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/KeeperPasswordWindow.h"

#include "Tests/Console/PasswordTarget.h"
#include "Tests/Console/RecordingOutput.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

using Response = PasswordWindow::Response;

class KeeperPasswordWindowTest : public testing::Test {
protected:
    Response run(KeeperPasswordWindow& window) {
        m_window = &window;
        return window.runModal(target);
    }

    RecordingOutput errors;
    PasswordWindow* m_window = nullptr;
    PasswordTarget target { [this](Response response) {
        response == Response::Stopped ? m_window->stopModal() : m_window->abortModal();
    } };
};

TEST_F(KeeperPasswordWindowTest, givesThePasswordOfTheFile) {
    KeeperPasswordWindow window("secret", errors);
    EXPECT_EQ(run(window), Response::Stopped);
    EXPECT_EQ(target.given, "secret");
    EXPECT_EQ(errors.text(), "");
}

TEST_F(KeeperPasswordWindowTest, saysOnceWhichShareGoesWithoutAndHowToGiveIt) {
    KeeperPasswordWindow window({}, errors);
    for (int time = 0; time < 2; ++time)
        EXPECT_EQ(run(window), Response::Aborted);
    EXPECT_EQ(target.given, std::nullopt);
    EXPECT_EQ(errors.text(),
        "quorrelctl: na\\ns/docs wants a password, and watch asks nobody: --password-file FILE gives one, or store it "
        "with the share\n");
}

} // namespace
} // namespace quorrel
