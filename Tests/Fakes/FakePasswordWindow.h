// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A password window with a scripted user. Main thread.
class FakePasswordWindow final : public PasswordWindow {
public:
    /// What the user does while the window is shown; one who does nothing closes it.
    using User = std::function<void(PasswordWindowTarget& target)>;

    /// The user types that, one keystroke after the other, and presses OK.
    void willType(std::string text) {
        m_user = [text = std::move(text)](PasswordWindowTarget& target) {
            for (std::size_t length = 1; length <= text.size(); ++length)
                target.setPassword(text.substr(0, length));
            target.saveHostPassword();
        };
    }

    void willDo(User user) { m_user = std::move(user); }

    /// What was called, in order.
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    [[nodiscard]] int timesShown() const { return m_timesShown; }

    void focusPasswordField() override { m_events.emplace_back("focus"); }

    [[nodiscard]] Response runModal(PasswordWindowTarget& target) override {
        m_events.push_back("run for " + target.hostName() + "/" + target.shareName());
        ++m_timesShown;
        m_response.reset();
        if (m_user)
            m_user(target);
        if (!m_response)
            target.cancelhostPassword();
        return m_response.value_or(Response::Aborted);
    }

    void stopModal() override {
        m_events.emplace_back("stop");
        m_response = Response::Stopped;
    }

    void abortModal() override {
        m_events.emplace_back("abort");
        m_response = Response::Aborted;
    }

    void hide() override { m_events.emplace_back("hide"); }

private:
    User m_user;
    std::vector<std::string> m_events;
    std::optional<Response> m_response;
    int m_timesShown = 0;
};

} // namespace quorrel
