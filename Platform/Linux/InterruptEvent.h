// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

namespace quorrel {

/// Something that happens once and that any number of waits can watch. Any thread.
class InterruptEvent final {
public:
    InterruptEvent();
    ~InterruptEvent();
    InterruptEvent(const InterruptEvent&) = delete;
    InterruptEvent& operator=(const InterruptEvent&) = delete;

    void signal() const;
    [[nodiscard]] bool isSignalled() const;
    /// Readable from the signal on; -1 when the system gave none.
    [[nodiscard]] int descriptor() const { return m_descriptor; }

private:
    const int m_descriptor;
};

} // namespace quorrel
