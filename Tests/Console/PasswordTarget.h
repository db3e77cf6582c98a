// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/PasswordWindow.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace quorrel {

/// What stands behind a password window.
class PasswordTarget final : public PasswordWindowTarget {
public:
    explicit PasswordTarget(std::function<void(PasswordWindow::Response)> end)
        : m_end(std::move(end)) { }

    [[nodiscard]] std::string hostName() const override { return "na\ns"; }
    [[nodiscard]] std::string shareName() const override { return "docs"; }
    [[nodiscard]] std::string password() const override { return given.value_or(std::string()); }
    void setPassword(const std::string& text) override { given = text; }
    void saveHostPassword() override { m_end(PasswordWindow::Response::Stopped); }
    void cancelhostPassword() override { m_end(PasswordWindow::Response::Aborted); }

    std::optional<std::string> given;

private:
    const std::function<void(PasswordWindow::Response)> m_end;
};

} // namespace quorrel
