// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// The user's folders and languages as the environment names them. Read once by the entry point, before any thread
/// starts; all else is handed what it needs.
struct StandardPaths final {
    std::string home; ///< the root folder when the user has none
    std::string data; ///< applications' data
    std::string config;
    std::string state; ///< logs and the like
    std::string cache;
    std::optional<std::string> runtime; ///< present only when the session has one
    std::string temporary;
    std::string systemBus; ///< the system message bus's address
    std::string sessionBus; ///< the session's; empty when the session is not known to have one
    std::string serviceManager; ///< the socket on which it wants to be told how a service is; empty without one
    std::string languages; ///< the user's, names of locales with colons between them; empty for none in particular
    std::vector<std::string> programs; ///< the folders in which programs are looked for

    [[nodiscard]] static StandardPaths fromEnvironment();

    [[nodiscard]] std::string preferencesFile() const { return config + "/Quorrel/Quorrel.conf"; }
    [[nodiscard]] std::string logFile() const { return state + "/Quorrel/Quorrel.log"; }
    /// Where the session has no folder for such, it stays behind after a restart, which does no harm.
    [[nodiscard]] std::string lockFile() const {
        return runtime ? *runtime + "/Quorrel.lock" : state + "/Quorrel/Quorrel.lock";
    }
    /// What is in it, the desktop starts at login.
    [[nodiscard]] std::string autostartFolder() const { return config + "/autostart"; }
    [[nodiscard]] std::string volumesFolder() const { return home + "/Volumes"; }
};

} // namespace quorrel
