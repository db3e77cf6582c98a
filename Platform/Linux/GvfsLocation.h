// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeService.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// A place on a server as gvfs wants to be asked for it. A value type.
struct GvfsLocation final {
    std::string scheme; ///< as in a mount request
    std::string uri; ///< with the user in it, never with the password
    std::string printable; ///< for the log: without user and password
    std::string host;
    int port = 0; ///< 0: the scheme's own
    std::string user; ///< empty without one; "anonymous" where gvfs wants that name for a guest
    std::string domain; ///< of a Windows login, empty without one
    std::string password;
    bool isGuest = false;
    std::vector<std::string> path; ///< its components; the share or volume first

    /// The login in the form of a mounted volume: empty for a guest.
    [[nodiscard]] std::string loginName() const { return isGuest ? std::string() : user; }
    [[nodiscard]] std::string joinedPath(std::size_t from = 0) const;
    /// The same place under another name or address of its server.
    [[nodiscard]] GvfsLocation atHost(const std::string& otherHost) const;
    /// Where the server may listen, in the order of likelihood.
    [[nodiscard]] std::vector<std::uint16_t> ports() const;
    /// The file name of gvfs's program for this protocol.
    [[nodiscard]] std::string backEndName() const;

    struct Result;
    /// Login data of the request go before those in its URL.
    [[nodiscard]] static Result fromRequest(const MountRequest& request);
};

/// Either a location, or the status and the reason why there is none.
struct GvfsLocation::Result final {
    std::optional<GvfsLocation> location;
    std::int32_t status = VolumeStatus::success;
    std::string reason;
};

} // namespace quorrel
