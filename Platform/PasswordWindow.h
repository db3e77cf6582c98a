// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// What a password window edits and reports to. Main thread only.
class PasswordWindowTarget {
public:
    virtual ~PasswordWindowTarget() = default;

    /// For whom the password is, and the share that wants it; empty when unknown.
    [[nodiscard]] virtual std::string hostName() const = 0;
    [[nodiscard]] virtual std::string shareName() const = 0;

    /// What the entry shows, and where it puts its text with each keystroke.
    [[nodiscard]] virtual std::string password() const = 0;
    virtual void setPassword(const std::string& text) = 0;

    /// The OK button: ends the modal run with `stopModal`.
    virtual void saveHostPassword() = 0;
    /// The Cancel button, and a window that is closed in any other way: ends the modal run with `abortModal`.
    virtual void cancelhostPassword() = 0;
};

/// The modal window that asks for one password; it decides nothing. Main thread only.
class PasswordWindow {
public:
    enum class Response { Stopped, Aborted };

    virtual ~PasswordWindow() = default;

    virtual void focusPasswordField() = 0;
    /// Shows the window and returns once its run was stopped or aborted, aborted too where nobody can be asked.
    /// Meanwhile nothing else runs on the main thread: no task of its queue, no notification, no other window.
    [[nodiscard]] virtual Response runModal(PasswordWindowTarget& target) = 0;
    virtual void stopModal() = 0;
    virtual void abortModal() = 0;
    virtual void hide() = 0;
};

} // namespace quorrel
