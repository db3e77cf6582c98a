// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsoleProgram.h"

#include "Console/CatalogueCheck.h"
#include "Console/ConsolePasswordWindow.h"
#include "Console/DisplayText.h"
#include "Console/InterruptGuard.h"
#include "Console/JsonWriter.h"
#include "Console/NameMatcher.h"
#include "Console/OwnShares.h"
#include "Console/PasswordFile.h"
#include "Console/RemoteShares.h"
#include "Console/ShareTable.h"
#include "Console/StatusReport.h"
#include "Platform/RunLoop.h"
#include "Sources/MountedVolumes.h"
#include "Sources/MountEnvironment.h"
#include "Sources/OperationsEnd.h"
#include "Sources/QuorrelAppDelegate.h"
#include "Sources/SharePointDefinition.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <utility>

namespace quorrel {

namespace {

constexpr int exitSuccess = 0;
constexpr int exitNotAsAsked = 1;
constexpr int exitWrongUsage = 2;
constexpr int exitSignalled = 128;

std::string unknownName(const std::string& name, const NameMatcher& matcher) {
    auto message = '"' + DisplayText::printable(name) + "\" is not in the catalogue";
    const auto nearest = matcher.nearestNames(name);
    for (std::size_t index = 0; index < nearest.size(); ++index) {
        message += index == 0 ? "; did you mean " : index + 1 == nearest.size() ? " or " : ", ";
        message += '"' + DisplayText::printable(nearest[index]) + '"';
    }
    return nearest.empty() ? message + ", which is empty" : message + '?';
}

} // namespace

ConsoleProgram::ConsoleProgram(const ConsoleEnvironment& environment)
    : m_environment(environment)
    , m_guard(std::make_unique<InterruptGuard>(environment.mounting.volumes)) { }

ConsoleProgram::~ConsoleProgram() = default;

int ConsoleProgram::run(const std::vector<std::string>& arguments) {
    const auto parsed = CommandLine::parse(arguments);
    const auto* asked = std::get_if<CommandLine>(&parsed);
    if (asked != nullptr && asked->command == CommandLine::Command::Watch)
        m_keeper = std::make_unique<KeeperProgram>(m_environment, *m_guard);
    m_hasBegun.signal();
    if (const auto* error = std::get_if<UsageError>(&parsed)) {
        say(error->message);
        return exitWrongUsage;
    }
    const auto& commandLine = std::get<CommandLine>(parsed);
    if (commandLine.command == CommandLine::Command::Help) {
        m_environment.output.write(CommandLine::helpText());
        return exitSuccess;
    }
    if (commandLine.command == CommandLine::Command::Version) {
        m_environment.output.write("quorrelctl " + m_environment.version + '\n');
        return exitSuccess;
    }
    return carryOut(commandLine);
}

int ConsoleProgram::carryOut(const CommandLine& commandLine) {
    std::optional<std::string> password;
    if (commandLine.passwordFile) {
        auto read = PasswordFile::read(*commandLine.passwordFile);
        if (const auto* failure = std::get_if<PasswordFile::Failure>(&read)) {
            say(failure->message);
            return exitWrongUsage;
        }
        password = std::move(std::get<std::string>(read));
    }
    if (m_keeper)
        return m_keeper->run(std::move(password), commandLine.passwordFile);

    const auto& world = m_environment;
    OwnShares* own = nullptr;
    ConsolePasswordWindow passwordWindow(password, world.prompt, world.errors, [&own] {
        if (own != nullptr)
            own->stepAside();
    });
    QuorrelAppDelegate controller({ world, passwordWindow });
    const auto isFollowed = commandLine.command == CommandLine::Command::Status && commandLine.follow && world.remote;
    std::optional<int> status;
    if (world.remote && !isFollowed)
        status = carryOutElsewhere(commandLine, controller.catalogueFile(), std::move(password));
    if (!status && !m_guard->isInterrupted()) {
        m_guard->guard(controller.opQueue());
        OwnShares shares(world, controller, *m_guard);
        own = &shares;
        const auto launched = [&] { return launch(controller) ? shares.shares() : std::vector<RemoteShare>(); };
        if (isFollowed)
            status = follow(commandLine, controller.catalogueFile(), launched);
        else
            status = launch(controller) ? carryOut(commandLine, shares) : exitNotAsAsked;
        own = nullptr;
        controller.applicationWillTerminate();
    }
    const auto signal = m_guard->release();
    return signal ? exitSignalled + *signal : status.value_or(exitNotAsAsked);
}

bool ConsoleProgram::launch(QuorrelAppDelegate& controller) const {
    controller.awakeFromNib();
    controller.applicationDidFinishLaunching();
    if (!catalogueIsReadable(controller))
        return false;
    adoptMountedVolumes(controller.hosts.snapshot(), m_environment.mounting.volumes.mountedVolumes());
    return true;
}

std::optional<int> ConsoleProgram::carryOutElsewhere(
    const CommandLine& commandLine, const std::string& catalogue, std::optional<std::string> password) {
    m_isElsewhere = true;
    RemoteShares shares(m_environment, *m_environment.remote, *m_guard, catalogue, std::move(password));
    if (shares.connect())
        return carryOut(commandLine, shares);
    m_isElsewhere = false;
    return std::nullopt;
}

int ConsoleProgram::follow(const CommandLine& commandLine, const std::string& catalogue,
    const std::function<std::vector<RemoteShare>()>& own) {
    m_isElsewhere = true;
    StatusReport(m_environment, commandLine.json).follow(*m_environment.remote, *m_guard, catalogue, own);
    return exitSuccess;
}

int ConsoleProgram::carryOut(const CommandLine& commandLine, ShareAgent& agent) {
    if (commandLine.command == CommandLine::Command::Status) {
        StatusReport(m_environment, commandLine.json).write(agent.shares());
        return exitSuccess;
    }
    const NameMatcher matcher(agent.hosts());
    const auto sharePoints = sharePointsFor(commandLine, matcher);
    if (!sharePoints)
        return exitWrongUsage;
    const bool mounts = commandLine.command == CommandLine::Command::Mount;
    const bool lists = commandLine.command == CommandLine::Command::List;
    if (!lists && !sharePoints->empty())
        agent.run(
            mounts ? ShareAgent::Kind::Mount : ShareAgent::Kind::Unmount, *sharePoints, progressOutput(commandLine));
    if (m_guard->isInterrupted())
        return exitNotAsAsked;
    const auto rows = agent.rows(*sharePoints);
    print(rows, commandLine.json);
    const bool asAsked = std::all_of(rows.begin(), rows.end(), [&](const auto& row) { return row.mounted == mounts; });
    if (lists || asAsked)
        return exitSuccess;
    if (!commandLine.json)
        say("the log may tell more: " + DisplayText::printable(m_environment.logFile));
    return exitNotAsAsked;
}

bool ConsoleProgram::catalogueIsReadable(QuorrelAppDelegate& controller) const {
    if (controller.hosts.count() > 0)
        return true;
    const auto complaint
        = CatalogueCheck::complaint(m_environment.propertyListFile, controller.applicationSupportFolder());
    if (complaint)
        say(*complaint);
    return !complaint;
}

std::optional<ConsoleProgram::SharePoints> ConsoleProgram::sharePointsFor(
    const CommandLine& commandLine, const NameMatcher& matcher) const {
    if (commandLine.all || commandLine.command == CommandLine::Command::List)
        return matcher.allSharePoints();
    SharePoints all;
    std::set<const SharePointDefinition*> known;
    bool allKnown = true;
    for (const auto& name : commandLine.names) {
        const auto found = matcher.sharePointsFor(name);
        if (!found) {
            say(unknownName(name, matcher));
            allKnown = false;
            continue;
        }
        if (found->empty())
            say('"' + DisplayText::printable(name) + "\" has no shares in the catalogue");
        for (const auto& sharePoint : *found)
            if (known.insert(sharePoint.get()).second)
                all.push_back(sharePoint);
    }
    return allKnown ? std::optional(all) : std::nullopt;
}

Output* ConsoleProgram::progressOutput(const CommandLine& commandLine) const {
    if (!commandLine.json)
        return &m_environment.output;
    // Standard output is the machine's then; a person may watch on the other one.
    return m_environment.errors.isTerminal() ? &m_environment.errors : nullptr;
}

void ConsoleProgram::print(const std::vector<ShareRow>& rows, bool json) const {
    auto& output = m_environment.output;
    if (json) {
        output.write(JsonWriter::text(rows));
        return;
    }
    if (rows.empty()) {
        say("there are no shares");
        return;
    }
    const auto columns = output.isTerminal() ? std::optional(output.size().columns) : std::nullopt;
    output.write(ShareTable(m_environment.homeDirectory).text(rows, columns));
}

std::optional<int> ConsoleProgram::interrupt(int signal) {
    m_hasBegun.waitFor(signalPatience);
    if (m_keeper)
        return m_keeper->interrupt(signal);
    m_environment.prompt.restore();
    const bool isIdle = m_guard->interrupt(signal);
    if (m_isElsewhere)
        m_environment.runLoop.quit(); // nothing here comes to an end
    const std::string cause = signal == SIGINT ? "interrupted" : "ended by a signal";
    const std::string_view rest = isIdle ? "" : "; a server that does not answer was left to itself";
    const std::string begin = m_environment.errors.isTerminal() ? "\n" : ""; // behind what the keys left there
    m_environment.errors.write(begin + "quorrelctl: " + cause + std::string(rest) + '\n');
    return exitSignalled + signal;
}

void ConsoleProgram::say(const std::string& message) const {
    m_environment.errors.write("quorrelctl: " + message + '\n');
}

} // namespace quorrel
