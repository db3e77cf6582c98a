// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/ConsoleProgram.h"
#include "Console/LinuxConsole.h"
#include "Platform/Linux/LogFile.h"
#include "Platform/Linux/SignalWatch.h"
#include "Platform/Linux/StandardPaths.h"
#include "Platform/Linux/StandardStreams.h"

#include <atomic>
#include <clocale>
#include <csignal>
#include <cstdlib>
#include <optional>
#include <string>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

using namespace quorrel;

int main(int argumentCount, char** arguments) {
    StandardStreams::fillClosedOnes();
    std::setlocale(LC_ALL, "");
    // Whoever reads our output may go; what was begun is ended all the same.
    std::signal(SIGPIPE, SIG_IGN);

    std::atomic<ConsoleProgram*> running = nullptr;
    std::optional<SignalWatch> signals(std::in_place, [&running](int signal) {
        if (auto* program = running.load())
            program->interrupt(signal);
        // Not `exit`: that would run destructors under threads that still work.
        _exit(128 + signal);
    });

    // Standard error becomes the log, for library warnings too; the user is spoken to on what it was.
    const int errors = fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    const auto paths = StandardPaths::fromEnvironment();
    LogFile::reopenStandardError(paths.logFile());

    const char* terminalType = std::getenv("TERM");
    LinuxConsole console(paths, STDOUT_FILENO, errors, terminalType != nullptr ? terminalType : "");
    ConsoleProgram program(console.environment(QUORREL_VERSION));
    running = &program;
    const int status = program.run(std::vector<std::string>(arguments + 1, arguments + argumentCount));
    // Before anything it refers to goes; a signal that came meanwhile ends the process here.
    signals.reset();
    return status;
}
