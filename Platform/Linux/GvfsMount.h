// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsLocation.h"
#include "Platform/VolumeService.h"

#include <optional>
#include <string>

namespace quorrel {

/// One live mount of gvfs, as its daemon lists it. A value type.
struct GvfsMount final {
    std::string busName;
    std::string objectPath;
    std::string fusePath; ///< the folder where its files are; empty while gvfs shows none
    std::string prefix; ///< path on the server that the mount begins at, without slashes around
    std::string type; ///< "smb-share", "dav", "ftp", "afp-volume"
    std::string host;
    std::string share;
    std::string user;
    std::string domain;
    int port = 0; ///< 0: the scheme's own
    bool isSecure = false;
    bool isUserVisible = true; ///< false for what gvfs mounts for its own purposes

    /// The path of the location below this mount, empty for the mount itself; absent when the location is not in it.
    [[nodiscard]] std::optional<std::string> pathWithin(const GvfsLocation& location) const;
    /// The readable path of what stands there below this mount; empty while gvfs shows none.
    [[nodiscard]] std::string readablePath(const std::string& pathWithin) const;
    /// Whether that readable path is this mount or lies in it.
    [[nodiscard]] bool covers(const std::string& readablePath) const;
    /// The volume that a readable path in it stands for, as far as gvfs knows it.
    [[nodiscard]] MountedVolume describe(const std::string& readablePath) const;
    [[nodiscard]] bool isFTP() const { return type == "ftp"; }
    [[nodiscard]] bool isAFP() const { return type == "afp-volume"; }
};

} // namespace quorrel
