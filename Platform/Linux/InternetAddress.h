// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace quorrel {

/// The address of one host, of either family.
struct InternetAddress final {
    /// What the system takes for an address, with the name of the link behind "%" where it needs one. Absent for a
    /// name, and for an address of a link that does not exist.
    [[nodiscard]] static std::optional<InternetAddress> parse(const std::string& text);

    [[nodiscard]] bool isLinkLocal() const;
    /// The same but for the link, which not everybody tells.
    [[nodiscard]] bool isSameHostAs(const InternetAddress& other) const;
    [[nodiscard]] bool operator==(const InternetAddress&) const = default;

    bool isVersion6 = false;
    unsigned link = 0; ///< the index of the link that it holds good on; 0 for any
    std::array<std::uint8_t, 16> bytes {}; ///< the first four for version 4
};

} // namespace quorrel
