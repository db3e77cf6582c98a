// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourResolver.h"

#include "Sources/HostDefinition.h"
#include "Sources/ServiceDefinition.h"
#include "Sources/SharePointDefinition.h"
#include "Tests/Fakes/FakeDNSServiceDiscovery.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Sources/LookupFixture.h"
#include "Tests/Sources/ToolOutputs.h"

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Addresses = std::optional<std::vector<std::string>>;
using SocketAddresses = std::vector<SocketAddress>;
using Reply = FakeDNSServiceDiscovery::Reply;

constexpr auto afp = "Apple Filing Protocol (afp)";
constexpr auto smb = "Server Message Block (smb)";

std::string shown(const OptionalText& text) {
    return text.value_or("absent");
}

class BonjourResolverTest : public LookupFixture {
protected:
    /// A host with one service, whose every change from now on is written down.
    void makeHost(const std::string& name, const std::string& displayType) {
        host = HostDefinition::initWithName(name, context);
        service = ServiceDefinition::initWithParentHost(host);
        service->displayType.set(displayType);
        host->services.append(service);
        hostChanges = host->observeAll([this](std::string_view key, Change change) {
            if (change == Change::Did)
                changes.push_back(std::string(key) + "=" + valueOf(key));
        });
        serviceChanges = service->observeAll([this](std::string_view key, Change change) {
            if (change == Change::Did)
                changes.push_back("service."
                    + (key == "port" ? "port=" + std::to_string(service->port.get())
                                     : "type=" + shown(service->type.get())));
        });
    }

    std::string valueOf(std::string_view key) const {
        if (key == "hostName")
            return shown(host->hostName.get());
        if (key == "adresses") {
            std::string text = host->adresses.get() ? "" : "absent";
            for (const auto& each : host->adresses.get().value_or(std::vector<std::string>()))
                text += each + ";";
            return text;
        }
        return (key == "resolved" ? host->resolved.get() : host->resolving.get()) ? "yes" : "no";
    }

    void resolve(const std::string& name, const std::string& displayType) {
        makeHost(name, displayType);
        resolver.resolve(service, nullptr);
    }

    static Reply answer(std::optional<std::vector<SocketAddress>> addresses, Seconds delay = Seconds(0.1)) {
        return {
            .delay = delay, .error = {}, .addresses = std::move(addresses), .hostName = "attic.local", .port = 548
        };
    }
    static Reply failure(Seconds delay) { return { .delay = delay, .error = "gone" }; }

    static SocketAddress ip(const std::string& text) { return FakeDNSServiceDiscovery::addressIPv4(text, 548); }
    static SocketAddress ip6() { return FakeDNSServiceDiscovery::addressIPv6(548); }

    /// What a service with those addresses leaves in the host.
    Addresses adressesFrom(std::vector<SocketAddress> addresses) {
        discovery.setReplies("Attic", { answer(std::move(addresses)) });
        resolve("Attic", afp);
        discovery.advance(Seconds(1));
        return host->adresses.get();
    }

    FakeStringTable strings;
    FakeWorkspace workspace;
    CatalogueContextPointer context = std::make_shared<const CatalogueContext>(CatalogueContext { strings, workspace });
    FakeDNSServiceDiscovery discovery;
    ResolverEnvironment environment { discovery, childProcess, log };
    std::vector<std::string> changes;
    std::shared_ptr<HostDefinition> host;
    std::shared_ptr<ServiceDefinition> service;
    Subscription hostChanges;
    Subscription serviceChanges;
    BonjourResolver resolver { environment };
};

TEST_F(BonjourResolverTest, aNullServiceIsIgnored) {
    resolver.resolve(nullptr, nullptr);
    EXPECT_THAT(sink.lines(), IsEmpty());
    EXPECT_THAT(discovery.requests(), IsEmpty());
}

