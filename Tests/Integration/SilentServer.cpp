// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/SilentServer.h"

#include <arpa/inet.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <stdexcept>
#include <utility>

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
    , m_wake(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    auto address = addressOf("127.0.0.1", 0);
    socklen_t length = sizeof address;
    if (bind(m_listener, reinterpret_cast<sockaddr*>(&address), length) != 0 || listen(m_listener, 64) != 0
        || getsockname(m_listener, reinterpret_cast<sockaddr*>(&address), &length) != 0)
        throw std::runtime_error("no listening socket");
    m_port = ntohs(address.sin_port);
    m_thread = std::thread([this] { serve(); });
}

SilentServer::~SilentServer() {
    m_isEnding = true;
    eventfd_write(m_wake, 1);
    m_thread.join();
    for (const int socket : m_sockets)
        close(socket);
    close(m_listener);
    close(m_wake);
}

void SilentServer::speak() {
    m_isSpeaking = true;
    eventfd_write(m_wake, 1);
}

void SilentServer::connectToReal(int client) {
    const int server = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    m_sockets.push_back(server);
    const auto address = addressOf(m_realHost, m_realPort);
    if (connect(server, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0)
        return;
    m_peers[client] = server;
    m_peers[server] = client;
}

void SilentServer::serve() {
    while (!m_isEnding) {
        std::vector<pollfd> entries { { m_wake, POLLIN, 0 }, { m_listener, POLLIN, 0 } };
        for (const auto& [from, to] : m_peers)
            entries.push_back({ from, POLLIN, 0 });
        poll(entries.data(), entries.size(), -1);
        eventfd_t unused = 0;
        eventfd_read(m_wake, &unused);
        if (entries[1].revents) {
            m_silent.push_back(accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC));
            m_sockets.push_back(m_silent.back());
            ++m_connections;
        }
        if (m_isSpeaking) {
            for (const int client : m_silent)
                connectToReal(client);
            m_silent.clear();
        }
        for (std::size_t index = 2; index < entries.size(); ++index) {
            const int from = entries[index].fd;
            const auto peer = m_peers.find(from);
            if (!entries[index].revents || peer == m_peers.end() || passOn(from, peer->second))
                continue;
            const int to = peer->second;
            shutdown(to, SHUT_RDWR);
            shutdown(from, SHUT_RDWR);
            m_peers.erase(from);
            m_peers.erase(to);
        }
    }
}

} // namespace quorrel
