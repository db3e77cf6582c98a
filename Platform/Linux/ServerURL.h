// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

/// A server URL in its parts, percent escapes undone. A value type.
///
/// Everything behind the slash that ends the authority is the path, question marks and number signs included, since a
/// share may be named so.
struct ServerURL final {
    std::string scheme; ///< in lower case
    std::optional<std::string> user;
    std::optional<std::string> password;
    bool asksForGuest = false; ///< the user part was "NAME;AUTH=No User Authent"
    std::string host; ///< without the brackets of an address
    int port = 0; ///< 0: the scheme's own
    std::string path; ///< without the slash in front

    /// Absent when the text has no scheme, no host, or a port that is none.
    [[nodiscard]] static std::optional<ServerURL> parse(std::string_view text);

    /// For the log: never a password, nor what could be a part of one.
    [[nodiscard]] std::string printable() const;
};

/// Escapes all but letters, digits, "-", ".", "_", "~" and what `kept` lists.
[[nodiscard]] std::string percentEncoded(std::string_view text, std::string_view kept = {});

} // namespace quorrel
