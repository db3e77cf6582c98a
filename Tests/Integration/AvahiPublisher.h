// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/AvahiConnection.h"

#include <map>
#include <memory>
#include <string>
#include <tuple>
#include <vector>

struct AvahiEntryGroup;

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
    void withdrawAll() { m_groups.clear(); }

private:
    struct Deleter final {
        void operator()(AvahiEntryGroup* group) const;
    };

    AvahiConnection m_connection;
    std::map<std::tuple<std::string, std::string, int>, std::unique_ptr<AvahiEntryGroup, Deleter>> m_groups;
    Subscription m_connectionChanges;
};

} // namespace quorrel
