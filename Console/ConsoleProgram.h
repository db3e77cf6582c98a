// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/CommandLine.h"
#include "Console/ConsoleEnvironment.h"
#include "Console/KeeperProgram.h"
#include "Console/ShareRow.h"
#include "Foundation/WakeSignal.h"
#include "Platform/RemoteShare.h"

#include <atomic>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

class InterruptGuard;
class NameMatcher;
class QuorrelAppDelegate;
class ShareAgent;
class SharePointDefinition;

/// One run of quorrelctl: the application's controller without windows, and a command carried out by it.
class ConsoleProgram final {
public:
    explicit ConsoleProgram(const ConsoleEnvironment& environment);
    ~ConsoleProgram();

    /// Main thread. Returns the exit status once nothing is under way any more: 0 when all shares asked for are as
    /// asked, 1 when some are not, 2 on wrong usage or an unknown name, 128 and the signal's number when interrupted.
    [[nodiscard]] int run(const std::vector<std::string>& arguments);

    /// Gives up what is under way, waiting 0.7 s at most, and tells the user. Any thread but the main one. Returns the
    /// exit status with which the process is to end at once; absent when it goes on, as a keeper of shares may.
    [[nodiscard]] std::optional<int> interrupt(int signal);

private:
    using SharePoints = std::vector<std::shared_ptr<SharePointDefinition>>;

    [[nodiscard]] int carryOut(const CommandLine& commandLine);
    [[nodiscard]] int carryOut(const CommandLine& commandLine, ShareAgent& agent);
    /// Absent where no other program keeps the catalogue.
    [[nodiscard]] std::optional<int> carryOutElsewhere(
        const CommandLine& commandLine, const std::string& catalogue, std::optional<std::string> password);
    [[nodiscard]] int follow(const CommandLine& commandLine, const std::string& catalogue,
        const std::function<std::vector<RemoteShare>()>& own);
    /// Whether the catalogue could be read; what is wrong with it has been said.
    [[nodiscard]] bool launch(QuorrelAppDelegate& controller) const;
    [[nodiscard]] bool catalogueIsReadable(QuorrelAppDelegate& controller) const;
    [[nodiscard]] std::optional<SharePoints> sharePointsFor(
        const CommandLine& commandLine, const NameMatcher& matcher) const;
    [[nodiscard]] Output* progressOutput(const CommandLine& commandLine) const;
    void print(const std::vector<ShareRow>& rows, bool json) const;
    void say(const std::string& message) const;

    const ConsoleEnvironment m_environment;
    const std::unique_ptr<InterruptGuard> m_guard;
    std::unique_ptr<KeeperProgram> m_keeper; // what "watch" runs
    std::atomic<bool> m_isElsewhere = false; // another program carries it out, or is followed
    WakeSignal m_hasBegun; // what is to be done is known
};

} // namespace quorrel
