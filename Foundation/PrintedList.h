// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// A list of texts with its printed form, for tests of whether some text occurs anywhere in the list as printed.
///
/// The form is "(", then each item on a line of its own behind four spaces, with commas between, then ")". An item of
/// letters, digits and underscores stands bare, any other in double quotes. It grows and shrinks with each item, so
/// that a long list is never printed anew. A value type: one thread at a time.
class PrintedList final {
public:
    void append(std::string item);
    /// Removes the first item that is equal; false when there is none.
    bool removeFirst(std::string_view item);

    [[nodiscard]] const std::vector<std::string>& items() const { return m_items; }
    [[nodiscard]] std::string printed() const;
    [[nodiscard]] bool printedFormContains(std::string_view text) const;
    /// The printed form up to its last line feed: until something is removed, what is appended only makes it longer.
    [[nodiscard]] std::string_view growingForm() const {
        return std::string_view(m_printed).substr(0, m_printed.size() - 2);
    }
    [[nodiscard]] std::uint64_t removals() const { return m_removals; }

private:
    std::vector<std::string> m_items;
    std::vector<std::size_t> m_lengths; // of the items, as printed
    std::string m_printed = "(\n)"; // always closed
    std::uint64_t m_removals = 0;
};

} // namespace quorrel
