// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ShareTable.h"

#include "Console/DisplayText.h"

#include <algorithm>
#include <array>
#include <numeric>
#include <utility>

namespace quorrel {

namespace {

constexpr std::size_t columnCount = 6;
constexpr std::size_t gap = 2;
constexpr std::size_t narrowestName = 8;
constexpr std::array<std::size_t, 2> namesThatMayBeCut { 0, 1 };

using Cells = std::array<std::string, columnCount>;
using Widths = std::array<std::size_t, columnCount>;

Widths widthsOf(const std::vector<Cells>& lines) {
    Widths widths {};
    for (const auto& cells : lines)
        for (std::size_t column = 0; column < columnCount; ++column)
            widths[column] = std::max(widths[column], DisplayText::width(cells[column]));
    return widths;
}

/// Takes columns from the wider name until all fits, or no name can give more. The last column, with errors of any
/// length, may go on in the terminal's next line.
void shrink(Widths& widths, std::size_t columns) {
    const auto total = [&] { return std::accumulate(widths.begin(), widths.end() - 1, (columnCount - 2) * gap); };
    while (total() > columns) {
        auto& widest = widths[namesThatMayBeCut[0]] >= widths[namesThatMayBeCut[1]] ? widths[namesThatMayBeCut[0]]
                                                                                    : widths[namesThatMayBeCut[1]];
        if (widest <= narrowestName)
            return;
        --widest;
    }
}

} // namespace

ShareTable::ShareTable(std::string homeDirectory)
    : m_homeDirectory(std::move(homeDirectory)) { }

std::string ShareTable::text(const std::vector<ShareRow>& rows, std::optional<std::size_t> columns) const {
    std::vector<Cells> lines { { "HOST", "SHARE", "SERVICE", "STATUS", "PATH", "ERROR" } };
    for (const auto& row : rows) {
        Cells cells { row.host, row.share.empty() ? "/" : row.share, row.service, row.status, shortPath(row.path),
            row.error };
        for (auto& cell : cells)
            cell = DisplayText::printable(cell);
        lines.push_back(std::move(cells));
    }
    auto widths = widthsOf(lines);
    if (columns)
        shrink(widths, *columns);

    std::string result;
    for (const auto& cells : lines) {
        std::string line;
        for (std::size_t column = 0; column < columnCount; ++column)
            line += DisplayText::padded(DisplayText::clipped(cells[column], widths[column]), widths[column] + gap);
        line.erase(line.find_last_not_of(' ') + 1);
        result += line + '\n';
    }
    return result;
}

std::string ShareTable::shortPath(const std::string& path) const {
    if (m_homeDirectory.size() > 1 && path.starts_with(m_homeDirectory + '/'))
        return '~' + path.substr(m_homeDirectory.size());
    return path;
}

} // namespace quorrel
