// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Paragraphs.h"

#include <cstddef>

namespace quorrel::Text {

namespace {

/// The length of the paragraph end that the text begins with, 0 when it begins with something else.
std::size_t endLength(std::string_view text) {
    if (text.starts_with("\r\n"))
        return 2;
    if (text.starts_with('\n') || text.starts_with('\r'))
        return 1;
    return text.starts_with("\u2028") || text.starts_with("\u2029") ? 3 : 0;
}

} // namespace

std::vector<std::string> paragraphs(std::string_view text) {
    std::vector<std::string> result;
    std::size_t start = 0;
    constexpr std::string_view firstBytesOfEnds = "\n\r\xE2";
    for (auto index = text.find_first_of(firstBytesOfEnds); index < text.size();
         index = text.find_first_of(firstBytesOfEnds, index)) {
        const auto length = endLength(text.substr(index));
        if (length == 0) {
            ++index;
            continue;
        }
        result.emplace_back(text.substr(start, index - start));
        index += length;
        start = index;
    }
    if (start < text.size())
        result.emplace_back(text.substr(start));
    return result;
}

} // namespace quorrel::Text
