// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/PrintedList.h"

#include <algorithm>
#include <utility>

namespace quorrel {

namespace {

bool standsBare(std::string_view item) {
    return !item.empty() && std::all_of(item.begin(), item.end(), [](char letter) {
        return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z') || (letter >= '0' && letter <= '9')
            || letter == '_';
    });
}

void appendPrinted(std::string& printed, std::string_view item, bool isFirst) {
    printed.resize(printed.size() - 2); // the closing line feed and parenthesis
    printed += isFirst ? "\n    " : ",\n    ";
    if (standsBare(item)) {
        printed += item;
    } else {
        printed += '"';
        for (const char letter : item) {
            if (letter == '"' || letter == '\\')
                printed += '\\';
            printed += letter;
        }
        printed += '"';
    }
    printed += "\n)";
}

} // namespace

void PrintedList::append(std::string item) {
    appendPrinted(m_printed, item, m_items.empty());
    m_items.push_back(std::move(item));
}

bool PrintedList::removeFirst(std::string_view item) {
    const auto found = std::find(m_items.begin(), m_items.end(), item);
    if (found == m_items.end())
        return false;
    m_items.erase(found);
    ++m_removals;
    m_printed = "(\n)";
    bool isFirst = true;
    for (const auto& each : m_items)
        appendPrinted(m_printed, each, std::exchange(isFirst, false));
    return true;
}

std::string PrintedList::printed() const {
    return m_printed;
}

bool PrintedList::printedFormContains(std::string_view text) const {
    return m_printed.find(text) != std::string::npos;
}

} // namespace quorrel
