// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/RemoteControl.h"

#include <string>
#include <vector>

namespace quorrel {

/// Keeps what others would be told; a test asks the target itself. Main thread.
class FakeRemoteControl final : public RemoteControl {
public:
    void start(RemoteControlTarget& target) override { m_target = &target; }
    void stop() override { m_target = nullptr; }
    void tellShareChanged(const RemoteShare& share) override { m_told.push_back(share); }
    void tellSharesChanged() override { ++m_lists; }

    /// Null while nobody is let in.
    [[nodiscard]] RemoteControlTarget* target() const { return m_target; }
    [[nodiscard]] const std::vector<RemoteShare>& told() const { return m_told; }
    /// How often the list was said to be another one.
    [[nodiscard]] int lists() const { return m_lists; }

private:
    RemoteControlTarget* m_target = nullptr;
    std::vector<RemoteShare> m_told;
    int m_lists = 0;
};

} // namespace quorrel
