// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/BoundedLoop.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Finds out whether a server can be reached at all, which gvfs's errors often do not tell.
///
/// Runs beside other calls in the context of the thread that made it: start it, run the loop, look at the verdict.
class PortProbe final {
public:
    enum class Verdict {
        Unknown, ///< still under way, or out of time before the name was resolved
        Unresolvable,
        NotResponding, ///< the name resolved, and every address refused or stayed silent
        Reachable,
    };

    /// How long a port may stay silent.
    static constexpr Seconds patience { 3 };

    /// The loop must outlive the probe.
    PortProbe(BoundedLoop& loop, std::string host, std::vector<std::uint16_t> ports);
    ~PortProbe();
    PortProbe(const PortProbe&) = delete;
    PortProbe& operator=(const PortProbe&) = delete;

    void start();
    [[nodiscard]] bool isStarted() const { return m_isStarted; }
    /// Takes in what has been answered so far. To be asked after each turn of the loop.
    [[nodiscard]] Verdict verdict();
    /// The addresses that the name stands for, as far as they are known, in their usual form.
    [[nodiscard]] const std::vector<std::string>& addresses() const { return m_addressTexts; }

private:
    void takeAddresses();
    void tryAddress(GInetAddress* address);
    void takeConnections();

    BoundedLoop& m_loop;
    const std::string m_host;
    const std::vector<std::uint16_t> m_ports;
    GObjectPointer<GSocketClient> m_client;
    BoundedLoop::Pending m_lookup;
    std::vector<BoundedLoop::Pending> m_connections;
    std::vector<std::string> m_addressTexts;
    Verdict m_verdict = Verdict::Unknown;
    bool m_isStarted = false;
    bool m_isResolved = false;
};

} // namespace quorrel
