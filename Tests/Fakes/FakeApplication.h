// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Application.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A program on no desktop, which writes down, in order, what is asked of it. Main thread.
class FakeApplication final : public Application {
public:
    /// What was called, as "delegate", "no delegate", "activate", "about", "terminate".
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    /// Is told of every event too.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }
    /// Who gets the actions now; null: nobody.
    [[nodiscard]] ActionTarget* delegate() const { return m_delegate; }
    /// What the about panel was last shown with.
    [[nodiscard]] const std::optional<AboutPanelOptions>& aboutPanel() const { return m_aboutPanel; }

    void setDelegate(ActionTarget* delegate) override {
        record(delegate ? "delegate" : "no delegate");
        m_delegate = delegate;
    }

    void activateIgnoringOtherApps() override { record("activate"); }

    void orderFrontStandardAboutPanel(const AboutPanelOptions& options) override {
        record("about");
        m_aboutPanel = options;
    }

    void terminate() override { record("terminate"); }

private:
    void record(const char* event) {
        m_events.emplace_back(event);
        if (m_witness)
            m_witness(event);
    }

    std::vector<std::string> m_events;
    std::function<void(const std::string&)> m_witness;
    ActionTarget* m_delegate = nullptr;
    std::optional<AboutPanelOptions> m_aboutPanel;
};

} // namespace quorrel
