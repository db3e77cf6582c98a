// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ConsoleEnvironment.h"
#include "Foundation/WakeSignal.h"
#include "Sources/SaveQueue.h"

#include <atomic>
#include <optional>
#include <string>

namespace quorrel {

class InterruptGuard;
class QuorrelAppDelegate;

/// Keeps shares mounted without windows, until a signal ends it: the controller follows servers, network, volumes and
/// preferences, and each share's new status is a line of output. What is mounted then stays so.
class KeeperProgram final {
public:
    /// The guard must outlive the program.
    KeeperProgram(const ConsoleEnvironment& environment, InterruptGuard& guard);

    /// Main thread. Returns the exit status: 0 when a signal ended it; 1 when it could not begin, and said why.
    /// The password for shares that want one was read from that file.
    [[nodiscard]] int run(
        std::optional<std::string> password, const std::optional<std::string>& passwordFile = std::nullopt);

    /// Returns the exit status with which the process is to end at once, 0.7 s later at most, whatever hangs but the
    /// disk that takes a save; absent when it goes on. Any thread but the main one.
    [[nodiscard]] std::optional<int> interrupt(int signal);

private:
    [[nodiscard]] bool takeLock() const;
    [[nodiscard]] int keep(std::optional<std::string> password);
    void adoptMountedVolumes(QuorrelAppDelegate& controller) const;
    void watchPreferences() const;
    /// Runs the loop until the program is to end, or to begin anew.
    void follow(QuorrelAppDelegate& controller);
    /// Whether a new process would get as far as this one.
    [[nodiscard]] bool canBeginAnew(QuorrelAppDelegate& controller) const;
    void askForReload();
    void say(const std::string& message) const;
    /// From the thread that saves.
    void sayOfSave(const std::string& message);

    const ConsoleEnvironment& m_world;
    InterruptGuard& m_guard;
    SaveQueue m_saves;
    std::optional<std::string> m_passwordFile;
    std::atomic<bool> m_isEnding = false;
    std::atomic<bool> m_isReloadWanted = false;
    WakeSignal m_hasEnded; // the controller has
};

} // namespace quorrel
