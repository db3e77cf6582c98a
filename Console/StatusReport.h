// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/RemoteClient.h"

#include <functional>
#include <string>
#include <unordered_map>
#include <vector>

namespace quorrel {

class InterruptGuard;
struct ConsoleEnvironment;

/// Writes one line for each share, and one more whenever it is told something new of it. Main thread only.
class StatusReport final {
public:
    /// All of it must outlive the report.
    StatusReport(const ConsoleEnvironment& environment, bool json);
    StatusReport(const StatusReport&) = delete;
    StatusReport& operator=(const StatusReport&) = delete;

    /// How all are: what differs from what was written.
    void write(const std::vector<RemoteShare>& shares);
    /// How one is.
    void write(const RemoteShare& share);
    /// What the program that keeps that catalogue tells, whenever there is one, until a signal comes or nobody reads
    /// any more. `own` is how shares are as long as there has been none.
    void follow(RemoteClient& client, const InterruptGuard& guard, const std::string& catalogue,
        const std::function<std::vector<RemoteShare>()>& own);

private:
    void changed(RemoteClient::Presence presence, const std::function<std::vector<RemoteShare>()>& own);
    void list(RemoteClient& client);
    void say(const std::string& message) const;

    const ConsoleEnvironment& m_environment;
    const bool m_json;
    bool m_wasTold = false; // that there is nobody
    bool m_wasThere = false;
    std::unordered_map<std::string, RemoteShare> m_written; // by identity
};

} // namespace quorrel
