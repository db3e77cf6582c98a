// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ActionTarget.h"

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// Keeps what was performed, and answers what tests say can be done; what they say nothing of can. Main thread.
class FakeActionTarget final : public ActionTarget {
public:
    void perform(Selector action, const MenuItem& sender) override {
        m_performed.emplace_back(action);
        if (onPerform)
            onPerform(action, sender);
    }

    [[nodiscard]] ActionState validate(Selector action) const override {
        const auto found = m_states.find(action);
        return found == m_states.end() ? ActionState {} : found->second;
    }

    void setState(const std::string& action, ActionState state) { m_states[action] = std::move(state); }

    /// The names of the actions performed since the last call, in order.
    [[nodiscard]] std::vector<std::string> takePerformed() { return std::exchange(m_performed, {}); }

    /// Called within each `perform`, while the sender is there to be looked at.
    std::function<void(Selector action, const MenuItem& sender)> onPerform;

private:
    std::vector<std::string> m_performed;
    std::map<std::string, ActionState, std::less<>> m_states;
};

} // namespace quorrel
