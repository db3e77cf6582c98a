// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/SpawnedProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <fstream>
#include <system_error>
#include <thread>
#include <utility>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// What a child is given besides its arguments. The steps return an error number.
struct SpawnSettings final {
    SpawnSettings() = default;
    SpawnSettings(const SpawnSettings&) = delete;
    SpawnSettings& operator=(const SpawnSettings&) = delete;
    ~SpawnSettings() {
        if (hasActions)
            posix_spawn_file_actions_destroy(&actions);
        if (hasAttributes)
            posix_spawnattr_destroy(&attributes);
    }

    int prepare(short moreFlags) {
        int error = posix_spawn_file_actions_init(&actions);
        hasActions = error == 0;
        if (error == 0)
            error = posix_spawnattr_init(&attributes);
        hasAttributes = hasActions && error == 0;
        sigset_t signals;
        sigfillset(&signals);
        if (error == 0)
            error = posix_spawnattr_setsigdefault(&attributes, &signals);
        sigemptyset(&signals);
        if (error == 0)
            error = posix_spawnattr_setsigmask(&attributes, &signals);
        if (error == 0)
            error = posix_spawnattr_setflags(
                &attributes, static_cast<short>(POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK | moreFlags));
        return error;
    }

    int writeOutputTo(int descriptor) { return posix_spawn_file_actions_adddup2(&actions, descriptor, STDOUT_FILENO); }

    int silence() {
        int error = 0;
        for (const int stream : { STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO })
            if (error == 0)
                error = posix_spawn_file_actions_addopen(&actions, stream, "/dev/null", O_RDWR, 0);
        return error;
    }

    int closeAllElse() { return posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1); }

    posix_spawn_file_actions_t actions {};
    posix_spawnattr_t attributes {};
    bool hasActions = false;
    bool hasAttributes = false;
};

using Spawn = decltype(&posix_spawn);

int spawn(Spawn function, pid_t& child, std::vector<std::string>& words, const SpawnSettings& settings) {
    // What the system would cut off there might come to mean something else.
    if (std::any_of(
            words.begin(), words.end(), [](const std::string& word) { return word.find('\0') != std::string::npos; }))
        return EINVAL;
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (auto& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);
    return function(&child, argv.front(), &settings.actions, &settings.attributes, argv.data(), environ);
}

bool hasEnded(pid_t child, int options) {
    pid_t result = -1;
    do
        result = ::waitpid(child, nullptr, options);
    while (result < 0 && errno == EINTR);
    return result != 0;
}

void waitForEnd(pid_t child) {
    if (hasEnded(child, WNOHANG))
        return;
    try {
        std::thread([child] { static_cast<void>(hasEnded(child, 0)); }).detach();
    } catch (const std::system_error&) {
        // No thread to be had: one zombie is left until this program ends.
    }
}

} // namespace

SpawnedProcess::SpawnedProcess(std::string program, std::vector<std::string> arguments)
    : m_words(std::move(arguments)) {
    m_words.insert(m_words.begin(), std::move(program));
}

int SpawnedProcess::start(int output, Group group) {
    SpawnSettings settings;
    int error = settings.prepare(group == Group::Own ? POSIX_SPAWN_SETPGROUP : 0);
    if (error == 0)
        error = settings.writeOutputTo(output);
    if (error == 0)
        error = settings.closeAllElse();
    return error == 0 ? spawn(&posix_spawn, m_child, m_words, settings) : error;
}

int SpawnedProcess::startDetached() {
    SpawnSettings settings;
    int error = settings.prepare(POSIX_SPAWN_SETSID);
    if (error == 0)
        error = settings.silence();
    if (error == 0)
        error = settings.closeAllElse();
    if (error == 0)
        error = spawn(&posix_spawnp, m_child, m_words, settings);
    if (error == 0)
        reap();
    return error;
}

void SpawnedProcess::reap() const {
    waitForEnd(m_child);
}

void SpawnedProcess::reapInherited() {
    std::ifstream children("/proc/thread-self/children");
    for (pid_t child = 0; children >> child;)
        waitForEnd(child);
}

} // namespace quorrel
