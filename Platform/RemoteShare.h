// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace quorrel {

/// A share as programs tell one another of it: never with a password.
struct RemoteShare final {
    std::string id; ///< stands for it among all shares as long as its names stay
    std::string host;
    std::string service; ///< the protocol's short name
    std::string share; ///< empty for a server's root
    std::string state; ///< a word of `ShareState`
    std::string status; ///< in the user's language
    std::string error; ///< empty when there is none
    std::string path; ///< where its files are; empty when it is not mounted
    bool mounted = false;
    bool automatic = false;
    bool favourite = false;
    bool needsPassword = false; ///< one has to come with the wish to mount it

    [[nodiscard]] bool operator==(const RemoteShare&) const = default;
};

struct RemoteHost final {
    std::string name;
    std::size_t shares = 0;
    bool resolved = false; ///< its address is known
    bool seen = false; ///< it announces itself on the network just now

    [[nodiscard]] bool operator==(const RemoteHost&) const = default;
};

/// Who answers.
struct RemoteProgram final {
    std::string catalogue; ///< the file
    std::string version;

    [[nodiscard]] bool operator==(const RemoteProgram&) const = default;
};

/// What another program wants done.
struct RemoteCommand final {
    enum class Kind { Mount, Unmount, MountHost, UnmountHost, MountAll, UnmountAll, MountFavourite };

    Kind kind = Kind::MountAll;
    std::string name {}; ///< a share's, a host's, a favourite's; empty for all
    std::optional<std::string> password {}; ///< for the shares whose password is asked for
};

/// Why it was not done.
struct RemoteFailure final {
    enum class Kind {
        AccessDenied,
        BadPassword, ///< it could not be read
        Busy,
        MountFailed,
        NoAnswer,
        PasswordNeeded,
        ShuttingDown,
        UnknownFavourite,
        UnknownHost,
        UnknownShare,
        UnmountFailed,
        Other
    };

    Kind kind = Kind::Other;
    std::string message {};

    [[nodiscard]] bool operator==(const RemoteFailure&) const = default;
};

/// The shares that a command concerned, as they are then. Those of a command for one share alone are mounted, or
/// unmounted, as was asked.
using RemoteOutcome = std::variant<std::vector<RemoteShare>, RemoteFailure>;
using RemoteReply = std::function<void(RemoteOutcome outcome)>;

} // namespace quorrel
