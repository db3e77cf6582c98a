// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/InternetAddress.h"
#include "Platform/Linux/MainLoopTimer.h"
#include "Platform/Linux/RunningTools.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Looks up the addresses of a name wherever the system looks, without blocking. Main thread only, on the main GLib
/// context; destroying it ends what is under way.
///
/// It has a process do it: one that waits for a dead name server can be ended at any time, a thread cannot.
class HostLookup final {
public:
    using Found = std::function<void(const std::vector<InternetAddress>& addresses)>;

    /// What a look-up may take. The system itself gives up a dead name server after some ten seconds.
    static constexpr Seconds patience { 30 };

    /// With `tools`, the process is one of those while it runs.
    explicit HostLookup(std::shared_ptr<RunningTools> tools = nullptr, std::string program = "/usr/bin/getent",
        Seconds limit = patience);
    HostLookup(const HostLookup&) = delete;
    HostLookup& operator=(const HostLookup&) = delete;
    ~HostLookup() { stop(); }

    /// In place of what is under way. Calls once from a later turn of the loop, with no address for a name that could
    /// not be looked up. What it calls must not throw; it may destroy this.
    void start(const std::string& name, Found found);
    void stop();
    [[nodiscard]] bool isRunning() const { return m_timer.isRunning(); }

private:
    struct Child;

    [[nodiscard]] bool spawn(const std::string& name);
    static int heard(int descriptor, int condition, void* lookup) noexcept;
    void finish();

    const std::shared_ptr<RunningTools> m_tools;
    const std::string m_program;
    const Seconds m_limit;
    Found m_found;
    std::shared_ptr<Child> m_child;
    FileDescriptor m_readEnd;
    unsigned m_source = 0;
    std::string m_output;
    MainLoopTimer m_timer;
};

} // namespace quorrel
