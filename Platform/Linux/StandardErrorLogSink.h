// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"

#include <string_view>

namespace quorrel {

/// Log lines on an open file, standard error by default. Any thread: a line is one write, so that lines of several
/// threads and processes do not mix. A line that cannot be written is lost, since there is nowhere to tell of it.
class StandardErrorLogSink final : public LogSink {
public:
    /// The descriptor is borrowed.
    explicit StandardErrorLogSink(int descriptor = 2)
        : m_descriptor(descriptor) { }

    void write(std::string_view line) override;
    [[nodiscard]] long processIdentifier() const override;
    [[nodiscard]] long threadIdentifier() const override;

private:
    const int m_descriptor;
};

} // namespace quorrel
