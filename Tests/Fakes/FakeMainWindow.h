// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MainWindow.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A main window that writes down, in order, what is done with it, and whose questions a test answers. Main thread.
class FakeMainWindow final : public MainWindow {
public:
    struct Notice final {
        std::string title;
        std::string message;
    };

    /// What was called, as "center", "front", "front regardless", "bind hosts", "bind no hosts", "bind mounts",
    /// "bind no mounts", "ask TITLE", "notice TITLE".
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    /// What the window shows now; null: none.
    [[nodiscard]] HostListController* hostsList() const { return m_hosts; }
    [[nodiscard]] SharePointListController* mountsList() const { return m_mounts; }
    /// The question that was asked last, answered or not.
    [[nodiscard]] const std::optional<AlertSheet>& question() const { return m_question; }
    [[nodiscard]] bool isAsking() const { return m_handler != nullptr; }
    [[nodiscard]] const std::vector<Notice>& notices() const { return m_notices; }
    /// How often it was told that what can be done may have changed, since the last call.
    [[nodiscard]] int takeValidations() { return std::exchange(m_validations, 0); }

    /// The user answers the question that is open; without one, nothing happens. A question asked meanwhile stays
    /// open.
    void answer(AlertAnswer answer) {
        if (const auto handler = std::exchange(m_handler, nullptr))
            handler(answer);
    }

    void center() override { m_events.emplace_back("center"); }
    void makeKeyAndOrderFront() override { m_events.emplace_back("front"); }
    void orderFrontRegardless() override { m_events.emplace_back("front regardless"); }

    void bindHostsList(HostListController* hosts) override {
        m_events.emplace_back(hosts ? "bind hosts" : "bind no hosts");
        m_hosts = hosts;
    }

    void bindMountsList(SharePointListController* sharePoints) override {
        m_events.emplace_back(sharePoints ? "bind mounts" : "bind no mounts");
        m_mounts = sharePoints;
    }

    /// Not an event: it comes too often to be told in its place.
    void validateActions() override { ++m_validations; }

    void beginAlertSheet(const AlertSheet& sheet, AlertHandler handler) override {
        m_events.push_back("ask " + sheet.title);
        m_question = sheet;
        m_handler = std::move(handler);
    }

    void showNotice(const std::string& title, const std::string& message) override {
        m_events.push_back("notice " + title);
        m_notices.push_back({ title, message });
    }

private:
    std::vector<std::string> m_events;
    HostListController* m_hosts = nullptr;
    SharePointListController* m_mounts = nullptr;
    std::optional<AlertSheet> m_question;
    AlertHandler m_handler;
    std::vector<Notice> m_notices;
    int m_validations = 0;
};

} // namespace quorrel
