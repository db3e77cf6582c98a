// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/DNSServiceDiscovery.h"

#include <functional>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace quorrel {

/// A network whose services tests make up, with a time of its own that stands still until it is advanced. Main thread
/// only. A name that nothing was scripted for never answers; one that could not stand on a network fails at once.
class FakeDNSServiceDiscovery final : public DNSServiceDiscovery {
public:
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

    FakeDNSServiceDiscovery() = default;
    FakeDNSServiceDiscovery(const FakeDNSServiceDiscovery&) = delete;
    FakeDNSServiceDiscovery& operator=(const FakeDNSServiceDiscovery&) = delete;
    /// Services may outlive it; they are silent then.
    ~FakeDNSServiceDiscovery() override;

    [[nodiscard]] std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>& domain, const std::string& type, const std::string& name) override;

    /// What resolutions of that name hear, from the next one on.
    void setReplies(const std::string& name, std::vector<Reply> replies);
    /// Lets so much time pass, and runs what falls into it in order.
    void advance(Seconds duration);

    /// Every resolution that was started, in order.
    [[nodiscard]] std::vector<Request> requests() const { return m_requests; }
    /// Resolutions that wait for an answer.
    [[nodiscard]] int resolutionsUnderWay() const;

    /// As a platform tells them, from dotted decimal; and one that is of no use for IPv4.
    [[nodiscard]] static SocketAddress addressIPv4(const std::string& dottedDecimal, int port = 0);
    [[nodiscard]] static SocketAddress addressIPv6(int port = 0);

private:
    class Service;

    struct Event final {
        Service* service;
        std::optional<Reply> reply; ///< absent: the time-out
    };

    void start(Service& service, Seconds timeout);
    void forgetEvents(const Service& service);
    [[nodiscard]] std::vector<Reply> repliesFor(const std::string& name) const;

    Seconds m_now { 0 };
    std::map<std::string, std::vector<Reply>> m_replies;
    std::multimap<Seconds, Event> m_events;
    std::set<Service*> m_services;
    std::vector<Request> m_requests;
};

} // namespace quorrel
