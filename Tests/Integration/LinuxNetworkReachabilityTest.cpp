// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxNetworkReachability.h"

#include "Foundation/MainThreadQueue.h"
#include "Platform/Linux/GlibRunLoop.h"
#include "Tests/Integration/LinkedHosts.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/WakeUps.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include <unistd.h>

namespace quorrel {
namespace {

using testing::ElementsAre;

constexpr auto reachable = ReachabilityFlag::reachable;
constexpr auto name = "host.lan.test";
constexpr auto address = "10.78.0.2";
constexpr auto address6 = "fd78::2";
constexpr Seconds soon { 0.3 };
constexpr std::size_t bystanders = 2; // the other machine and its name server

Seconds now() {
    return std::chrono::steady_clock::now().time_since_epoch();
}

/// How many processes we have started that are not reaped yet.
std::size_t children() {
    std::size_t count = 0;
    for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
        std::ifstream list(thread.path() / "children");
        for (pid_t child = 0; list >> child;)
            ++count;
    }
    return count;
}

std::size_t entriesOf(const char* folder) {
    namespace fs = std::filesystem;
    return static_cast<std::size_t>(std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
}

/// One watched host.
class Watch final {
public:
    explicit Watch(const std::string& host, RunLoop& loop)
        : m_reference(LinuxNetworkReachability().createWithName(host)) {
        m_reference->setCallback([this](std::uint32_t flags) { told.push_back(flags); });
        EXPECT_TRUE(m_reference->scheduleWithRunLoop(loop));
    }
    Watch(const Watch&) = delete;
    Watch& operator=(const Watch&) = delete;

    [[nodiscard]] ReachabilityReference& reference() { return *m_reference; }
    /// Whether that is what is known in so much time, and how long it took.
    [[nodiscard]] bool becomes(std::uint32_t flags, Seconds limit = Seconds(10)) {
        const auto start = now();
        const bool became = runMainContextUntil([&] { return m_reference->flags() == flags; }, limit);
        took = now() - start;
        return became;
    }

    std::vector<std::uint32_t> told;
    Seconds took { 0 };

private:
    const std::unique_ptr<ReachabilityReference> m_reference;
};

class LinuxNetworkReachabilityTest : public testing::Test {
protected:
    void SetUp() override {
        ASSERT_TRUE(hosts.isReady());
        // Those that an earlier test ended may not have been reaped.
        ASSERT_TRUE(runMainContextUntil([] { return children() == bystanders; }, Seconds(10)));
    }

    void runOn(Seconds duration) {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
    }
    /// What the one command takes away the other brings back, in the time that is allowed.
    void expectFollows(
        const std::string& host, const std::function<bool()>& takeAway, const std::function<bool()>& bringBack) {
        Watch watch(host, loop);
        ASSERT_TRUE(watch.becomes(reachable)) << host;
        ASSERT_TRUE(takeAway());
        EXPECT_TRUE(watch.becomes(0, soon)) << host;
        const auto down = watch.took;
        runOn(Seconds(0.2));
        ASSERT_TRUE(bringBack());
        EXPECT_TRUE(watch.becomes(reachable, host == name ? soon + Seconds(1) : soon)) << host;
        std::printf("%s: down %.0f ms, up %.0f ms\n", host.c_str(), down.count() * 1000, watch.took.count() * 1000);
        runOn(Seconds(0.1));
        EXPECT_THAT(watch.told, ElementsAre(reachable, 0U, reachable)) << host;
    }

    LinkedHosts hosts;
    MainThreadQueue queue;
    GlibRunLoop loop { queue };
};

TEST_F(LinuxNetworkReachabilityTest, followsOurEndOfTheLink) {
    for (const auto* host : { address, address6, name })
        expectFollows(
            host, [] { return LinkedHosts::here("ip link set qr0 down"); }, [this] { return hosts.connect(); });
}

TEST_F(LinuxNetworkReachabilityTest, followsTheCarrier) {
    for (const auto* host : { address, address6, name })
        expectFollows(
            host, [this] { return hosts.there("ip link set qr1 down"); }, [this] { return hosts.connect(); });
}

TEST_F(LinuxNetworkReachabilityTest, followsOurAddress) {
    expectFollows(
        address, [] { return LinkedHosts::here("ip address del 10.78.0.1/24 dev qr0"); },
        [] { return LinkedHosts::here("ip address add 10.78.0.1/24 dev qr0"); });
    expectFollows(
        address6, [] { return LinkedHosts::here("ip address del fd78::1/64 dev qr0"); },
        [] { return LinkedHosts::here("ip address add fd78::1/64 dev qr0 nodad"); });
}

TEST_F(LinuxNetworkReachabilityTest, followsTheRouteThroughAGateway) {
    using Pair = std::pair<std::string, std::string>;
    for (const auto& each :
        { Pair("10.79.0.9", "10.79.0.0/24 via 10.78.0.2"), Pair("198.51.100.7", "default via 10.78.0.2"),
            Pair("2001:db8::7", "default via fd78::2"), Pair("192.0.2.1", "192.0.2.0/24 via inet6 fd78::2") }) {
        const auto& host = each.first;
        const auto& route = each.second;
        const std::string command = host.find(':') == std::string::npos ? "ip" : "ip -6";
        ASSERT_TRUE(LinkedHosts::here(command + " route add " + route));
        expectFollows(
            host, [&] { return LinkedHosts::here(command + " route del " + route); },
            [&] { return LinkedHosts::here(command + " route add " + route); });
        ASSERT_TRUE(LinkedHosts::here(command + " route del " + route));
    }
}

TEST_F(LinuxNetworkReachabilityTest, aRouteThatRefusesIsNone) {
    ASSERT_TRUE(LinkedHosts::here("ip route add default via 10.78.0.2"));
    for (const auto* kind : { "unreachable", "blackhole", "prohibit" })
        expectFollows(
            "198.51.100.7", [&] { return LinkedHosts::here(std::string("ip route add ") + kind + " 198.51.100.0/24"); },
            [] { return LinkedHosts::here("ip route del 198.51.100.0/24"); });
    expectFollows(
        "198.51.100.7", [] { return LinkedHosts::here("ip rule add to 198.51.100.7 prohibit"); },
        [] { return LinkedHosts::here("ip rule del to 198.51.100.7 prohibit"); });
}

TEST_F(LinuxNetworkReachabilityTest, withoutADefaultRouteOnlyTheLinkIsWithinReach) {
    Watch far("198.51.100.7", loop);
    Watch near(address, loop);
    Watch ours("10.78.0.1", loop);
    EXPECT_TRUE(far.becomes(0));
    EXPECT_TRUE(near.becomes(reachable));
    EXPECT_TRUE(ours.becomes(reachable));
}

TEST_F(LinuxNetworkReachabilityTest, anAddressOfALinkIsKnownOnceTheLinkIsThere) {
    Watch watch("fe80::2%qr5", loop);
    EXPECT_TRUE(watch.becomes(0));
    ASSERT_TRUE(
        LinkedHosts::here("ip link add qr5 type veth peer name qr6 && ip link set qr5 up && ip link set qr6 up"));
    EXPECT_TRUE(watch.becomes(reachable, Seconds(5))); // once our own address there is found to be nobody else's
    ASSERT_TRUE(LinkedHosts::here("ip link del qr5"));
    EXPECT_TRUE(watch.becomes(0, soon));
}

TEST_F(LinuxNetworkReachabilityTest, aNameInTheHostsFileNeedsNoNameServer) {
    hosts.stopNameServer();
    const std::string file = std::string(std::getenv("QTB_DIR")) + "/hosts";
    std::ofstream(file) << "10.78.0.2 shelf\n";
    ASSERT_TRUE(LinkedHosts::here("mount --bind " + file + " /etc/hosts"));
    expectFollows(
        "shelf", [] { return LinkedHosts::here("ip link set qr0 down"); }, [this] { return hosts.connect(); });
    EXPECT_TRUE(LinkedHosts::here("umount /etc/hosts"));
}

TEST_F(LinuxNetworkReachabilityTest, aNameIsAskedForAgainWhenItsServerBecomesKnownLater) {
    auto early = std::make_unique<OtherResolvConf>("nameserver 10.78.0.1\n"); // where nobody answers
    Watch watch(name, loop);
    ASSERT_TRUE(watch.becomes(0));
    early.reset();
    EXPECT_TRUE(watch.becomes(reachable, Seconds(5))); // with no change of the network to go by
    EXPECT_GT(watch.took, Seconds(1.5));
    EXPECT_THAT(watch.told, ElementsAre(0U, reachable));
}

TEST_F(LinuxNetworkReachabilityTest, aSilentNameServerHoldsUpNothing) {
    Watch watch(name, loop);
    ASSERT_TRUE(watch.becomes(reachable));
    hosts.freezeNameServer();
    ASSERT_TRUE(LinkedHosts::here("ip address add 10.80.0.1/24 dev qr0")); // which makes it ask again
    Seconds longest { 0 };
    auto last = now();
    EXPECT_FALSE(runMainContextUntil(
        [&] {
            longest = std::max(longest, now() - last);
            last = now();
            return false;
        },
        Seconds(2.5)));
    EXPECT_LT(longest, Seconds(0.5)); // the server's silence is longer
    // By now it asked several times, and one at a time waits for an answer.
    EXPECT_TRUE(runMainContextUntil([] { return children() == bystanders + 1; }, Seconds(5)));
    EXPECT_THAT(watch.told, ElementsAre(reachable));

    ASSERT_TRUE(hosts.there("ip link set qr1 down"));
    EXPECT_TRUE(watch.becomes(0, soon));
    hosts.thawNameServer();
    ASSERT_TRUE(hosts.connect());
    EXPECT_TRUE(watch.becomes(reachable, soon + Seconds(1)));
    EXPECT_THAT(watch.told, ElementsAre(reachable, 0U, reachable));
}

TEST_F(LinuxNetworkReachabilityTest, anAnswerThatWasLostIsAskedForAgainBeforeTheSystemDoes) {
    ASSERT_TRUE(hosts.there("ip route add blackhole 10.78.0.1/32"));
    Watch watch(name, loop);
    runOn(Seconds(0.5));
    ASSERT_TRUE(hosts.there("ip route del blackhole 10.78.0.1/32"));
    EXPECT_TRUE(watch.becomes(reachable, Seconds(4))); // the system waits for five seconds
    EXPECT_THAT(watch.told, ElementsAre(reachable));
}

TEST_F(LinuxNetworkReachabilityTest, whoIsGoneAsksNoMore) {
    hosts.freezeNameServer();
    {
        Watch watch(name, loop);
        ASSERT_TRUE(runMainContextUntil([] { return children() > bystanders; }, Seconds(5)));
    }
    EXPECT_TRUE(runMainContextUntil([] { return children() == bystanders; }, Seconds(5)));
    Watch watch(name, loop);
    ASSERT_TRUE(runMainContextUntil([] { return children() > bystanders; }, Seconds(5)));
    watch.reference().unscheduleFromRunLoop(loop);
    EXPECT_TRUE(runMainContextUntil([] { return children() == bystanders; }, Seconds(5)));
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
}

TEST_F(LinuxNetworkReachabilityTest, whatLooksUpANameEndsWithTheProgramsTools) {
    const auto tools = std::make_shared<RunningTools>();
    hosts.freezeNameServer();
    const auto before = children();
    const auto reference = LinuxNetworkReachability(tools).createWithName(name);
    ASSERT_TRUE(reference->scheduleWithRunLoop(loop));
    ASSERT_TRUE(runMainContextUntil([&] { return children() > before; }, Seconds(5)));
    tools->endAll();
    EXPECT_TRUE(runMainContextUntil([&] { return children() == before; }, Seconds(0.9))); // it would go on for longer
    EXPECT_EQ(reference->flags(), 0U);
}

TEST_F(LinuxNetworkReachabilityTest, onlyAnUnknownNameInALivingNetworkIsAskedForAgain) {
    Watch known(name, loop);
    Watch near(address, loop);
    ASSERT_TRUE(known.becomes(reachable));
    ASSERT_TRUE(near.becomes(reachable));
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
    {
        Watch unknown("nobody.lan.test", loop);
        ASSERT_TRUE(unknown.becomes(0));
        EXPECT_GT(nextWakeUp(), Seconds(1.5));
        EXPECT_LE(nextWakeUp(), Seconds(2.1));
    }
    hosts.stopNameServer();
    ASSERT_TRUE(LinkedHosts::here("ip link set qr0 down"));
    ASSERT_TRUE(known.becomes(0));
    ASSERT_TRUE(near.becomes(0));
    EXPECT_TRUE(fallsQuiet(Seconds(5)));
}

TEST_F(LinuxNetworkReachabilityTest, whatGoesOnElsewhereIsNotTold) {
    Watch byName(name, loop);
    Watch byAddress(address, loop);
    ASSERT_TRUE(byName.becomes(reachable));
    ASSERT_TRUE(byAddress.becomes(reachable));
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(
            LinkedHosts::here("ip link add qr5 type veth peer name qr6 && ip address add 10.81.0.1/24 dev qr6"
                              " && ip link set qr5 up && ip link set qr6 up && ip route add 10.82.0.0/24 dev qr6"));
        runOn(Seconds(0.05));
        ASSERT_TRUE(LinkedHosts::here("ip link del qr5"));
        runOn(Seconds(0.05));
    }
    runOn(Seconds(0.5));
    EXPECT_THAT(byName.told, ElementsAre(reachable));
    EXPECT_THAT(byAddress.told, ElementsAre(reachable));
}

TEST_F(LinuxNetworkReachabilityTest, whatIsRepeatedWithoutAChangeWakesNobody) {
    Watch watch(name, loop);
    ASSERT_TRUE(watch.becomes(reachable));
    // The first is news to it.
    ASSERT_TRUE(LinkedHosts::here("ip address change 10.78.0.1/24 dev qr0 valid_lft 1000 preferred_lft 1000"));
    ASSERT_TRUE(LinkedHosts::here("ip link set qr0 mtu 1400"));
    runOn(Seconds(0.3));
    ASSERT_TRUE(runMainContextUntil([] { return children() == bystanders; }, Seconds(10)));
    hosts.freezeNameServer(); // a question would be seen for a while
    std::size_t most = 0;
    for (int round = 0; round < 10; ++round) {
        ASSERT_TRUE(LinkedHosts::here(
            "ip address change 10.78.0.1/24 dev qr0 valid_lft " + std::to_string(900 - round) + " preferred_lft 800"));
        ASSERT_TRUE(LinkedHosts::here("ip link set qr0 mtu " + std::to_string(1400 + round)));
        EXPECT_FALSE(runMainContextUntil(
            [&] {
                most = std::max(most, children());
                return false;
            },
            Seconds(0.06)));
    }
    EXPECT_LE(most, bystanders);
}

TEST_F(LinuxNetworkReachabilityTest, manyChangesEndWithWhatIsTrue) {
    std::vector<std::unique_ptr<Watch>> watches;
    for (const auto* host : { name, address, address6, "198.51.100.7", "nobody.lan.test" })
        watches.push_back(std::make_unique<Watch>(host, loop));
    for (int round = 0; round < 30; ++round) {
        ASSERT_TRUE(round % 2 == 0 ? LinkedHosts::here("ip link set qr0 down") : hosts.connect());
        runOn(Seconds(0.005 * (round % 11)));
    }
    for (std::size_t index = 0; index < 3; ++index)
        EXPECT_TRUE(watches[index]->becomes(reachable, Seconds(5))) << index;
    for (std::size_t index = 3; index < 5; ++index)
        EXPECT_TRUE(watches[index]->becomes(0)) << index;
    runOn(Seconds(0.5));
    for (const auto& watch : watches)
        EXPECT_EQ(std::adjacent_find(watch->told.begin(), watch->told.end()), watch->told.end());
    EXPECT_EQ(watches[0]->told.back(), reachable);
    EXPECT_THAT(watches[4]->told, ElementsAre(0U));
}

TEST_F(LinuxNetworkReachabilityTest, aHundredChangesLeaveNothingBehind) {
    Watch byName(name, loop);
    Watch byAddress(address, loop);
    std::size_t descriptors = 0;
    std::size_t threads = 0;
    const auto processes = children();
    ASSERT_TRUE(byName.becomes(reachable) && byAddress.becomes(reachable));
    for (int round = 0; round <= 50; ++round) {
        ASSERT_TRUE(LinkedHosts::here("ip link set qr0 down"));
        ASSERT_TRUE(byName.becomes(0) && byAddress.becomes(0)) << round;
        ASSERT_TRUE(hosts.connect());
        ASSERT_TRUE(byName.becomes(reachable) && byAddress.becomes(reachable)) << round;
        if (round != 0)
            continue;
        ASSERT_TRUE(fallsQuiet(Seconds(10)));
        ASSERT_TRUE(runMainContextUntil([&] { return children() == processes; }, Seconds(10)));
        descriptors = entriesOf("/proc/self/fd");
        threads = entriesOf("/proc/self/task");
    }
    EXPECT_TRUE(fallsQuiet(Seconds(10)));
    EXPECT_TRUE(runMainContextUntil([&] { return children() == processes; }, Seconds(10)));
    EXPECT_EQ(entriesOf("/proc/self/fd"), descriptors);
    EXPECT_EQ(entriesOf("/proc/self/task"), threads);
    for (const auto* each : { &byName, &byAddress })
        EXPECT_EQ(each->told.size(), 1U + 2 * 51);
}

} // namespace
} // namespace quorrel
