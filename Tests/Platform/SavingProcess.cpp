// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/SavingProcess.h"

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <stdexcept>
#include <thread>

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

SavingProcess::SavingProcess(const std::string& file, const std::string& name, int first, int last)
    : m_lastSaved(first - 1) {
    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        throw std::runtime_error("no pipe");
    m_output = FileDescriptor(ends[0]);
    const FileDescriptor input(ends[1]);
    std::string program = QUORREL_CATALOGUE_SAVER;
    std::array<std::string, 4> words { file, name, std::to_string(first), std::to_string(last) };
    std::array<char*, 6> arguments { program.data(), words[0].data(), words[1].data(), words[2].data(), words[3].data(),
        nullptr };
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, input.get(), STDOUT_FILENO);
    const int error = ::posix_spawn(&m_process, program.c_str(), &actions, nullptr, arguments.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    if (error != 0)
        throw std::runtime_error("cannot start " + program);
}

SavingProcess::~SavingProcess() {
    kill();
}

bool SavingProcess::hasSaved(int number) {
    while (m_lastSaved < number)
        if (!listen())
            return false;
    return true;
}

void SavingProcess::killAfter(std::chrono::microseconds time) {
    std::this_thread::sleep_for(time);
    kill();
}

std::optional<int> SavingProcess::exitStatus() {
    while (listen()) { }
    int status = 0;
    if (m_process <= 0 || ::waitpid(m_process, &status, 0) != m_process)
        return std::nullopt;
    m_process = -1;
    return WIFEXITED(status) ? std::optional(WEXITSTATUS(status)) : std::nullopt;
}

int SavingProcess::lastSaved() {
    while (listen()) { }
    return m_lastSaved;
}

bool SavingProcess::listen() {
    constexpr int patience = 30'000; // ms
    pollfd output { m_output.get(), POLLIN, 0 };
    if (::poll(&output, 1, patience) <= 0)
        return false;
    std::array<char, 4096> buffer {};
    const auto count = ::read(m_output.get(), buffer.data(), buffer.size());
    for (ssize_t index = 0; index < count; ++index)
        if (const char letter = buffer.at(static_cast<std::size_t>(index)); letter != '\n')
            m_line += letter;
        else
            m_lastSaved = std::atoi(std::exchange(m_line, {}).c_str());
    return count > 0;
}

void SavingProcess::kill() {
    if (m_process <= 0)
        return;
    ::kill(m_process, SIGKILL);
    int status = 0;
    while (::waitpid(m_process, &status, 0) < 0 && errno == EINTR) { }
    m_process = -1;
}

} // namespace quorrel
