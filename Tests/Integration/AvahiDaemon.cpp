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
    if (pid > 0 && ::kill(pid, SIGTERM) != 0)
        return false;
    const bool ended = runMainContextUntil(
        [this] {
            // One that was not ready for the signal yet leaves its file.
            if (m_child > 0 && waitpid(m_child, nullptr, WNOHANG) == m_child) {
                m_child = 0;
                std::filesystem::remove(pidFile);
            }
            return !std::filesystem::exists(pidFile);
        },
        patience);
    if (m_child > 0) {
        if (!ended)
            ::kill(m_child, SIGKILL);
        reap();
    }
    return ended;
}

void AvahiDaemon::kill() {
    const auto pid = runningDaemon();
    if (pid > 0 && ::kill(pid, SIGKILL) == 0)
        std::filesystem::remove(pidFile);
    reap();
}

void AvahiDaemon::freeze() const {
    if (const auto pid = runningDaemon(); pid > 0)
        ::kill(pid, SIGSTOP);
}

void AvahiDaemon::thaw() const {
    if (const auto pid = runningDaemon(); pid > 0)
        ::kill(pid, SIGCONT);
}

void AvahiDaemon::reap() {
    if (m_child > 0)
        waitpid(m_child, nullptr, 0);
    m_child = 0;
}

void AvahiDaemon::setServerOptions(const std::string& lines) {
    m_configuration.clear();
    if (lines.empty())
        return;
    m_configuration = m_folder.put("daemon.conf",
        "[server]\nhost-name=testbed\n" + lines
            + "[wide-area]\nenable-wide-area=no\n[publish]\npublish-hinfo=no\npublish-workstation=no\n");
}

bool AvahiDaemon::start() {
    if (runningDaemon() > 0)
        return true;
    if (m_child > 0)
        ::kill(m_child, SIGKILL); // which ended by itself, or never came up
    reap();
    const auto* usual = std::getenv("QTB_AVAHI_CONFIG");
    const auto configuration = !m_configuration.empty() ? m_configuration : usual ? usual : "";
    if (configuration.empty())
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
