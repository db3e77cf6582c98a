// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>

namespace quorrel::fuzz {

/// Ends the process, as a sanitizer does, when that does not hold.
inline void require(bool holds, const char* what) {
    if (holds)
        return;
    std::fprintf(stderr, "does not hold: %s\n", what);
    std::abort();
}

/// An input, taken bit by bit.
class FuzzInput final {
public:
    explicit FuzzInput(std::string_view bytes)
        : m_rest(bytes) { }

    [[nodiscard]] bool isEmpty() const { return m_rest.empty(); }

    /// 0 at the end.
    std::uint8_t byte() {
        if (m_rest.empty())
            return 0;
        const auto first = static_cast<std::uint8_t>(m_rest.front());
        m_rest.remove_prefix(1);
        return first;
    }

    /// Up to the next divider, or all that is left.
    std::string part() {
        constexpr char divider = '\x1F';
        const auto end = m_rest.find(divider);
        const std::string result(m_rest.substr(0, end));
        m_rest.remove_prefix(end == std::string_view::npos ? m_rest.size() : end + 1);
        return result;
    }

    std::string rest() {
        const std::string result(m_rest);
        m_rest = {};
        return result;
    }

private:
    std::string_view m_rest;
};

[[nodiscard]] inline bool contains(std::string_view text, std::string_view part) {
    return text.find(part) != std::string_view::npos;
}

[[nodiscard]] inline bool hasLineEnd(std::string_view text) {
    return text.find_first_of("\r\n") != std::string_view::npos || contains(text, "\u2028") || contains(text, "\u2029");
}

} // namespace quorrel::fuzz
