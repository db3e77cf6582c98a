// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/Output.h"

#include <mutex>
#include <string>

namespace quorrel {

/// Keeps what is written. Any thread.
class RecordingOutput final : public Output {
public:
    /// Something that is no terminal.
    RecordingOutput() = default;
    explicit RecordingOutput(Size terminalSize)
        : m_isTerminal(true)
        , m_size(terminalSize) { }

    void write(std::string_view text) override {
        const std::lock_guard lock(m_mutex);
        m_text += text;
    }
    [[nodiscard]] bool isTerminal() const override { return m_isTerminal; }
    [[nodiscard]] Size size() const override { return m_size; }

    [[nodiscard]] std::string text() const {
        const std::lock_guard lock(m_mutex);
        return m_text;
    }
    void clear() {
        const std::lock_guard lock(m_mutex);
        m_text.clear();
    }

private:
    const bool m_isTerminal = false;
    const Size m_size {};
    mutable std::mutex m_mutex;
    std::string m_text;
};

} // namespace quorrel
