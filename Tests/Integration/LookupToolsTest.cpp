// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PosixChildProcess.h"
#include "Sources/BonjourResolver.h"
#include "Sources/HostDefinition.h"
#include "Sources/NSLookUp.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Sources/SMBLookup.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Integration/OtherResolvConf.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <chrono>
#include <string>

namespace quorrel {
namespace {

using testing::Contains;
using testing::HasSubstr;

/// The real tools, asking a real DNS server and a real NetBIOS name server.
class LookupToolsTest : public testing::Test {
protected:
    LookupToolsTest() { preferences.set("logToConsole", true); }

    Preferences preferences;
    FakeClock clock;
    RecordingLogSink sink;
    Log log { preferences, clock, sink };
    PosixChildProcess childProcess;
    NSLookUp nslookup { childProcess, log };
    SMBLookup nmblookup { childProcess, log };
};

TEST_F(LookupToolsTest, nslookupFindsAName) {
    EXPECT_TRUE(nslookup.lookup("files.lan.test"));
    EXPECT_EQ(nslookup.IP4(), "127.0.0.2");
    const auto texts = sink.texts();
    ASSERT_EQ(texts.size(), 3U);
    EXPECT_EQ(texts[0], "Resolving files.lan.test with nsLookup");
    EXPECT_THAT(texts[1], HasSubstr("Name:\tfiles.lan.test\nAddress: 127.0.0.2\n"));
    EXPECT_EQ(texts[2], "nslookup resolved files.lan.test to: 127.0.0.2");
}

TEST_F(LookupToolsTest, nslookupFindsAShortNameThroughTheSearchDomain) {
    EXPECT_TRUE(nslookup.lookup("files"));
    EXPECT_EQ(nslookup.IP4(), "127.0.0.2");
}

TEST_F(LookupToolsTest, nslookupKeepsTheLetterCaseItWasAskedIn) {
    EXPECT_TRUE(nslookup.lookup("FILES.lan.test"));
    EXPECT_EQ(nslookup.IP4(), "127.0.0.2");
}

TEST_F(LookupToolsTest, anAliasGivesTheEndOfTheNameItStandsFor) {
    EXPECT_TRUE(nslookup.lookup("alias.lan.test"));
    EXPECT_EQ(nslookup.IP4(), "es.lan.test");
}

TEST_F(LookupToolsTest, aNameWithBothFamiliesGivesItsIPv4Address) {
    EXPECT_TRUE(nslookup.lookup("dual.lan.test"));
    EXPECT_EQ(nslookup.IP4(), "127.0.0.3");
}

TEST_F(LookupToolsTest, aNameThatDoesNotExistFails) {
    EXPECT_FALSE(nslookup.lookup("nosuch.lan.test"));
    EXPECT_EQ(nslookup.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(), Contains(HasSubstr("NXDOMAIN")));
    EXPECT_EQ(sink.lastText(), "nslookup Failed.");
}

TEST_F(LookupToolsTest, aDeadServerEndsTheLookupInTheTimeThatTheSystemAllows) {
    const OtherResolvConf dead("nameserver 10.77.0.99\noptions timeout:1 attempts:1\n");
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(nslookup.lookup("files.lan.test"));
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(8));
    EXPECT_EQ(nslookup.IP4(), std::nullopt);
    EXPECT_THAT(sink.texts(), Contains(HasSubstr("no servers could be reached")));
}

TEST_F(LookupToolsTest, anOptionInsteadOfANameAsksNobody) {
    EXPECT_FALSE(nslookup.lookup("-version"));
    EXPECT_FALSE(nmblookup.lookup("--version"));
    EXPECT_EQ(sink.texts().size(), 4U);
}

TEST_F(LookupToolsTest, nmblookupFindsAName) {
    EXPECT_TRUE(nmblookup.lookup("HOSTB"));
    EXPECT_EQ(nmblookup.IP4(), "10.77.0.2");
    EXPECT_EQ(sink.lastText(), "nmblookup resolved HOSTB to: 10.77.0.2");
}

TEST_F(LookupToolsTest, nmblookupEchoesTheLetterCaseItWasAskedIn) {
    EXPECT_TRUE(nmblookup.lookup("hostb"));
    EXPECT_EQ(nmblookup.IP4(), "10.77.0.2");
}

TEST_F(LookupToolsTest, nmblookupDoesNotFindWhatNobodyIsCalled) {
    EXPECT_FALSE(nmblookup.lookup("NOSUCH"));
    EXPECT_EQ(nmblookup.IP4(), std::nullopt);
    EXPECT_EQ(sink.lastText(), "nmblookup Failed.");
}

TEST_F(LookupToolsTest, aToolThatIsNotThereFails) {
    NSLookUp missing(childProcess, log, "/nonexistent/nslookup");
    EXPECT_FALSE(missing.lookup("files.lan.test"));
}

class ResolverWithToolsTest : public LookupToolsTest {
protected:
    void resolve(const std::string& name, const std::string& displayType) {
        host = HostDefinition::initWithName(name, context);
        service = ServiceDefinition::initWithParentHost(host);
        service->displayType.set(displayType);
        host->services.append(service);
        resolver.resolve(service, nullptr);
    }

    FakeStringTable strings;
    FakeWorkspace workspace;
    CatalogueContextPointer context = std::make_shared<const CatalogueContext>(CatalogueContext { strings, workspace });
    FakeDNSServiceDiscovery discovery;
    ResolverEnvironment environment { discovery, childProcess, log };
    std::shared_ptr<HostDefinition> host;
    std::shared_ptr<ServiceDefinition> service;
    BonjourResolver resolver { environment };
};

TEST_F(ResolverWithToolsTest, aWebServerIsFoundInTheDNS) {
    resolve("web.lan.test", "WebDAV (http)");
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "web.lan.test");
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "127.0.0.3" });
}

TEST_F(ResolverWithToolsTest, aWindowsHostThatOnlyNetBIOSKnowsIsFound) {
    resolve("HOSTB", "Server Message Block (smb)");
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "HOSTB");
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.77.0.2" });
    EXPECT_THAT(sink.texts(), Contains("nslookup Failed."));
}

TEST_F(ResolverWithToolsTest, anotherServersHostThatOnlyNetBIOSKnowsIsNotFound) {
    resolve("HOSTB", "Apple Filing Protocol (afp)");
    discovery.advance(Seconds(5));
    EXPECT_FALSE(host->resolved.get());
    EXPECT_FALSE(host->resolving.get());
}

TEST_F(ResolverWithToolsTest, aHostThatNobodyKnowsIsNotFound) {
    resolve("NOSUCH", "Server Message Block (smb)");
    EXPECT_FALSE(host->resolved.get());
    EXPECT_FALSE(host->resolving.get());
    EXPECT_EQ(host->adresses.get(), std::nullopt);
}

} // namespace
} // namespace quorrel
