// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Integration/AvahiPublisher.h"
#include "Tests/Platform/DiscoveryWorld.h"
#include "Tests/Platform/GlibTurns.h"

#include <chrono>

namespace quorrel {
namespace {

class AvahiDiscoveryWorld final : public DiscoveryWorld {
public:
    DNSServiceDiscovery& discovery() override { return m_discovery; }
    bool runUntil(const std::function<bool()>& condition, Seconds limit) override {
        return runMainContextUntil(condition, limit);
    }
    Seconds now() const override { return std::chrono::steady_clock::now() - m_start; }

    void announce(const std::string& name) override { m_publisher.publish(name, publishedType); }
    void withdraw(const std::string& name) override { m_publisher.withdraw(name, publishedType); }
    void setTXTRecord(const std::string& name, const std::vector<std::string>& strings) override {
        m_publisher.publish(name, modelType, strings);
    }
    void removeTXTRecord(const std::string& name) override { m_publisher.withdraw(name, modelType); }

private:
    AvahiServiceDiscovery m_discovery;
    AvahiPublisher m_publisher;
    const std::chrono::steady_clock::time_point m_start = std::chrono::steady_clock::now();
};

} // namespace

std::unique_ptr<DiscoveryWorld> DiscoveryWorld::make() {
    return std::make_unique<AvahiDiscoveryWorld>();
}

} // namespace quorrel
