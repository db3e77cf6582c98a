// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsoleProgram.h"
#include "Console/LinuxConsole.h"
#include "Foundation/WakeSignal.h"
#include "Platform/Linux/CoreFiles.h"
#include "Platform/Linux/LogFile.h"
#include "Platform/Linux/SignalWatch.h"
#include "Platform/Linux/SpawnedProcess.h"
#include "Platform/Linux/StandardPaths.h"
#include "Platform/Linux/StandardStreams.h"
#include "Platform/Linux/SystemError.h"
#include "Sources/OperationsEnd.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <climits>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace quorrel;

namespace {

/// Runs this program again in this process; returns what went wrong.
std::string beginAnew(std::optional<SignalWatch>& signals, int errors, char** arguments) {
    // None of the signals that came meanwhile may end what begins there.
    signals->leaveToSuccessor();
    if (dup2(errors, STDERR_FILENO) < 0)
        return systemErrorText(errno);
    std::array<char, PATH_MAX> path {};
    if (readlink("/proc/self/exe", path.data(), path.size() - 1) > 0)
        execv(path.data(), arguments);
    // It was replaced or removed since it was started.
    execv("/proc/self/exe", arguments);
    return systemErrorText(errno);
}

} // namespace

int main(int argumentCount, char** arguments) {
    StandardStreams::fillClosedOnes();
    CoreFiles::forbid();
    std::setlocale(LC_ALL, "");
    // Whoever reads our output may go; what was begun is ended all the same.
    std::signal(SIGPIPE, SIG_IGN);

    WakeSignal isMade;
    std::atomic<ConsoleProgram*> running = nullptr;
    std::atomic<LinuxConsole*> assembled = nullptr;
    std::optional<SignalWatch> signals(std::in_place, [&](int signal) {
        isMade.waitFor(signalPatience);
        auto* program = running.load();
        const auto status = program ? program->interrupt(signal) : 128 + signal;
        if (!status)
            return;
        if (auto* console = assembled.load())
            console->endTools();
        // Not `exit`: that would run destructors under threads that still work.
        _exit(*status);
    });

    // If this program took the place of another, nobody else waits for what that one had started.
    SpawnedProcess::reapInherited();

    // Standard error becomes the log, for library warnings too; the user is spoken to on what it was.
    const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const auto paths = StandardPaths::fromEnvironment();
    LogFile::reopenStandardError(paths.logFile());

    const char* terminalType = std::getenv("TERM");
    LinuxConsole console(paths, STDOUT_FILENO, errors, terminalType != nullptr ? terminalType : "");
    assembled = &console;
    ConsoleProgram program(console.environment(QUORREL_VERSION, [&] { return beginAnew(signals, errors, arguments); }));
    running = &program;
    isMade.signal();
    const int status = program.run(std::vector<std::string>(arguments + 1, arguments + argumentCount));
    // Before anything it refers to goes; a signal that came meanwhile ends the process here.
    signals.reset();
    return status;
}
