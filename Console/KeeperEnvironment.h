// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <string>

namespace quorrel {

class CatalogueLock;
class FileWatch;
class Output;
class RemoteControl;
class ServiceManager;
struct DiscoveryEnvironment;

/// What keeping shares mounted takes besides; all of it must outlive the program.
struct KeeperEnvironment final {
    CatalogueLock& lock;
    FileWatch& preferencesFile;
    ServiceManager& serviceManager;
    Output& output; ///< as the console's, save that no write waits for a reader: shares are kept all the same
    Output& errors;
    std::function<std::string(const std::string& path)> fileVersion; ///< another text once the file is another one
    /// Puts a new process image of this program in this one's place. Returns after a failure alone, with the reason.
    std::function<std::string()> beginAnew;
    bool reloadsOnHangUp = false; ///< a hang-up asks for a reload, where it does not tell of a terminal that is gone
    /// What watches network and volumes, made when it is asked for; without one, nothing is watched.
    std::function<const DiscoveryEnvironment&()> discovery;
    RemoteControl* control = nullptr; ///< for other programs; null where none are let in
};

} // namespace quorrel
