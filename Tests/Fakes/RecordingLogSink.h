// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Log.h"

#include <mutex>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// Keeps what is logged, for tests to look at. Any thread; the process is 123, every thread 456.
class RecordingLogSink final : public LogSink {
public:
    void write(std::string_view line) override;
    [[nodiscard]] long processIdentifier() const override { return 123; }
    [[nodiscard]] long threadIdentifier() const override { return 456; }

    /// As they were written, stamp and line feed included.
    [[nodiscard]] std::vector<std::string> lines() const;
    /// What stands behind each line's stamp, without the line feed.
    [[nodiscard]] std::vector<std::string> texts() const;
    /// The last of these; empty while there is none.
    [[nodiscard]] std::string lastText() const;
    /// Whether some line has that in it.
    [[nodiscard]] bool contains(std::string_view text) const;
    void clear();

private:
    mutable std::mutex m_mutex;
    std::vector<std::string> m_lines;
};

} // namespace quorrel
