// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/MainThreadQueue.h"
#include "Tests/Fakes/FakeNetworkReachability.h"
#include "Tests/Fakes/FakeRunLoop.h"
#include "Tests/Platform/ReachabilityWorld.h"

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {
namespace {

/// The world's network, through which each of its owners sees the same.
class Network final : public NetworkReachability {
public:
    explicit Network(std::shared_ptr<FakeNetworkReachability> network, std::function<void(const std::string&)> asked)
        : m_network(std::move(network))
        , m_asked(std::move(asked)) { }
    std::unique_ptr<ReachabilityReference> createWithName(const std::string& hostName) override {
        m_asked(hostName);
        return m_network->createWithName(hostName);
    }

private:
    const std::shared_ptr<FakeNetworkReachability> m_network;
    const std::function<void(const std::string&)> m_asked;
};

class FakeReachabilityWorld final : public ReachabilityWorld {
public:
    std::unique_ptr<NetworkReachability> makeReachability() override {
        return std::make_unique<Network>(m_network, [this](const std::string& hostName) {
            m_hosts.push_back(hostName);
            setFlags();
        });
    }
    RunLoop& runLoop() override { return m_runLoop; }
    RunLoop& otherRunLoop() override { return m_otherRunLoop; }
    void setLinkUp(bool isUp) override {
        m_isUp = isUp;
        setFlags();
    }
    bool runUntil(const std::function<bool()>& condition, Seconds limit) override {
        for (Seconds passed { 0 }; passed < limit; passed += Seconds(0.01)) {
            if (condition())
                return true;
            m_network->runPending();
        }
        return condition();
    }

private:
    void setFlags() {
        for (const auto& host : m_hosts) {
            const bool isThere = host == hostName || host == hostAddress;
            m_network->setFlags(host, m_isUp && isThere ? ReachabilityFlag::reachable : 0);
        }
    }

    const std::shared_ptr<FakeNetworkReachability> m_network = std::make_shared<FakeNetworkReachability>();
    MainThreadQueue m_queue;
    FakeRunLoop m_runLoop { m_queue };
    FakeRunLoop m_otherRunLoop { m_queue };
    std::vector<std::string> m_hosts;
    bool m_isUp = true;
};

} // namespace

std::unique_ptr<ReachabilityWorld> ReachabilityWorld::make() {
    return std::make_unique<FakeReachabilityWorld>();
}

} // namespace quorrel
