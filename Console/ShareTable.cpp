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
/// What is longer sticks out of its column: no other line is filled up with blanks for its sake.
constexpr std::size_t widestColumn = 256;

using Widths = std::array<std::size_t, columnCount>;

struct Line final {
    std::array<std::string, columnCount> cells;
    Widths widths {}; ///< exact where a cell is not wider than a column may be
};

Line lineOf(std::array<std::string, columnCount> cells, std::size_t widest) {
    Line line { std::move(cells) };
    for (std::size_t column = 0; column < columnCount; ++column) {
        line.cells[column] = DisplayText::printable(line.cells[column]);
        line.widths[column] = DisplayText::width(line.cells[column], widest);
    }
    return line;
}

Widths columnWidths(const std::vector<Line>& lines, std::size_t widest) {
    Widths widths {};
    for (const auto& line : lines)
        for (std::size_t column = 0; column < columnCount; ++column)
            widths[column] = std::max(widths[column], std::min(line.widths[column], widest));
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
    const auto widest = std::max(widestColumn, columns.value_or(0));
    std::vector<Line> lines { lineOf({ "HOST", "SHARE", "SERVICE", "STATUS", "PATH", "ERROR" }, widest) };
    for (const auto& row : rows)
        lines.push_back(lineOf(
            { row.host, row.share.empty() ? "/" : row.share, row.service, row.status, shortPath(row.path), row.error },
            widest));
    auto widths = columnWidths(lines, widest);
    if (columns) {
        shrink(widths, *columns);
        for (auto& line : lines)
            for (const auto name : namesThatMayBeCut)
                if (line.widths[name] > widths[name]) {
                    line.cells[name] = DisplayText::clipped(line.cells[name], widths[name]);
                    line.widths[name] = DisplayText::width(line.cells[name]);
                }
    }

    std::string result;
    for (const auto& line : lines) {
        const auto start = result.size();
        for (std::size_t column = 0; column < columnCount; ++column) {
            const auto width = std::max(widths[column], line.widths[column]);
            result += line.cells[column];
            result.append(width - line.widths[column] + gap, ' ');
        }
        result.erase(std::max(result.find_last_not_of(' ') + 1, start));
        result += '\n';
    }
    return result;
}

std::string ShareTable::shortPath(const std::string& path) const {
    if (m_homeDirectory.size() > 1 && path.starts_with(m_homeDirectory + '/'))
        return '~' + path.substr(m_homeDirectory.size());
    return path;
}

} // namespace quorrel
