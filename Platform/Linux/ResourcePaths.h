// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>

namespace quorrel {

/// Where the files are that come with the program. They are looked for beside the program first, so that it runs from
/// the folder it was built in, and then where they lie as seen from an installed program, wherever that was moved to.
struct ResourcePaths final {
    std::string locale; ///< LANGUAGE/LC_MESSAGES/Quorrel.mo are below it
    std::string icons; ///< icon files are in "Contents/Resources/" below it
    std::string help; ///< the pages of the help

    /// The paths for a program's file, links followed; by default for the one that runs.
    [[nodiscard]] static ResourcePaths find(const std::string& executable = "/proc/self/exe");
};

} // namespace quorrel
