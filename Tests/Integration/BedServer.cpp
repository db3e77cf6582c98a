// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/BedServer.h"

#include "Platform/Linux/ProcessTable.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cctype>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <regex>
#include <sstream>
#include <thread>
#include <utility>

namespace quorrel {

namespace {

constexpr auto patience = std::chrono::seconds(10);
constexpr auto lookAgain = std::chrono::milliseconds(10);

bool isGroupAlive(pid_t group) {
    for (const auto identifier : ProcessTable::identifiers())
        if (getpgid(identifier) == group)
            if (const auto entry = ProcessTable::entry(identifier))
                return true;
    return false;
}

} // namespace

BedServer::BedServer(std::string name)
    : m_name(std::move(name)) { }

BedServer::~BedServer() {
    const bool isRunning = m_state == State::Running || (m_state == State::Frozen ? thaw() : restart());
    if (!isRunning)
        std::fprintf(stderr, "the server %s does not run any more\n", m_name.c_str());
}

pid_t BedServer::group() const {
    const char* directory = std::getenv("QTB_DIR");
    const std::ifstream file(std::string(directory ? directory : "") + "/testbed.json");
    std::ostringstream text;
    text << file.rdbuf();
    auto key = m_name;
    std::transform(key.begin(), key.end(), key.begin(),
        [](char letter) { return static_cast<char>(std::toupper(static_cast<unsigned char>(letter))); });
    std::smatch match;
    const std::string content = text.str();
    return std::regex_search(content, match, std::regex("\"QTB_" + key + "_PID\": *\"([0-9]+)\""))
        ? static_cast<pid_t>(std::stol(match[1]))
        : 0;
}

bool BedServer::freeze() {
    const auto identifier = group();
    if (identifier <= 1 || killpg(identifier, SIGSTOP) != 0)
        return false;
    m_state = State::Frozen;
    return true;
}

bool BedServer::thaw() {
    const auto identifier = group();
    if (identifier <= 1 || killpg(identifier, SIGCONT) != 0)
        return false;
    m_state = State::Running;
    return true;
}

bool BedServer::kill() {
    const auto identifier = group();
    if (identifier <= 1 || killpg(identifier, SIGKILL) != 0)
        return false;
    m_state = State::Killed;
    const auto end = std::chrono::steady_clock::now() + patience;
    while (isGroupAlive(identifier)) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(lookAgain);
    }
    return true;
}

bool BedServer::restart() {
    std::string tool = QUORREL_TESTBED;
    std::string word = "restart";
    std::string name = m_name;
    std::array<char*, 4> arguments { tool.data(), word.data(), name.data(), nullptr };
    posix_spawn_file_actions_t quiet;
    posix_spawn_file_actions_init(&quiet);
    posix_spawn_file_actions_addopen(&quiet, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t child = 0;
    int status = 0;
    const bool isDone = posix_spawn(&child, tool.c_str(), &quiet, nullptr, arguments.data(), environ) == 0
        && waitpid(child, &status, 0) == child && status == 0;
    posix_spawn_file_actions_destroy(&quiet);
    if (isDone)
        m_state = State::Running;
    return isDone;
}

} // namespace quorrel
