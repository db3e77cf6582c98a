// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/SystemError.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <cstddef>
#include <system_error>
#include <thread>

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// What a child is given besides its arguments. `prepare` returns an error number.
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

    int prepare(int output) {
        int error = posix_spawn_file_actions_init(&actions);
        hasActions = error == 0;
        if (error == 0)
            error = posix_spawnattr_init(&attributes);
        hasAttributes = hasActions && error == 0;
        if (error == 0)
            error = posix_spawn_file_actions_adddup2(&actions, output, STDOUT_FILENO);
        if (error == 0)
            error = posix_spawn_file_actions_addclosefrom_np(&actions, STDERR_FILENO + 1);
        sigset_t signals;
        sigfillset(&signals);
        if (error == 0)
            error = posix_spawnattr_setsigdefault(&attributes, &signals);
        sigemptyset(&signals);
        if (error == 0)
            error = posix_spawnattr_setsigmask(&attributes, &signals);
        if (error == 0)
            error = posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK);
        return error;
    }

    posix_spawn_file_actions_t actions {};
    posix_spawnattr_t attributes {};
    bool hasActions = false;
    bool hasAttributes = false;
};

std::string readToEnd(int descriptor) {
    std::string output;
    std::array<char, 16384> buffer {};
    for (;;) {
        const auto count = ::read(descriptor, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0)
            return output;
        output.append(buffer.data(), static_cast<std::size_t>(count));
    }
}

/// Returns the error number, 0 when the child was there to be reaped or is gone already.
void waitFor(pid_t child, int options, bool& ended) {
    pid_t result = -1;
    do
        result = ::waitpid(child, nullptr, options);
    while (result < 0 && errno == EINTR);
    ended = result != 0;
}

void reap(pid_t child) {
    bool ended = false;
    waitFor(child, WNOHANG, ended);
    if (ended)
        return;
    try {
        std::thread([child] {
            bool ignored = false;
            waitFor(child, 0, ignored);
        }).detach();
    } catch (const std::system_error&) {
        // No thread to be had: one zombie is left until this program ends.
    }
}

} // namespace

ChildProcessResult PosixChildProcess::run(const std::string& path, const std::vector<std::string>& arguments) {
    const auto failed = [](int error) { return ChildProcessResult { false, systemErrorText(error), {} }; };
    const auto cut = [](const std::string& text) { return text.find('\0') != std::string::npos; };
    if (cut(path) || std::any_of(arguments.begin(), arguments.end(), cut))
        return failed(EINVAL);
    std::vector<std::string> words { path };
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> argv;
    argv.reserve(words.size() + 1);
    for (auto& word : words)
        argv.push_back(word.data());
    argv.push_back(nullptr);

    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return failed(errno);
    const FileDescriptor readEnd(ends[0]);
    FileDescriptor writeEnd(ends[1]);
    SpawnSettings settings;
    if (const int error = settings.prepare(writeEnd.get()))
        return failed(error);
    pid_t child = 0;
    if (const int error
        = posix_spawn(&child, path.c_str(), &settings.actions, &settings.attributes, argv.data(), environ))
        return failed(error);
    writeEnd.close();
    ChildProcessResult result { true, {}, readToEnd(readEnd.get()) };
    reap(child);
    return result;
}

} // namespace quorrel
