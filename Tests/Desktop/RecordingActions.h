// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ActionTarget.h"

#include <functional>
#include <string>
#include <vector>

namespace quorrel {

/// Writes down what is performed, as "ACTION TITLE in MENU", and then does what a test wants.
class RecordingActions final : public ActionTarget {
public:
    void perform(Selector action, const MenuItem& sender) override {
        const auto menu = sender.menu ? " in " + sender.menu->title() : std::string();
        performed.push_back(std::string(action) + (sender.title.empty() ? "" : " " + sender.title) + menu);
        if (meanwhile)
            meanwhile();
        if (sender.menu)
            titleAfterwards = sender.menu->title();
    }
    [[nodiscard]] ActionState validate(Selector action) const override { return { true, std::string(action) }; }

    std::vector<std::string> performed;
    std::function<void()> meanwhile;
    std::string titleAfterwards;
};

} // namespace quorrel
