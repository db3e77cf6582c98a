// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <atomic>
#include <cstdint>
#include <string>
#include <thread>

namespace quorrel {

/// Accepts connections and never answers, or, once told to, passes everything on to a real server.
class SilentServer final {
public:
    explicit SilentServer(std::string realHost, std::uint16_t realPort);
    ~SilentServer();
    SilentServer(const SilentServer&) = delete;
    SilentServer& operator=(const SilentServer&) = delete;

    [[nodiscard]] std::uint16_t port() const { return m_port; }
    [[nodiscard]] int connections() const { return m_connections; }
    /// What is connected from now on reaches the real server.
    void speak() { m_isSpeaking = true; }

private:
    void serve();

    const std::string m_realHost;
    const std::uint16_t m_realPort;
    int m_listener = -1;
    int m_stop = -1;
    std::uint16_t m_port = 0;
    std::atomic<int> m_connections = 0;
    std::atomic<bool> m_isSpeaking = false;
    std::thread m_thread;
};

} // namespace quorrel
