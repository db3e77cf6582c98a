// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {

/// Where the contract of service discovery is put to the test: a network on which one service is published and others
/// can be, and the loop that drives it. Each executable that holds the contract's tests brings one.
class DiscoveryWorld {
public:
    virtual ~DiscoveryWorld() = default;

    [[nodiscard]] static std::unique_ptr<DiscoveryWorld> make();

    [[nodiscard]] virtual DNSServiceDiscovery& discovery() = 0;
    /// Runs the loop until the condition holds, which it looks at after each turn; false when so much time went by.
    [[nodiscard]] virtual bool runUntil(const std::function<bool()>& condition, Seconds limit) = 0;
    /// Since the world began, as its services see it.
    [[nodiscard]] virtual Seconds now() const = 0;

    /// An instance of the published type, from now on or for a moment still to come.
    virtual void announce(const std::string& name) = 0;
    virtual void withdraw(const std::string& name) = 0;
    /// The strings of the record that tells that host's model.
    virtual void setTXTRecord(const std::string& name, const std::vector<std::string>& strings) = 0;
    virtual void removeTXTRecord(const std::string& name) = 0;

    static constexpr auto publishedName = "Attic";
    static constexpr auto publishedType = "_afpovertcp._tcp.";
    static constexpr auto publishedHost = "attic.local";
    static constexpr auto publishedAddress = "127.0.0.6";
    static constexpr int publishedPort = 548;
    static constexpr auto publishedModel = "model=RackMac";
    static constexpr auto modelType = "_device-info._tcp.";
};

} // namespace quorrel
