// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <compare>
#include <string>

namespace quorrel {

/// One host's name, and which tools are to be asked for its address: the second one where the first does not know it.
struct NameLookup final {
    std::string hostName;
    std::string nslookupPath;
    std::string nmblookupPath; ///< empty: it is not asked

    friend auto operator<=>(const NameLookup&, const NameLookup&) = default;
};

} // namespace quorrel