TEST_F(BonjourResolverTest, anAddressIsTakenForResolvedWithoutALookup) {
    makeHost("192.168.1.20", smb);
    host->adresses.set(std::vector<std::string> { "10.9.9.9" });
    changes.clear();
    resolver.resolve(service, nullptr);
    EXPECT_THAT(
        changes, ElementsAre("service.type=_smb._tcp.", "hostName=192.168.1.20", "resolving=no", "resolved=yes"));
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.9.9.9" });
    EXPECT_THAT(sink.texts(), ElementsAre("IP Address detected, assuming resolve."));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
    EXPECT_THAT(discovery.requests(), IsEmpty());
}

TEST_F(BonjourResolverTest, protocolsOfTheDNSAskNslookupAlone) {
    const std::vector<std::pair<std::string, std::string>> protocols {
        { "File Transfer Protocol (ftp)", "_ftp._tcp." },
        { "Network File System (nfs)", "_ftp._tcp." },
        { "Secure WebDAV (https)", "_http._tcp." },
        { "WebDAV (http)", "_http._tcp." },
    };
    childProcess.setOutput(nslookup, ToolOutputs::nslookupFound);
    for (const auto& [displayType, type] : protocols) {
        changes.clear();
        resolve("files.lan.test", displayType);
        EXPECT_THAT(changes,
            ElementsAre("service.type=" + type, "adresses=10.77.0.2;", "hostName=files.lan.test", "resolved=yes",
                "resolving=no"))
            << displayType;
    }
    EXPECT_EQ(childProcess.calls().size(), protocols.size());
    childProcess.setOutput(nslookup, ToolOutputs::nslookupUnknown);
    for (const auto& [displayType, type] : protocols) {
        changes.clear();
        resolve("nosuch.lan.test", displayType);
        EXPECT_THAT(changes, ElementsAre("service.type=" + type, "resolving=no")) << displayType;
        EXPECT_FALSE(host->resolved.get());
    }
    for (const auto& call : childProcess.calls())
        EXPECT_EQ(call.path, nslookup);
    EXPECT_THAT(discovery.requests(), IsEmpty());
}

TEST_F(BonjourResolverTest, theHostNameIsTheUsersSpellingNotTheTools) {
    childProcess.setOutput(nslookup, "Name:\tfiles.lan.test\nAddress: 10.77.0.2\n");
    resolve("files", "WebDAV (http)");
    EXPECT_EQ(host->hostName.get(), "files");
}

TEST_F(BonjourResolverTest, aWindowsHostThatOnlyNmblookupKnowsIsResolvedByIt) {
    childProcess.setOutput(nslookup, "** server can't find HOSTB: NXDOMAIN\n");
    childProcess.setOutput(nmblookup, ToolOutputs::nmblookupFound);
    for (const auto* displayType : { smb, "Common Internet File System (cifs)" }) {
        changes.clear();
        resolve("HOSTB", displayType);
        EXPECT_THAT(changes,
            ElementsAre(
                "service.type=_smb._tcp.", "adresses=10.77.0.2;", "hostName=HOSTB", "resolved=yes", "resolving=no"));
    }
    EXPECT_THAT(childProcess.calls(),
        ElementsAre(Call { nslookup, { "HOSTB" } }, Call { nmblookup, { "-R ", "HOSTB" } },
            Call { nslookup, { "HOSTB" } }, Call { nmblookup, { "-R ", "HOSTB" } }));
}

TEST_F(BonjourResolverTest, nmblookupIsNotAskedForAWindowsHostThatTheDNSKnows) {
    childProcess.setOutput(nslookup, ToolOutputs::nslookupFound);
    resolve("files.lan.test", smb);
    EXPECT_TRUE(host->resolved.get());
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { nslookup, { "files.lan.test" } }));
}

TEST_F(BonjourResolverTest, aWindowsHostThatNobodyKnowsStaysUnresolved) {
    childProcess.setOutput(nslookup, ToolOutputs::nslookupUnknown);
    childProcess.setOutput(nmblookup, ToolOutputs::nmblookupUnknown);
    resolve("NOSUCH", smb);
    EXPECT_THAT(changes, ElementsAre("service.type=_smb._tcp.", "resolving=no"));
    EXPECT_FALSE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), std::nullopt);
    EXPECT_EQ(childProcess.calls().size(), 2U);
}

