// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GlibPointers.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

namespace quorrel {

/// Has the daemon publish services, for as long as this lives and the daemon does. The main context must run until a
/// service is seen. What the daemon refuses is a test's failure.
class AvahiPublisher final {
public:
    static constexpr int everyInterface = -1;

    AvahiPublisher();
    AvahiPublisher(const AvahiPublisher&) = delete;
    AvahiPublisher& operator=(const AvahiPublisher&) = delete;
    ~AvahiPublisher();

    /// The type with the dot at its end. Waits for the daemon, running the main context. One that is published already
    /// gets these strings.
    void publish(const std::string& name, const std::string& type, const std::vector<std::string>& strings = {},
        int interface = everyInterface);
    void withdraw(const std::string& name, const std::string& type, int interface = everyInterface);
    void withdrawAll();

private:
    using Key = std::tuple<std::string, std::string, int>;

    /// Whether there is a daemon; forgets what another one had.
    [[nodiscard]] bool findDaemon();
    /// Empty after a failure, which is a test's.
    GlibPointer<GVariant> call(
        const std::string& path, const std::string& interface, const std::string& method, GVariant* parameters);

    GObjectPointer<GDBusConnection> m_bus;
    std::string m_owner;
    std::map<Key, std::string> m_groups; ///< their paths
};

} // namespace quorrel
