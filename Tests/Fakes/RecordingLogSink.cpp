// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/RecordingLogSink.h"

#include <algorithm>

namespace quorrel {

void RecordingLogSink::write(std::string_view line) {
    const std::lock_guard lock(m_mutex);
    m_lines.emplace_back(line);
}

std::vector<std::string> RecordingLogSink::lines() const {
    const std::lock_guard lock(m_mutex);
    return m_lines;
}

std::vector<std::string> RecordingLogSink::texts() const {
    auto texts = lines();
    for (auto& text : texts) {
        if (const auto end = text.find("] "); end != std::string::npos)
            text.erase(0, end + 2);
        if (text.ends_with('\n'))
            text.pop_back();
    }
    return texts;
}

std::string RecordingLogSink::lastText() const {
    const auto all = texts();
    return all.empty() ? std::string() : all.back();
}

bool RecordingLogSink::contains(std::string_view text) const {
    const std::lock_guard lock(m_mutex);
    return std::any_of(
        m_lines.begin(), m_lines.end(), [&](const std::string& line) { return line.find(text) != std::string::npos; });
}

void RecordingLogSink::clear() {
    const std::lock_guard lock(m_mutex);
    m_lines.clear();
}

} // namespace quorrel
