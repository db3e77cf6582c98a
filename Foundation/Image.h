// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// A picture by the name or path under which it is found; views load it.
struct Image final {
    std::string name;
    int size = 0; ///< the length of its sides in points; 0: as stored

    friend bool operator==(const Image&, const Image&) = default;
};

} // namespace quorrel
