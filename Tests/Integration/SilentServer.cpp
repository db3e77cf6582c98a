// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/SilentServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <map>
#include <stdexcept>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

sockaddr_in addressOf(const std::string& host, std::uint16_t port) {
    sockaddr_in address {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    inet_pton(AF_INET, host.c_str(), &address.sin_addr);
    return address;
}

/// Passes on what is there; false at the end of the stream.
bool passOn(int from, int to) {
    std::array<char, 65536> buffer {};
    const auto length = read(from, buffer.data(), buffer.size());
    if (length <= 0)
        return false;
    for (ssize_t done = 0; done < length;) {
        const auto written = send(to, buffer.data() + done, static_cast<std::size_t>(length - done), MSG_NOSIGNAL);
        if (written <= 0)
            return false;
        done += written;
    }
    return true;
}

} // namespace

SilentServer::SilentServer(std::string realHost, std::uint16_t realPort)
    : m_realHost(std::move(realHost))
    , m_realPort(realPort)
    , m_listener(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0))
    , m_stop(eventfd(0, EFD_CLOEXEC)) {
    auto address = addressOf("127.0.0.1", 0);
    socklen_t length = sizeof address;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(m_listener, 64) != 0
        || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no listening socket");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

SilentServer::~SilentServer() {
    eventfd_write(m_stop, 1);
    m_thread.join();
    close(m_listener);
    close(m_stop);
}

void SilentServer::serve() {
    std::vector<int> held;
    std::map<int, int> peers;
    for (;;) {
        std::vector<pollfd> entries { { m_stop, POLLIN, 0 }, { m_listener, POLLIN, 0 } };
        for (const auto& [from, to] : peers)
            entries.push_back({ from, POLLIN, 0 });
        poll(entries.data(), entries.size(), -1);
        if (entries[0].revents)
            break;
        if (entries[1].revents) {
            const int client = accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
            ++m_connections;
            held.push_back(client);
            if (m_isSpeaking) {
                const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
                held.push_back(server);
                const auto address = addressOf(m_realHost, m_realPort);
                if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) == 0) {
                    peers[client] = server;
                    peers[server] = client;
                }
            }
        }
        for (std::size_t index = 2; index < entries.size(); ++index) {
            const int from = entries[index].fd;
            const auto peer = peers.find(from);
            if (!entries[index].revents || peer == peers.end() || passOn(from, peer->second))
                continue;
            const int to = peer->second;
            shutdown(to, SHUT_RDWR);
            shutdown(from, SHUT_RDWR);
            peers.erase(from);
            peers.erase(to);
        }
    }
    for (const int socket : held)
        close(socket);
}

} // namespace quorrel
