// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/PrintedList.h"

#include <algorithm>
#include <numeric>
#include <utility>

namespace quorrel {

namespace {

bool standsBare(std::string_view item) {
    return !item.empty() && std::all_of(item.begin(), item.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9')
            || letter == '_';
    });
}

constexpr std::string_view beforeFirst = "\n    ";
constexpr std::string_view between = ",\n    ";
constexpr std::string_view close = "\n)";

void appendPrinted(std::string& printed, std::string_view item) {
    if (standsBare(item)) {
        printed += item;
        return;
    }
    printed += '"';
    for (const char letter : item) {
        if (letter == '"' || letter == '\\')
            printed += '\\';
        printed += letter;
    }
    printed += '"';
}

} // namespace

void PrintedList::append(std::string item) {
    m_printed.resize(m_printed.size() - close.size());
    m_printed += m_items.empty() ? beforeFirst : between;
    const auto start = m_printed.size();
    appendPrinted(m_printed, item);
    m_lengths.push_back(m_printed.size() - start);
    m_printed += close;
    m_items.push_back(std::move(item));
}

bool PrintedList::removeFirst(std::string_view item) {
    const auto found = std::find(m_items.begin(), m_items.end(), item);
    if (found == m_items.end())
        return false;
    const auto place = found - m_items.begin();
    const auto length = m_lengths.begin() + place;
    const auto start = std::accumulate(m_lengths.begin(), length,
        1 + beforeFirst.size() + static_cast<std::size_t>(place) * between.size()); // behind the parenthesis
    // With the comma before or, of the first item, the one behind; the only item has none.
    if (place > 0)
        m_printed.erase(start - between.size(), between.size() + *length);
    else if (m_items.size() > 1)
        m_printed.erase(start, *length + between.size());
    else
        m_printed.erase(start - beforeFirst.size(), beforeFirst.size() + *length);
    m_lengths.erase(length);
    m_items.erase(found);
    ++m_removals;
    return true;
}

std::string PrintedList::printed() const {
    return m_printed;
}

bool PrintedList::printedFormContains(std::string_view text) const {
    return m_printed.find(text) != std::string::npos;
}

} // namespace quorrel
