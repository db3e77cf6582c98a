// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <map>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {

/// Accepts connections and does not answer, until told to: then it passes everything on to a real server, also what
/// it was sent before.
class SilentServer final {
public:
    explicit SilentServer(std::string realHost, std::uint16_t realPort);
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] int connections() const { return m_connections; }
    void speak();

private:
    void serve();
    void connectToReal(int client);

    const std::string m_realHost;
    const std::uint16_t m_realPort;
    int m_listener = -1;
    int m_wake = -1;
    std::uint16_t m_port = 0;
    std::atomic<int> m_connections = 0;
    std::atomic<bool> m_isSpeaking = false;
    std::atomic<bool> m_isEnding = false;
    std::vector<int> m_silent; ///< accepted and not yet passed on
    std::map<int, int> m_peers;
    std::vector<int> m_sockets;
    std::thread m_thread;
};

} // namespace quorrel
