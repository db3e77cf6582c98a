// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PreferencesWindow.h"

#include <algorithm>
#include <string>
#include <vector>

namespace quorrel {

/// A window with the tabs "0", "1" and "2", the first of which is selected; it writes down what is done with it. Main
/// thread.
class FakePreferencesWindow final : public PreferencesWindow {
public:
    /// What was called, as "center", "front", "front regardless", "tab IDENTIFIER".
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    [[nodiscard]] const std::string& selectedTab() const { return m_selectedTab; }

    void center() override { m_events.emplace_back("center"); }
    void makeKeyAndOrderFront() override { m_events.emplace_back("front"); }
    void orderFrontRegardless() override { m_events.emplace_back("front regardless"); }

    void selectTabViewItemWithIdentifier(const std::string& identifier) override {
        m_events.push_back("tab " + identifier);
        if (std::find(m_tabs.begin(), m_tabs.end(), identifier) != m_tabs.end())
            m_selectedTab = identifier;
    }

private:
    const std::vector<std::string> m_tabs { "0", "1", "2" };
    std::string m_selectedTab = "0";
    std::vector<std::string> m_events;
};

} // namespace quorrel
