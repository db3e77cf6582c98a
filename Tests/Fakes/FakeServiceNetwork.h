// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"
#include "Tests/Fakes/FakeTimeline.h"

#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {

class FakeNetService;
class FakeNetServiceBrowser;

/// What a fake service discovery shares with all that it made, which may outlive it.
struct FakeServiceNetwork final {
    struct OrderByText final {
        bool operator()(const NetServiceInstance& left, const NetServiceInstance& right) const;
    };
    /// One event of a resolution.
    struct Reply final {
        Seconds delay { 0 }; ///< from the start of the resolution; at zero it still comes with the next `advance`
        std::optional<std::string> error; ///< absent: the service answers
        std::optional<std::vector<SocketAddress>> addresses = {};
        std::string hostName = {};
        int port = -1;
    };
    struct Request final {
        std::optional<std::string> domain;
        std::string type;
        std::string name;
        Seconds timeout { 0 };
    };

    /// As instances are told: type and domain with the dot at their end, an empty domain being the local one.
    [[nodiscard]] static NetServiceInstance instance(
        std::string name, std::string type, const std::optional<std::string>& domain);
    /// Whether it could stand in a name on a real network, so far as tests try it.
    [[nodiscard]] static bool isPlain(const std::string& text);

    static constexpr auto daemonIsAway = "Daemon not running";

    FakeTimeline timeline;
    bool isThere = true; ///< what stands for the platform's daemon
    Seconds eventDelay { 0 };
    std::optional<std::string> searchError;

    std::map<NetServiceInstance, int, OrderByText> instances; ///< with the number of interfaces that show them
    std::map<NetServiceInstance, std::vector<std::uint8_t>, OrderByText> records;
    std::set<std::string> domains;
    std::map<std::string, std::vector<Reply>> replies;

    std::vector<FakeNetService*> services; ///< in the order in which they were made
    std::vector<FakeNetServiceBrowser*> browsers;
    std::vector<Request> requests;
    std::vector<std::string> calls;
    std::function<void(const std::string& call)> witness;

    void record(const std::string& call);
};

} // namespace quorrel
