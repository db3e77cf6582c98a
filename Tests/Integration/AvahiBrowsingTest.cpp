// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/AvahiServiceDiscovery.h"
#include "Tests/Integration/AvahiDaemon.h"
#include "Tests/Integration/AvahiPublisher.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/RecordingNetServiceBrowserDelegate.h"
#include "Tests/Platform/RecordingNetServiceDelegate.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <deque>
#include <filesystem>
#include <iterator>
#include <malloc.h>
#include <numeric>
#include <set>
#include <vector>

namespace quorrel {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

constexpr auto type = "_afpovertcp._tcp.";

int openDescriptors() {
    namespace fs = std::filesystem;
    return static_cast<int>(std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

/// Two links to nobody, in the test bed's own network.
struct TwoInterfaces final {
    TwoInterfaces() {
        for (const std::string number : { "0", "2" }) {
            const auto link = "quorrel" + number;
            const auto otherEnd = "quorrel" + std::to_string(std::stoi(number) + 1);
            run("ip link add " + link + " type veth peer name " + otherEnd);
            run("ip addr add 10.199." + number + ".1/24 dev " + link);
            run("ip link set " + link + " up");
            run("ip link set " + otherEnd + " up");
        }
    }
    TwoInterfaces(const TwoInterfaces&) = delete;
    TwoInterfaces& operator=(const TwoInterfaces&) = delete;
    ~TwoInterfaces() {
        run("ip link delete quorrel0");
        run("ip link delete quorrel2");
    }

    static void run(const std::string& command) { EXPECT_EQ(std::system(command.c_str()), 0) << command; }
};

class AvahiBrowsingTest : public testing::Test {
protected:
    AvahiBrowsingTest() { EXPECT_TRUE(daemon.start()); }
    ~AvahiBrowsingTest() override { delegate.then = nullptr; }

    std::unique_ptr<NetServiceBrowser> makeSearch() {
        auto browser = discovery.makeNetServiceBrowser();
        browser->setDelegate(&delegate);
        browser->searchForServicesOfType(type, std::nullopt);
        return browser;
    }

    bool runUntilHeard(const std::string& event, Seconds limit = Seconds(15)) {
        return runMainContextUntil([&] { return delegate.hasHeard(event); }, limit);
    }
    static void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
    }

    static std::string newName(const std::string& beginning = "Loft ") {
        static int number = 0;
        return beginning + std::to_string(++number);
    }

    /// A search that found the test bed's service and some more.
    std::unique_ptr<NetServiceBrowser> makeSearchOf(AvahiPublisher& publisher, int more) {
        for (int each = 0; each < more; ++each)
            publisher.publish(newName(), type);
        auto browser = makeSearch();
        EXPECT_TRUE(runMainContextUntil([&] { return delegate.countOfAll("found ") > more; }, Seconds(15)));
        delegate.heard.clear();
        return browser;
    }

    static AvahiDaemon daemon;

    RecordingNetServiceBrowserDelegate delegate;
    AvahiServiceDiscovery discovery;
};

AvahiDaemon AvahiBrowsingTest::daemon;

TEST_F(AvahiBrowsingTest, aDaemonThatGoesRemovesAllAndFindsAllWhenItIsBack) {
    AvahiPublisher publisher;
    const auto browser = makeSearchOf(publisher, 3);
    for (int round = 0; round < 2; ++round) {
        const std::size_t there = round == 0 ? 4 : 1; // what the publisher had goes with the first daemon
        ASSERT_TRUE(daemon.stop());
        ASSERT_TRUE(runMainContextUntil(
            [&] { return delegate.countOfAll("removed ") == static_cast<int>(there); }, Seconds(5)));
        EXPECT_FALSE(delegate.lastRemovalHadMoreComing);
        EXPECT_EQ(delegate.count("removed Attic"), 1);
        ASSERT_TRUE(daemon.start());
        ASSERT_TRUE(runUntilHeard("found Attic"));
        runOn();
        EXPECT_EQ(delegate.heard.size(), there + 1);
        delegate.heard.clear();
    }
}

TEST_F(AvahiBrowsingTest, aDaemonThatIsKilledRemovesAllAtOnce) {
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    const auto start = std::chrono::steady_clock::now();
    daemon.kill();
    ASSERT_TRUE(runUntilHeard("removed Attic", Seconds(5)));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(2));
    delegate.heard.clear();
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

TEST_F(AvahiBrowsingTest, aDaemonThatIsNotThereIsWaitedFor) {
    ASSERT_TRUE(daemon.stop());
    const auto browser = makeSearch();
    runOn();
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    ASSERT_TRUE(daemon.start());
    EXPECT_TRUE(runUntilHeard("found Attic"));
}

// The bus lets a client have so many unanswered questions and refuses more.
TEST_F(AvahiBrowsingTest, aDaemonThatHangsUnderManyQuestionsIsAskedTheLastOfThemToo) {
    ASSERT_TRUE(daemon.start());
    constexpr int many = 300;
    std::deque<RecordingNetServiceDelegate> hearers(many);
    std::deque<std::unique_ptr<NetService>> services;
    daemon.freeze();
    for (auto& each : hearers) {
        services.push_back(discovery.makeNetService("local.", type, "Attic"));
        services.back()->setDelegate(&each);
        services.back()->resolveWithTimeout(Seconds(60));
    }
    const auto browser = makeSearch();
    services.erase(services.begin() + many / 3, services.begin() + many / 2); // some of them asked, others not
    runOn(Seconds(1));
    EXPECT_THAT(delegate.heard, ElementsAre("will search"));
    daemon.thaw();
    EXPECT_TRUE(runUntilHeard("found Attic", Seconds(30)));
    const auto resolved = [&] {
        return std::count_if(hearers.begin(), hearers.end(), [](const auto& each) { return each.heard.size() > 1; });
    };
    EXPECT_TRUE(runMainContextUntil([&] { return resolved() == many - (many / 2 - many / 3); }, Seconds(30)));
    for (const auto& each : hearers)
        EXPECT_THAT(each.heard, Not(Contains("did not resolve")));
}

TEST_F(AvahiBrowsingTest, nonsenseFailsWithoutADaemonToo) {
    ASSERT_TRUE(daemon.stop());
    const auto browser = discovery.makeNetServiceBrowser();
    browser->setDelegate(&delegate);
    browser->searchForServicesOfType("afp", std::nullopt);
    EXPECT_TRUE(runUntilHeard("did not search", Seconds(2)));
}

TEST_F(AvahiBrowsingTest, aSearchThatWaitsForTheDaemonCanBeStopped) {
    ASSERT_TRUE(daemon.stop());
    const auto browser = makeSearch();
    browser->stop();
    ASSERT_TRUE(daemon.start());
    runOn(Seconds(1.5));
    EXPECT_THAT(delegate.heard, ElementsAre("will search", "did stop"));
}

TEST_F(AvahiBrowsingTest, aDelegateMayEndTheSearchAmongManyRemovals) {
    for (const std::string way : { "stop", "destroy", "search for something else", "search again" }) {
        ASSERT_TRUE(daemon.start());
        delegate.heard.clear();
        AvahiPublisher publisher;
        auto browser = makeSearchOf(publisher, 4);
        delegate.then = [&](const std::string& event) {
            if (!event.starts_with("removed ") || delegate.countOfAll("removed ") != 2)
                return;
            if (way == "stop")
                browser->stop();
            else if (way == "destroy")
                browser.reset();
            else
                browser->searchForServicesOfType(way == "search again" ? type : "_ftp._tcp.", std::nullopt);
        };
        ASSERT_TRUE(daemon.stop());
        ASSERT_TRUE(runMainContextUntil([&] { return delegate.countOfAll("removed ") >= 2; }, Seconds(5))) << way;
        runOn();
        EXPECT_EQ(delegate.countOfAll("removed "), way == "search again" ? 5 : 2) << way;
        delegate.then = nullptr;
    }
}

TEST_F(AvahiBrowsingTest, anInstanceOnTwoInterfacesAppearsOnceAndGoesAfterTheLast) {
    const TwoInterfaces interfaces;
    ASSERT_TRUE(daemon.stop());
    daemon.setServerOptions("use-ipv4=yes\nuse-ipv6=yes\nallow-interfaces=quorrel0,quorrel2\n");
    ASSERT_TRUE(daemon.start());
    const auto name = newName();
    AvahiPublisher publisher;
    const auto browser = makeSearch();
    publisher.publish(name, type);
    ASSERT_TRUE(runUntilHeard("found " + name));
    runOn(Seconds(2)); // until it is surely seen on both, over both protocols
    TwoInterfaces::run("ip link set quorrel0 down");
    runOn(Seconds(2));
    EXPECT_EQ(delegate.count("found " + name), 1);
    EXPECT_EQ(delegate.count("removed " + name), 0);
    TwoInterfaces::run("ip link set quorrel2 down");
    EXPECT_TRUE(runUntilHeard("removed " + name));
    TwoInterfaces::run("ip link set quorrel0 up");
    EXPECT_TRUE(runMainContextUntil([&] { return delegate.count("found " + name) == 2; }, Seconds(15)));
    publisher.withdraw(name, type);
    EXPECT_TRUE(runMainContextUntil([&] { return delegate.count("removed " + name) == 2; }, Seconds(15)));
    EXPECT_EQ(delegate.count("found " + name), 2);
    daemon.setServerOptions("");
    ASSERT_TRUE(daemon.stop());
}

TEST_F(AvahiBrowsingTest, fiveHundredServicesComeAndGoAndLeaveNothingBehind) {
    constexpr int many = 500;
    AvahiPublisher publisher;
    const auto browser = makeSearch();
    ASSERT_TRUE(runUntilHeard("found Attic"));
    // Set where this test is added: with the allocator's cache, what is in use cannot be counted.
    ASSERT_TRUE(std::getenv("GLIBC_TUNABLES"));
    int descriptors = 0;
    std::vector<long> memory;
    for (int round = 0; round < 4; ++round) {
        delegate.heard.clear();
        std::set<std::string> names;
        for (int each = 0; each < many; ++each) {
            const auto name = newName("Cabin ");
            names.insert(name);
            publisher.publish(name, type);
        }
        ASSERT_TRUE(runMainContextUntil([&] { return delegate.countOfAll("found Cabin ") >= many; }, Seconds(60)));
        publisher.withdrawAll();
        ASSERT_TRUE(runMainContextUntil([&] { return delegate.countOfAll("removed Cabin ") >= many; }, Seconds(60)));
        runOn();
        EXPECT_EQ(std::set<std::string>(delegate.heard.begin(), delegate.heard.end()).size(), delegate.heard.size());
        EXPECT_EQ(delegate.heard.size(), 2U * many);
        for (const auto& name : names)
            EXPECT_TRUE(delegate.hasHeard("removed " + name));
        delegate.heard = {};
        names = {};
        memory.push_back(static_cast<long>(mallinfo2().uordblks));
        if (round == 0)
            descriptors = openDescriptors(); // the first round fills what is kept for good
        EXPECT_EQ(openDescriptors(), descriptors);
        RecordProperty("bytes in use after round " + std::to_string(round), std::to_string(memory.back()));
    }
    // The D-Bus library keeps some messages for later, which makes steps. What is left behind grows in each round, by
    // the smallest block for each service at least.
    std::adjacent_difference(memory.begin(), memory.end(), memory.begin());
    EXPECT_LT(*std::min_element(memory.begin() + 1, memory.end()), 16 * many);
}

} // namespace
} // namespace quorrel
