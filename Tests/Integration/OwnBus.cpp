// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/OwnBus.h"

#include "Tests/Platform/GlibTurns.h"

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <spawn.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <sys/wait.h>
#include <unistd.h>

namespace quorrel {

OwnBus::OwnBus()
    : m_socket(m_folder.path("bus")) {
    m_folder.put("bus.conf",
        "<busconfig><type>system</type><listen>unix:path=" + m_socket
            + "</listen><auth>EXTERNAL</auth><policy context=\"default\"><allow own=\"*\"/>"
              "<allow send_destination=\"*\" eavesdrop=\"true\"/><allow eavesdrop=\"true\"/></policy></busconfig>\n");
    setenv("DBUS_SYSTEM_BUS_ADDRESS", ("unix:path=" + m_socket).c_str(), 1);
}

bool OwnBus::start() {
    kill();
    std::string arguments[] { "dbus-daemon", "--nofork", "--nopidfile", "--config-file=" + m_folder.path("bus.conf") };
    char* argv[] { arguments[0].data(), arguments[1].data(), arguments[2].data(), arguments[3].data(), nullptr };
    if (posix_spawnp(&m_child, argv[0], nullptr, nullptr, argv, environ) != 0)
        return false;
    return runMainContextUntil([this] { return accepts(); }, Seconds(10));
}

bool OwnBus::accepts() const {
    sockaddr_un address { AF_UNIX, {} };
    m_socket.copy(address.sun_path, sizeof address.sun_path - 1);
    const int descriptor = socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    const bool result = connect(descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0;
    close(descriptor);
    return result;
}

void OwnBus::kill() {
    if (m_child > 0) {
        ::kill(m_child, SIGKILL);
        waitpid(m_child, nullptr, 0);
    }
    m_child = 0;
    std::filesystem::remove(m_socket);
}

} // namespace quorrel
