// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/FileWatch.h"

#include <functional>
#include <optional>
#include <string>
#include <utility>

namespace quorrel {

/// A file that changes when a test says so. Main thread only.
class FakeFileWatch final : public FileWatch {
public:
    [[nodiscard]] std::optional<std::string> start(std::function<void()> changed) override {
        if (!m_failure)
            m_changed = std::move(changed);
        return m_failure;
    }
    void stop() override { m_changed = nullptr; }

    void failStart(std::optional<std::string> reason) { m_failure = std::move(reason); }
    void change() const {
        if (const auto changed = m_changed)
            changed();
    }
    [[nodiscard]] bool isStarted() const { return m_changed != nullptr; }

private:
    std::function<void()> m_changed;
    std::optional<std::string> m_failure;
};

} // namespace quorrel
