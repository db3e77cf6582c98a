// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Platform/DesktopBus.h"

#include <fcntl.h>
#include <poll.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace quorrel {

namespace {

constexpr int patience = 10000; // milliseconds

} // namespace

bool DesktopBus::start() {
    std::array<int, 2> pipeEnds {};
    if (m_daemon > 0 || pipe2(pipeEnds.data(), O_CLOEXEC) != 0)
        return false;
    posix_spawn_file_actions_t files;
    posix_spawn_file_actions_init(&files);
    posix_spawn_file_actions_adddup2(&files, pipeEnds[1], STDOUT_FILENO);
    posix_spawn_file_actions_addopen(&files, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
    // What the bus may start is to find nothing of the user's; and it goes with the test, whatever happens.
    auto home = "HOME=" + m_folder.path();
    auto runtime = "XDG_RUNTIME_DIR=" + m_folder.path();
    std::string path = "PATH=/usr/bin:/bin";
    std::array<char*, 4> environment { home.data(), runtime.data(), path.data(), nullptr };
    std::array<std::string, 8> words { "setpriv", "--pdeathsig", "TERM", "dbus-daemon", "--session", "--nofork",
        "--print-address=1", "--address=" + address() };
    std::array<char*, words.size() + 1> arguments {};
    for (std::size_t index = 0; index < words.size(); ++index)
        arguments[index] = words[index].data();
    const bool isStarted
        = posix_spawnp(&m_daemon, arguments[0], &files, nullptr, arguments.data(), environment.data()) == 0;
    posix_spawn_file_actions_destroy(&files);
    close(pipeEnds[1]);
    pollfd announcement { pipeEnds[0], POLLIN, 0 };
    const bool isListening = isStarted && poll(&announcement, 1, patience) == 1 && (announcement.revents & POLLIN) != 0;
    close(pipeEnds[0]);
    return isListening;
}

void DesktopBus::stop() {
    if (m_daemon <= 0)
        return;
    kill(m_daemon, SIGKILL);
    waitpid(m_daemon, nullptr, 0);
    m_daemon = 0;
    unlink(socket().c_str());
}

} // namespace quorrel
