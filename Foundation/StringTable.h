// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

namespace quorrel {

/// Marks a key that is kept in a table and looked up later, so that the translators see it.
[[nodiscard]] constexpr const char* localizable(const char* key) {
    return key;
}

/// The user's language: the text for an English key in the table "Quorrel". Any thread.
class StringTable {
public:
    virtual ~StringTable() = default;

    /// The key itself where there is no translation, which is all that this base does.
    [[nodiscard]] virtual std::string text(std::string_view key) const { return std::string(key); }
};

} // namespace quorrel
