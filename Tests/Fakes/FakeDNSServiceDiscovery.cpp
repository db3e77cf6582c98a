// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"

#include <algorithm>
#include <cstdint>
#include <sstream>
#include <utility>

namespace quorrel {

namespace {

bool isPlain(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](char letter) { return letter != '\0' && letter != '\xFF'; });
}

/// As strict as a real network is, so far as tests try it.
bool isPossible(const FakeDNSServiceDiscovery::Request& request) {
    return !request.name.empty() && request.name.size() < 64 && isPlain(request.name) && request.type.starts_with('_')
        && isPlain(request.type) && isPlain(request.domain.value_or(std::string()));
}

} // namespace

class FakeDNSServiceDiscovery::Service final : public NetService {
public:
    Service(FakeDNSServiceDiscovery& discovery, Request request)
        : m_discovery(&discovery)
        , m_request(std::move(request)) {
        m_discovery->m_services.insert(this);
    }
    Service(const Service&) = delete;
    Service& operator=(const Service&) = delete;
    ~Service() override {
        if (!m_discovery)
            return;
        m_discovery->forgetEvents(*this);
        m_discovery->m_services.erase(this);
    }

    void setDelegate(NetServiceDelegate* delegate) override { m_delegate = delegate; }

    void resolveWithTimeout(Seconds timeout) override {
        if (!m_discovery)
            return;
        m_request.timeout = timeout;
        m_isUnderWay = true;
        m_discovery->start(*this, timeout);
        if (m_delegate)
            m_delegate->netServiceWillResolve(*this);
    }

    void stop() override {
        if (m_discovery)
            m_discovery->forgetEvents(*this);
        if (std::exchange(m_isUnderWay, false) && m_delegate)
            m_delegate->netServiceDidStop(*this);
    }

    [[nodiscard]] std::string name() const override { return m_request.name; }
    [[nodiscard]] std::optional<std::vector<SocketAddress>> addresses() const override { return m_answer.addresses; }
    [[nodiscard]] std::string hostName() const override { return m_answer.hostName; }
    [[nodiscard]] int port() const override { return m_answer.port; }

    void fail(const std::string& error) {
        m_discovery->forgetEvents(*this);
        m_isUnderWay = false;
        if (m_delegate)
            m_delegate->netServiceDidNotResolve(*this, error);
    }

    void answer(Reply reply) {
        m_isUnderWay = false;
        m_answer = std::move(reply);
        if (m_delegate)
            m_delegate->netServiceDidResolveAddress(*this);
    }

    [[nodiscard]] bool isUnderWay() const { return m_isUnderWay; }
    [[nodiscard]] const Request& request() const { return m_request; }
    void orphan() { m_discovery = nullptr; }

private:
    FakeDNSServiceDiscovery* m_discovery;
    Request m_request;
    NetServiceDelegate* m_delegate = nullptr;
    bool m_isUnderWay = false;
    Reply m_answer;
};

FakeDNSServiceDiscovery::~FakeDNSServiceDiscovery() {
    for (auto* service : m_services)
        service->orphan();
}

std::unique_ptr<NetService> FakeDNSServiceDiscovery::makeNetService(
    const std::optional<std::string>& domain, const std::string& type, const std::string& name) {
    return std::make_unique<Service>(*this, Request { domain, type, name });
}

void FakeDNSServiceDiscovery::setReplies(const std::string& name, std::vector<Reply> replies) {
    m_replies[name] = std::move(replies);
}

void FakeDNSServiceDiscovery::start(Service& service, Seconds timeout) {
    forgetEvents(service);
    m_requests.push_back(service.request());
    if (!isPossible(service.request())) {
        m_events.emplace(m_now, Event { &service, Reply { .error = "Invalid service name" } });
        return;
    }
    for (const auto& reply : repliesFor(service.name()))
        m_events.emplace(m_now + reply.delay, Event { &service, reply });
    m_events.emplace(m_now + timeout, Event { &service, std::nullopt });
}

void FakeDNSServiceDiscovery::advance(Seconds duration) {
    const auto target = m_now + duration;
    while (!m_events.empty() && m_events.begin()->first <= target) {
        const auto next = m_events.begin();
        m_now = std::max(m_now, next->first);
        auto [service, reply] = std::move(next->second);
        m_events.erase(next);
        // A callback may destroy the service and change the script.
        if (reply && !reply->error)
            service->answer(std::move(*reply));
        else if (service->isUnderWay())
            service->fail(reply ? *reply->error : "Timeout reached");
        else
            forgetEvents(*service);
    }
    m_now = target;
}

int FakeDNSServiceDiscovery::resolutionsUnderWay() const {
    return static_cast<int>(
        std::count_if(m_services.begin(), m_services.end(), [](const auto* each) { return each->isUnderWay(); }));
}

void FakeDNSServiceDiscovery::forgetEvents(const Service& service) {
    std::erase_if(m_events, [&](const auto& each) { return each.second.service == &service; });
}

std::vector<FakeDNSServiceDiscovery::Reply> FakeDNSServiceDiscovery::repliesFor(const std::string& name) const {
    const auto found = m_replies.find(name);
    return found == m_replies.end() ? std::vector<Reply>() : found->second;
}

SocketAddress FakeDNSServiceDiscovery::addressIPv4(const std::string& dottedDecimal, int port) {
    SocketAddress address(16);
    address[0] = 16;
    address[1] = 2;
    address[2] = static_cast<std::uint8_t>(port >> 8);
    address[3] = static_cast<std::uint8_t>(port & 0xFF);
    std::istringstream text(dottedDecimal);
    std::string part;
    for (std::size_t index = 4; index < 8 && std::getline(text, part, '.'); ++index)
        address[index] = static_cast<std::uint8_t>(std::stoi(part));
    return address;
}

SocketAddress FakeDNSServiceDiscovery::addressIPv6(int port) {
    SocketAddress address(28);
    address[0] = 28;
    address[1] = 30;
    address[2] = static_cast<std::uint8_t>(port >> 8);
    address[3] = static_cast<std::uint8_t>(port & 0xFF);
    address[8] = 0xFD;
    address[23] = 1;
    return address;
}

} // namespace quorrel