TEST_F(BonjourResolverTest, aSlowToolIsNotMistakenForAResolutionUnderWay) {
    makeHost("files.lan.test", "WebDAV (http)");
    bool resolvingMeanwhile = true;
    childProcess.setResponder(nslookup, [&](const Call&) {
        resolvingMeanwhile = host->resolving.get();
        return ChildProcessResult { true, {}, ToolOutputs::nslookupFound };
    });
    resolver.resolve(service, nullptr);
    EXPECT_FALSE(resolvingMeanwhile);
}

TEST_F(BonjourResolverTest, theToolsPathsAreTheEnvironments) {
    environment.nslookupPath = "/opt/tools/a";
    environment.nmblookupPath = "/opt/tools/b";
    resolve("HOSTB", smb);
    EXPECT_THAT(childProcess.calls(),
        ElementsAre(Call { "/opt/tools/a", { "HOSTB" } }, Call { "/opt/tools/b", { "-R ", "HOSTB" } }));
}

TEST_F(BonjourResolverTest, everyOtherServiceIsResolvedByItsTypeNameAndDomain) {
    makeHost("Attic", afp);
    host->domain.set("local.");
    changes.clear();
    resolver.resolve(service, nullptr);
    ASSERT_EQ(discovery.requests().size(), 1U);
    const auto request = discovery.requests().front();
    EXPECT_EQ(request.domain, "local.");
    EXPECT_EQ(request.type, "_afpovertcp._tcp.");
    EXPECT_EQ(request.name, "Attic");
    EXPECT_EQ(request.timeout, Seconds(5.0));
    EXPECT_THAT(changes, ElementsAre("service.type=_afpovertcp._tcp.", "resolving=yes"));
    EXPECT_THAT(sink.texts(), ElementsAre("Resolving [Attic]"));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(BonjourResolverTest, anAbsentDomainIsHandedOnAsItIs) {
    resolve("Attic", afp);
    ASSERT_EQ(discovery.requests().size(), 1U);
    EXPECT_EQ(discovery.requests().front().domain, std::nullopt);
}

TEST_F(BonjourResolverTest, aServiceOfUnknownKindHasNoTypeAndIsResolvedAllTheSame) {
    resolve("Attic", "Gopher");
    EXPECT_EQ(service->type.get(), std::nullopt);
    ASSERT_EQ(discovery.requests().size(), 1U);
    EXPECT_EQ(discovery.requests().front().type, "");
}

TEST_F(BonjourResolverTest, anAnswerIsWrittenInOrder) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }) });
    resolve("Attic", afp);
    changes.clear();
    sink.clear();
    discovery.advance(Seconds(1));
    EXPECT_THAT(changes,
        ElementsAre("adresses=10.0.1.7;", "hostName=attic.local", "resolved=yes", "service.port=548", "resolving=no",
            "resolved=yes"));
    EXPECT_THAT(sink.texts(), ElementsAre("Did Resolved [Attic] notifying mounter"));
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(BonjourResolverTest, theAnswerIsLoggedBetweenThePortAndTheEndOfTheResolution) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }) });
    resolve("Attic", afp);
    sink.clear();
    std::vector<bool> logged;
    const auto watchPort
        = service->observe("port", [&](std::string_view, Change) { logged.push_back(!sink.lines().empty()); });
    const auto watchEnd
        = host->observe("resolving", [&](std::string_view, Change) { logged.push_back(!sink.lines().empty()); });
    discovery.advance(Seconds(1));
    EXPECT_THAT(logged, ElementsAre(false, false, true, true));
}

TEST_F(BonjourResolverTest, aRepeatedAnswerRewritesTheFields) {
    discovery.setReplies("Attic",
        { answer(SocketAddresses { ip("10.0.1.7") }, Seconds(0.1)),
            answer(SocketAddresses { ip("10.0.1.8") }, Seconds(0.2)) });
    resolve("Attic", afp);
    discovery.advance(Seconds(0.15));
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.0.1.7" });
    host->resolved.set(false);
    discovery.advance(Seconds(10));
    EXPECT_EQ(host->adresses.get(), std::vector<std::string> { "10.0.1.8" });
    EXPECT_TRUE(host->resolved.get());
    EXPECT_FALSE(host->resolving.get());
}

