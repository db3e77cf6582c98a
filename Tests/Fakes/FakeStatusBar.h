// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/StatusBar.h"

#include <functional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A status area that writes down, in order, what is done with its item. Main thread. It must outlive its items.
class FakeStatusBar final : public StatusBar {
public:
    [[nodiscard]] std::unique_ptr<StatusItem> statusItemWithLength(double length) override;

    /// What was done, as "status item 28", "image menubarIcon.png", "alternate image ...", "highlight on",
    /// "menu TITLE", "end of status item".
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    /// The menu that the item shows now; null without an item or without a menu.
    [[nodiscard]] std::shared_ptr<Menu> menu() const { return m_menu; }
    /// Is told of every event too.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }

private:
    class Item;
    void record(std::string event);

    std::vector<std::string> m_events;
    std::shared_ptr<Menu> m_menu;
    std::function<void(const std::string&)> m_witness;
};

} // namespace quorrel
