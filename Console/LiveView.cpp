// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/LiveView.h"

#include "Console/DisplayText.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

std::string cursorUp(std::size_t lines) {
    return "\x1b[" + std::to_string(lines) + 'A';
}

std::string stateOf(const LiveView::Line& line) {
    const auto status = DisplayText::printable(line.status);
    return line.error.empty() ? status : status + ": " + DisplayText::printable(line.error);
}

constexpr std::size_t widestName = 40; // on a terminal of up to twice as many columns
constexpr const char* eraseToEndOfLine = "\x1b[K";
constexpr const char* eraseToEndOfScreen = "\x1b[J";

} // namespace

LiveView::LiveView(Output& output, std::vector<Line> lines)
    : m_output(output)
    , m_lines(std::move(lines))
    // The line below the last one is where the cursor rests.
    , m_isInPlace(output.isTerminal() && !m_lines.empty() && m_lines.size() < output.size().rows) {
    // One long name must not drive the states of all shares off the screen.
    const auto widest = std::max(output.size().columns / 2, widestName);
    for (const auto& line : m_lines)
        m_nameColumns = std::max(m_nameColumns, std::min(DisplayText::width(line.name, widest), widest));
}

void LiveView::change(std::size_t index, const std::string& status, const std::string& error) {
    auto& line = m_lines[index];
    const bool isNews = line.status != status || (line.error != error && !error.empty());
    line.status = status;
    line.error = error;
    if (!m_isInPlace && isNews)
        m_output.write(shown(line) + '\n');
}

void LiveView::refresh() {
    if (!m_isInPlace)
        return;
    // A line that the terminal wraps would take two, and the cursor would come back to the wrong place.
    const auto columns = m_output.size().columns - 1;
    std::string text = m_isDrawn ? cursorUp(m_lines.size()) : std::string();
    for (const auto& line : m_lines)
        text += DisplayText::clipped(shown(line), columns) + eraseToEndOfLine + '\n';
    m_output.write(text);
    m_isDrawn = true;
}

void LiveView::clear() {
    if (m_isDrawn)
        m_output.write(cursorUp(m_lines.size()) + '\r' + eraseToEndOfScreen);
    m_isDrawn = false;
}

std::string LiveView::text(const Line& line) {
    return line.name + ": " + stateOf(line);
}

std::string LiveView::shown(const Line& line) const {
    return m_isInPlace
        ? DisplayText::padded(DisplayText::clipped(line.name, m_nameColumns), m_nameColumns) + "  " + stateOf(line)
        : text(line);
}

} // namespace quorrel