TEST_F(BonjourResolverTest, aTimeOutFallsBackToNslookupAndNeverToNmblookup) {
    childProcess.setOutput(nslookup, "Name:\tAttic\nAddress: 10.0.1.7\n");
    resolve("Attic", afp);
    changes.clear();
    sink.clear();
    discovery.advance(Seconds(4.9));
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_TRUE(host->resolving.get());
    discovery.advance(Seconds(0.2));
    EXPECT_THAT(changes, ElementsAre("adresses=10.0.1.7;", "hostName=Attic", "resolved=yes", "resolving=no"));
    EXPECT_EQ(service->port.get(), -1);
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { nslookup, { "Attic" } }));
    EXPECT_THAT(sink.texts(),
        ElementsAre("Service Did NOT Resolve with Bonjour for: [Attic]", "Resolving Attic with nsLookup",
            "\nName:\tAttic\nAddress: 10.0.1.7\n", "nslookup resolved Attic to: 10.0.1.7"));
}

TEST_F(BonjourResolverTest, aNameThatOnlyNetBIOSKnowsFailsForOtherServices) {
    childProcess.setOutput(nslookup, "** server can't find HOSTB: NXDOMAIN\n");
    childProcess.setOutput(nmblookup, ToolOutputs::nmblookupFound);
    resolve("HOSTB", afp);
    changes.clear();
    discovery.advance(Seconds(5));
    EXPECT_THAT(changes, ElementsAre("resolving=no"));
    EXPECT_FALSE(host->resolved.get());
    EXPECT_THAT(childProcess.calls(), ElementsAre(Call { nslookup, { "HOSTB" } }));
}

TEST_F(BonjourResolverTest, anErrorFallsBackAtOnce) {
    discovery.setReplies("Attic", { failure(Seconds(0.1)) });
    resolve("Attic", afp);
    discovery.advance(Seconds(0.2));
    EXPECT_FALSE(host->resolving.get());
    EXPECT_EQ(childProcess.calls().size(), 1U);
    discovery.advance(Seconds(10));
    EXPECT_EQ(childProcess.calls().size(), 1U);
}

TEST_F(BonjourResolverTest, aFailedResolutionCanBeTriedAgain) {
    resolve("Attic", afp);
    discovery.advance(Seconds(5));
    ASSERT_FALSE(host->resolved.get());
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }) });
    BonjourResolver second(environment);
    second.resolve(service, nullptr);
    EXPECT_TRUE(host->resolving.get());
    discovery.advance(Seconds(1));
    EXPECT_TRUE(host->resolved.get());
}

TEST_F(BonjourResolverTest, aHostThatIsBeingResolvedOnlyGetsTheServicesType) {
    resolve("Attic", afp);
    changes.clear();
    BonjourResolver second(environment);
    second.resolve(service, nullptr);
    EXPECT_THAT(changes, ElementsAre("service.type=_afpovertcp._tcp."));
    EXPECT_EQ(discovery.requests().size(), 1U);
    EXPECT_TRUE(host->resolving.get());
}

TEST_F(BonjourResolverTest, anAddressIsNotTakenUpEitherWhileTheHostIsBeingResolved) {
    makeHost("192.168.1.20", afp);
    host->resolving.set(true);
    resolver.resolve(service, nullptr);
    EXPECT_FALSE(host->resolved.get());
    EXPECT_TRUE(host->resolving.get());
}

TEST_F(BonjourResolverTest, aServiceThatReportsNoAddressesLeavesThemAbsent) {
    discovery.setReplies("Attic", { answer(std::nullopt) });
    makeHost("Attic", afp);
    host->adresses.set(std::vector<std::string> { "10.9.9.9" });
    resolver.resolve(service, nullptr);
    discovery.advance(Seconds(1));
    EXPECT_EQ(host->adresses.get(), std::nullopt);
    EXPECT_TRUE(host->resolved.get());
    EXPECT_EQ(host->hostName.get(), "attic.local");
}

