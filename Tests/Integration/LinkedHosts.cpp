// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/LinkedHosts.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <spawn.h>
#include <sys/wait.h>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace quorrel {

namespace {

bool waitUntil(const std::function<bool()>& condition) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (!condition()) {
        if (std::chrono::steady_clock::now() > end)
            return false;
        std::this_thread::sleep_for(std::chrono::milliseconds(5));
    }
    return true;
}

bool hasNetworkOfItsOwn(pid_t process) {
    std::error_code error;
    const auto theirs = std::filesystem::read_symlink("/proc/" + std::to_string(process) + "/ns/net", error);
    return !error && theirs != std::filesystem::read_symlink("/proc/self/ns/net", error);
}

} // namespace

LinkedHosts::LinkedHosts()
    : m_machine(spawn("unshare --net setpriv --pdeathsig KILL sleep 900")) {
    m_isReady = waitUntil([this] { return hasNetworkOfItsOwn(m_machine); })
        && here("ip link add qr0 type veth peer name qr1 netns " + std::to_string(m_machine))
        // Addresses that the links give themselves would come in the middle of a test.
        && here("ip link set qr0 addrgenmode none") && there("ip link set qr1 addrgenmode none")
        && there("ip link set lo up") && connect() && startNameServer();
}

LinkedHosts::~LinkedHosts() {
    end(m_nameServer);
    here("ip link del qr0");
    end(m_machine);
}

bool LinkedHosts::here(const std::string& command) {
    return std::system(command.c_str()) == 0;
}

bool LinkedHosts::there(const std::string& command) const {
    return here("nsenter --net --target " + std::to_string(m_machine) + " sh -c '" + command + "'");
}

bool LinkedHosts::connect() const {
    // Without the search for duplicates an address is there at once.
    return there("ip address replace 10.78.0.2/24 dev qr1 && ip link set qr1 up"
                 " && ip address replace fd78::2/64 dev qr1 nodad")
        && here("ip address replace 10.78.0.1/24 dev qr0 && ip link set qr0 up"
                " && ip address replace fd78::1/64 dev qr0 nodad");
}

bool LinkedHosts::startNameServer() {
    end(m_nameServer);
    m_nameServer = spawn("nsenter --net --target " + std::to_string(m_machine)
        + " setpriv --pdeathsig KILL dnsmasq --keep-in-foreground --conf-file=/dev/null --no-resolv --no-hosts"
          " --user=root --group=root --pid-file= --log-facility=/dev/null --local=/#/"
          " --listen-address=10.78.0.2 --bind-interfaces --host-record=host.lan.test,10.78.0.2");
    return waitUntil([] { return here("timeout 0.5 getent ahosts host.lan.test > /dev/null"); });
}

void LinkedHosts::freezeNameServer() const {
    ::kill(m_nameServer, SIGSTOP);
}

void LinkedHosts::thawNameServer() const {
    ::kill(m_nameServer, SIGCONT);
}

pid_t LinkedHosts::spawn(const std::string& command) {
    std::string words[] { "sh", "-c", "exec " + command };
    char* argv[] { words[0].data(), words[1].data(), words[2].data(), nullptr };
    pid_t process = 0;
    return posix_spawnp(&process, argv[0], nullptr, nullptr, argv, environ) == 0 ? process : 0;
}

void LinkedHosts::end(pid_t& process) {
    if (process > 0) {
        ::kill(process, SIGKILL);
        ::waitpid(process, nullptr, 0);
    }
    process = 0;
}

} // namespace quorrel
