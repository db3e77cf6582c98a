// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxNetworkReachability.h"

#include "Foundation/MainThreadQueue.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Tests/Integration/LinkedHosts.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/ReachabilityWorld.h"

#include <gtest/gtest.h>

namespace quorrel {
namespace {

class LinuxReachabilityWorld final : public ReachabilityWorld {
public:
    LinuxReachabilityWorld() { EXPECT_TRUE(m_hosts.isReady()); }

    std::unique_ptr<NetworkReachability> makeReachability() override {
        return std::make_unique<LinuxNetworkReachability>();
    }
    RunLoop& runLoop() override { return m_runLoop; }
    RunLoop& otherRunLoop() override { return m_otherRunLoop; }
    void setLinkUp(bool isUp) override {
        EXPECT_TRUE(isUp ? m_hosts.connect() : LinkedHosts::here("ip link set qr0 down"));
    }
    bool runUntil(const std::function<bool()>& condition, Seconds limit) override {
        return runMainContextUntil(condition, limit);
    }

private:
    LinkedHosts m_hosts;
    MainThreadQueue m_queue;
    GlibRunLoop m_runLoop { m_queue };
    GlibRunLoop m_otherRunLoop { m_queue };
};

} // namespace

std::unique_ptr<ReachabilityWorld> ReachabilityWorld::make() {
    return std::make_unique<LinuxReachabilityWorld>();
}

} // namespace quorrel
