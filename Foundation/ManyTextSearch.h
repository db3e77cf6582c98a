// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string_view>
#include <vector>

namespace quorrel {

/// Tells which of many texts, all known beforehand, occur in one that grows, in time in proportion to both together: no
/// text is looked for by itself.
///
/// First `add` every text, then `read` what grows, piece by piece; an occurrence may span pieces. Needs some 20 bytes
/// for each byte of the texts while it lives. A value type: one thread at a time.
class ManyTextSearch final {
public:
    using Place = std::uint32_t; ///< where a text that is looked for ends

    ManyTextSearch();

    /// Texts together must stay below 4 GiB.
    [[nodiscard]] Place add(std::string_view text);
    void read(std::string_view piece);
    /// Whether that text has occurred in what was read; the empty one always has.
    [[nodiscard]] bool hasOccurred(Place place) const { return m_nodes[place].hasOccurred; }
    /// What has been read counts no longer.
    void forget();

private:
    /// The beginning of a text; the root, at 0, is the empty one. Siblings hang on one another, as a table of 256
    /// children for each would be large.
    struct Node final {
        Place firstChild = 0; ///< 0: none
        Place nextSibling = 0;
        Place longestSuffix = 0; ///< of this beginning, among all beginnings
        char letter = 0;
        bool hasOccurred = false;
    };

    [[nodiscard]] Place childOf(Place node, char letter) const;
    /// The longest beginning that ends with what this one is followed by that letter.
    [[nodiscard]] Place follow(Place node, char letter) const;
    void findSuffixes();

    std::vector<Node> m_nodes;
    std::array<Place, 256> m_rootChildren {};
    Place m_current = 0;
    bool m_hasSuffixes = false;
};

} // namespace quorrel
