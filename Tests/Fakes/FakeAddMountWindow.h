// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/AddMountWindowController.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A share editor's sheet that writes down, in order, what is done with it, and whose alerts and panels a test closes.
/// Main thread.
class FakeAddMountWindow final : public AddMountWindow {
public:
    struct Alert final {
        std::string title;
        std::string message;
        std::string button;

        friend bool operator==(const Alert&, const Alert&) = default;
    };

    /// What was called, as "begin", "end", "out", "focus server name", "focus share point", "focus user name",
    /// "alert", "question", "panel".
    [[nodiscard]] const std::vector<std::string>& events() const { return m_events; }
    void clearEvents() { m_events.clear(); }
    /// Is told of every event too.
    void setWitness(std::function<void(const std::string& event)> witness) { m_witness = std::move(witness); }

    /// In the order in which they were shown, closed or not.
    [[nodiscard]] const std::vector<Alert>& alerts() const { return m_alerts; }
    [[nodiscard]] const std::optional<OpenPanelOptions>& panelOptions() const { return m_panelOptions; }
    /// The controller whose sheet is shown; null while none is.
    [[nodiscard]] AddMountWindowController* controller() const { return m_controller; }

    /// From now on the sheet's end is told of only when the test says so.
    void endLater() { m_endsLater = true; }
    void finishEnd() {
        if (m_controller)
            m_controller->didEndSheet();
    }

    /// The user closes the alert that is open; without one, nothing happens.
    void closeAlert() {
        if (const auto closed = std::exchange(m_alertClosed, nullptr))
            closed();
    }

    [[nodiscard]] const std::optional<AlertSheet>& question() const { return m_question; }
    /// The user answers the question that is open; without one, nothing happens.
    void answer(AlertAnswer answer) {
        if (const auto answered = std::exchange(m_answered, nullptr))
            answered(answer);
    }

    /// The user closes the panel that is open; without a path: by its Cancel button.
    void closePanel(const std::optional<std::string>& path) {
        if (const auto closed = std::exchange(m_panelClosed, nullptr))
            closed(path);
    }

    void beginSheet(AddMountWindowController& controller) override {
        m_controller = &controller;
        record("begin");
    }

    void endSheet() override {
        record("end");
        if (!m_endsLater)
            finishEnd();
    }

    void orderOut() override {
        m_controller = nullptr;
        record("out");
    }

    void focus(Control control) override {
        record(control == Control::ServerName    ? "focus server name"
                : control == Control::SharePoint ? "focus share point"
                                                 : "focus user name");
    }

    void runAlert(const std::string& title, const std::string& message, const std::string& button,
        std::function<void()> closed) override {
        m_alerts.push_back({ title, message, button });
        m_alertClosed = std::move(closed);
        record("alert");
    }

    void runQuestion(const AlertSheet& question, AlertHandler answered) override {
        m_question = question;
        m_answered = std::move(answered);
        record("question");
    }

    void runOpenPanel(
        const OpenPanelOptions& options, std::function<void(const std::optional<std::string>& path)> closed) override {
        m_panelOptions = options;
        m_panelClosed = std::move(closed);
        record("panel");
    }

private:
    void record(const std::string& event) {
        m_events.push_back(event);
        if (m_witness)
            m_witness(event);
    }

    std::vector<std::string> m_events;
    std::function<void(const std::string&)> m_witness;
    std::vector<Alert> m_alerts;
    std::function<void()> m_alertClosed;
    std::optional<AlertSheet> m_question;
    AlertHandler m_answered;
    std::optional<OpenPanelOptions> m_panelOptions;
    std::function<void(const std::optional<std::string>&)> m_panelClosed;
    AddMountWindowController* m_controller = nullptr;
    bool m_endsLater = false;
};

} // namespace quorrel