TEST_F(BonjourResolverTest, aServiceOfOtherAddressesOnlyLeavesAnEmptyList) {
    EXPECT_EQ(adressesFrom({ ip6() }), Addresses(std::vector<std::string>()));
    EXPECT_TRUE(host->resolved.get());
}

TEST_F(BonjourResolverTest, everyIPv4AddressIsTakenOnce) {
    EXPECT_EQ(adressesFrom({ ip("10.0.1.7"), ip6(), ip("192.168.1.255"), ip("10.0.1.7") }),
        Addresses({ "10.0.1.7", "192.168.1.255" }));
}

TEST_F(BonjourResolverTest, anotherFamilysEntryOffersTheLastAddressAgainAndNothingComesOfIt) {
    EXPECT_EQ(adressesFrom({ ip6(), ip("10.0.1.7"), ip6(), ip6() }), Addresses({ "10.0.1.7" }));
}

TEST_F(BonjourResolverTest, anAddressThatIsTheBeginningOfAnEarlierOneIsLost) {
    EXPECT_EQ(adressesFrom({ ip("10.0.0.12"), ip("10.0.0.1") }), Addresses({ "10.0.0.12" }));
}

TEST_F(BonjourResolverTest, anAddressThatAnEarlierOneIsTheBeginningOfIsKept) {
    EXPECT_EQ(adressesFrom({ ip("10.0.0.1"), ip("10.0.0.12") }), Addresses({ "10.0.0.1", "10.0.0.12" }));
}

TEST_F(BonjourResolverTest, aTornAddressIsPassedOver) {
    EXPECT_EQ(
        adressesFrom({ SocketAddress { 6, 2, 0, 0, 10, 0 }, SocketAddress {} }), Addresses(std::vector<std::string>()));
}

TEST_F(BonjourResolverTest, destroyingItEndsTheResolution) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }) });
    makeHost("Attic", afp);
    {
        BonjourResolver shortLived(environment);
        shortLived.resolve(service, nullptr);
        EXPECT_EQ(discovery.resolutionsUnderWay(), 1);
        changes.clear();
    }
    EXPECT_THAT(changes, ElementsAre("resolving=no"));
    EXPECT_EQ(discovery.resolutionsUnderWay(), 0);
    discovery.advance(Seconds(10));
    EXPECT_FALSE(host->resolved.get());
}

TEST_F(BonjourResolverTest, destroyingAFinishedOneChangesNothing) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }) });
    makeHost("Attic", afp);
    {
        BonjourResolver shortLived(environment);
        shortLived.resolve(service, nullptr);
        discovery.advance(Seconds(1));
        changes.clear();
    }
    EXPECT_THAT(changes, IsEmpty());
}

TEST_F(BonjourResolverTest, aServiceDroppedMeanwhileIsLeftAlone) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }, Seconds(1)) });
    resolve("Attic", afp);
    sink.clear();
    serviceChanges.cancel();
    host->services.removeAll();
    service.reset();
    changes.clear();
    discovery.advance(Seconds(10));
    EXPECT_THAT(changes, IsEmpty());
    EXPECT_THAT(sink.lines(), IsEmpty());
    EXPECT_THAT(childProcess.calls(), IsEmpty());
}

TEST_F(BonjourResolverTest, aHostDroppedMeanwhileStillGivesItsServiceThePort) {
    discovery.setReplies("Attic", { answer(SocketAddresses { ip("10.0.1.7") }, Seconds(1)) });
    resolve("Attic", afp);
    hostChanges.cancel();
    host.reset();
    discovery.advance(Seconds(10));
    EXPECT_EQ(service->port.get(), 548);
}

TEST_F(BonjourResolverTest, aServiceWithoutAHostIsIgnored) {
    makeHost("Attic", afp);
    hostChanges.cancel();
    host.reset();
    resolver.resolve(service, nullptr);
    EXPECT_EQ(service->type.get(), "_afpovertcp._tcp.");
    EXPECT_THAT(discovery.requests(), IsEmpty());
}

} // namespace
} // namespace quorrel
