// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/TXTRecord.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace quorrel {

namespace {

constexpr std::size_t longestRecord = 65535; // its length is told in 16 bits

} // namespace

TXTRecord::TXTRecord(const Bytes& data) {
    const auto end = data.begin() + static_cast<std::ptrdiff_t>(std::min(data.size(), longestRecord));
    for (auto start = data.begin(); start != end;) {
        const std::ptrdiff_t length = *start++;
        if (length > end - start)
            return;
        const auto stop = start + length;
        const auto separator = std::find(start, stop, '=');
        if (separator != start) // a string without a key says nothing
            m_values.try_emplace(Text::lowerCase(std::string(start, separator)),
                separator == stop ? std::nullopt : std::optional(Bytes(separator + 1, stop)));
        start = stop;
    }
}

OptionalText TXTRecord::textFor(std::string_view key) const {
    const auto found = m_values.find(Text::lowerCase(key));
    if (found == m_values.end() || !found->second)
        return std::nullopt;
    auto text = std::string(found->second->begin(), found->second->end());
    return Text::isUTF8(text) ? OptionalText(std::move(text)) : std::nullopt;
}

} // namespace quorrel
