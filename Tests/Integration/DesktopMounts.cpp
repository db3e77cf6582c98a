// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/DesktopMounts.h"

#include "Foundation/Clock.h"
#include "Tests/Platform/GlibTurns.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>

namespace quorrel {

namespace {

constexpr Seconds patience { 20 };

/// Whether the program ended well. It reads the file as its standard input.
bool runGio(std::vector<std::string> arguments, const std::string& input) {
    arguments.insert(arguments.begin(), "gio");
    std::vector<char*> argv;
    for (auto& argument : arguments)
        argv.push_back(argument.data());
    argv.push_back(nullptr);
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_addopen(&files, STDIN_FILENO, input.c_str(), O_RDONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    const bool isStarted = posix_spawnp(&child, argv[0], &files, nullptr, argv.data(), environ) == 0;
    posix_spawn_file_actions_destroy(&files);
    if (!isStarted)
        return false;
    int status = -1;
    if (!runMainContextUntil([&] { return waitpid(child, &status, WNOHANG) == child; }, patience)) {
        kill(child, SIGKILL);
        waitpid(child, &status, 0);
        return false;
    }
    return status == 0;
}

} // namespace

DesktopMounts::~DesktopMounts() {
    for (const auto& location : m_locations)
        if (!runGio({ "mount", "-u", location }, "/dev/null"))
            std::fprintf(stderr, "%s could not be unmounted\n", location.c_str());
}

bool DesktopMounts::mount(const std::string& location, const std::string& passwordFile) {
    const bool isDone = passwordFile.empty() ? runGio({ "mount", "-a", location }, "/dev/null")
                                             : runGio({ "mount", location }, passwordFile);
    if (isDone)
        m_locations.push_back(location);
    return isDone;
}

bool DesktopMounts::unmount(const std::string& location) {
    std::erase(m_locations, location);
    return runGio({ "mount", "-u", location }, "/dev/null");
}

} // namespace quorrel
