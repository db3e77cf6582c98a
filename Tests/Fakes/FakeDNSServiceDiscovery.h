// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Tests/Fakes/FakeNetServiceBrowser.h"
#include "Tests/Fakes/FakeServiceNetwork.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A network whose services tests make up, with a time of its own that stands still until it is advanced. Main thread
/// only. A name that nothing was scripted for never answers; one that could not stand on a network fails at once.
///
/// What is announced, withdrawn and written into records is told with an `advance`, at once or after the delay that was
/// set. Types and domains may lack the dot at their end.
class FakeDNSServiceDiscovery final : public DNSServiceDiscovery {
public:
    using Reply = FakeServiceNetwork::Reply;
    using Request = FakeServiceNetwork::Request;
    using Search = FakeNetServiceBrowser::Search;

    FakeDNSServiceDiscovery();
    FakeDNSServiceDiscovery(const FakeDNSServiceDiscovery&) = delete;
    FakeDNSServiceDiscovery& operator=(const FakeDNSServiceDiscovery&) = delete;
    /// Services and browsers may outlive it; nothing is found for them then.
    ~FakeDNSServiceDiscovery() override;

    [[nodiscard]] std::unique_ptr<NetService> makeNetService(
        const std::optional<std::string>& domain, const std::string& type, const std::string& name) override;
    [[nodiscard]] std::unique_ptr<NetServiceBrowser> makeNetServiceBrowser() override;

    /// What resolutions of that name hear, from the next one on.
    void setReplies(const std::string& name, std::vector<Reply> replies);

    /// Each further announcement of an instance stands for a further interface, and wants a withdrawal of its own.
    void announce(const std::string& name, const std::string& type, const std::string& domain = "local.");
    void withdraw(const std::string& name, const std::string& type, const std::string& domain = "local.");
    void announceDomain(const std::string& domain);
    void withdrawDomain(const std::string& domain);
    /// Tells of it even if it is what the record held before.
    void setTXTRecord(const std::string& name, std::vector<std::uint8_t> data,
        const std::string& type = "_device-info._tcp.", const std::string& domain = "local.");
    void removeTXTRecord(
        const std::string& name, const std::string& type = "_device-info._tcp.", const std::string& domain = "local.");

    /// Removes all that was found, ends the resolutions under way, and keeps silent until it is back.
    void loseDaemon();
    void restoreDaemon();
    /// How long after their cause the events of searches and records come.
    void setEventDelay(Seconds delay);
    /// Searches that start from now on end with this error, if there is one.
    void setSearchError(std::optional<std::string> error);
    /// Ends the searches that run.
    void failSearches(const std::string& error);

    /// Lets so much time pass, and runs what falls into it in order: without any, what is due now.
    void advance(Seconds duration = Seconds(0));

    /// Every resolution that was started, in order.
    [[nodiscard]] std::vector<Request> requests() const { return m_network->requests; }
    /// What was asked of services and browsers, in order: "search _smb._tcp.", "search _smb._tcp. in "local."", "search
    /// domains", "stop search _smb._tcp.", "stop search" while idle, "resolve Attic", "monitor Attic", "stop monitoring
    /// Attic".
    [[nodiscard]] std::vector<std::string> calls() const { return m_network->calls; }
    /// Is told of every call too.
    void setWitness(std::function<void(const std::string& call)> witness) { m_network->witness = std::move(witness); }
    /// Resolutions that wait for an answer.
    [[nodiscard]] int resolutionsUnderWay() const;
    /// The searches that run, those that wait for the daemon among them.
    [[nodiscard]] std::vector<Search> searches() const;
    /// The instances whose records are watched, each as often as it is.
    [[nodiscard]] std::vector<NetServiceInstance> monitored() const;
    /// What stands: made and not destroyed, scheduled and not forgotten.
    [[nodiscard]] int services() const { return static_cast<int>(m_network->services.size()); }
    [[nodiscard]] int browsers() const { return static_cast<int>(m_network->browsers.size()); }
    [[nodiscard]] int eventsToCome() const { return m_network->timeline.size(); }

    /// As a platform tells them, from dotted decimal; and one that is of no use for IPv4.
    [[nodiscard]] static SocketAddress addressIPv4(const std::string& dottedDecimal, int port = 0);
    [[nodiscard]] static SocketAddress addressIPv6(int port = 0);
    /// A record's bytes from its strings, such as "model=Tower".
    [[nodiscard]] static std::vector<std::uint8_t> txtRecord(const std::vector<std::string>& strings);

private:
    void tellRecord(const NetServiceInstance& instance);

    const std::shared_ptr<FakeServiceNetwork> m_network;
};

} // namespace quorrel
