// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/AvahiDaemon.h"

#include "Tests/Platform/GlibTurns.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <string>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr auto pidFile = "/run/avahi-daemon/pid"; // the daemon removes it when it ends well
constexpr Seconds patience { 10 };

pid_t runningDaemon() {
    std::ifstream file(pidFile);
    pid_t pid = 0;
    return file >> pid ? pid : 0;
}

} // namespace

AvahiDaemon::AvahiDaemon() = default;

AvahiDaemon::~AvahiDaemon() {
    if (m_child > 0)
        static_cast<void>(stop());
}

bool AvahiDaemon::stop() {
    const auto pid = runningDaemon();
    if (pid > 0 && kill(pid, SIGTERM) != 0)
        return false;
    const bool ended = runMainContextUntil([] { return !std::filesystem::exists(pidFile); }, patience);
    if (m_child > 0) {
        if (!ended)
            kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
        m_child = 0;
    }
    return ended;
}

bool AvahiDaemon::start() {
    if (runningDaemon() > 0)
        return true;
    const auto* configuration = std::getenv("QTB_AVAHI_CONFIG");
    if (!configuration)
        return false;
    std::string arguments[] { "avahi-daemon", "--file", configuration, "--no-drop-root", "--no-chroot",
        "--no-rlimits" };
    char* argv[] { arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(),
        arguments[4].data(), arguments[5].data(), nullptr };
    if (posix_spawnp(&m_child, argv[0], nullptr, nullptr, argv, environ) != 0)
        return false;
    return runMainContextUntil([] { return runningDaemon() > 0; }, patience);
}

} // namespace quorrel
