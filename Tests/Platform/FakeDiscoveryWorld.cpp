// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Platform/DiscoveryWorld.h"

namespace quorrel {
namespace {

class FakeDiscoveryWorld final : public DiscoveryWorld {
public:
    FakeDiscoveryWorld() {
        const auto address = FakeDNSServiceDiscovery::addressIPv4(publishedAddress, publishedPort);
        m_discovery.setReplies(publishedName,
            { { .delay = Seconds(0.02),
                .error = {},
                .addresses = { { address } },
                .hostName = publishedHost,
                .port = publishedPort } });
        m_discovery.setEventDelay(Seconds(0.02));
        m_discovery.announce(publishedName, publishedType);
        m_discovery.setTXTRecord(publishedName, FakeDNSServiceDiscovery::txtRecord({ publishedModel }));
    }

    DNSServiceDiscovery& discovery() override { return m_discovery; }
    bool runUntil(const std::function<bool()>& condition, Seconds limit) override {
        const Seconds turn { 0.01 };
        for (const auto end = m_now + limit; m_now < end;) {
            if (condition())
                return true;
            m_now += turn;
            m_discovery.advance(turn);
        }
        return condition();
    }
    Seconds now() const override { return m_now; }

    void announce(const std::string& name) override { m_discovery.announce(name, publishedType); }
    void withdraw(const std::string& name) override { m_discovery.withdraw(name, publishedType); }
    void setTXTRecord(const std::string& name, const std::vector<std::string>& strings) override {
        m_discovery.setTXTRecord(name, FakeDNSServiceDiscovery::txtRecord(strings), modelType);
    }
    void removeTXTRecord(const std::string& name) override { m_discovery.removeTXTRecord(name, modelType); }

private:
    FakeDNSServiceDiscovery m_discovery;
    Seconds m_now { 0 };
};

} // namespace

std::unique_ptr<DiscoveryWorld> DiscoveryWorld::make() {
    return std::make_unique<FakeDiscoveryWorld>();
}

} // namespace quorrel
