// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/BonjourMonitor.h"

#include "Sources/HostDefinition.h"
#include "Tests/Fakes/FakeStringTable.h"
#include "Tests/Sources/WatchFixture.h"

#include <memory>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

using Bytes = std::vector<std::uint8_t>;

class BonjourMonitorTest : public WatchFixture {
protected:
    std::shared_ptr<HostDefinition> makeHost(const std::string& name) {
        return HostDefinition::initWithName(name, context);
    }

    /// Writes down every change of the host from now on, and every "900".
    void watchChanges() {
        hostChanges = host->observeAll([this](std::string_view key, Change change) {
            if (change == Change::Did)
                events.emplace_back(key);
        });
        saves = center.addObserver("900", [this](const Notification& notification) {
            EXPECT_FALSE(notification.userInfo);
            poster = notification.object;
            events.push_back("900 for " + host->computerModel.get().value_or("absent"));
        });
    }

    void tell(const std::vector<std::string>& strings, const std::string& name = "Attic") {
        discovery.setTXTRecord(name, FakeDNSServiceDiscovery::txtRecord(strings));
        discovery.advance();
    }

    [[nodiscard]] std::vector<std::string> monitored() const {
        std::vector<std::string> result;
        for (const auto& each : discovery.monitored())
            result.push_back(each.name + " " + each.type + " " + each.domain);
        return result;
    }

    FakeStringTable strings;
    CatalogueContextPointer context = std::make_shared<const CatalogueContext>(CatalogueContext { strings, workspace });
    std::shared_ptr<HostDefinition> host = makeHost("Attic");
    std::vector<std::string> events;
    const void* poster = nullptr;
    Subscription hostChanges;
    Subscription saves;
};

TEST_F(BonjourMonitorTest, aHostWithoutADomainIsWatchedInLocalAndKeepsIt) {
    for (const auto& domain : { OptionalText(), OptionalText("") }) {
        host->domain.set(domain);
        {
            const auto monitor = BonjourMonitor::initWithHost(host, environment);
            EXPECT_THAT(monitored(), ElementsAre("Attic _device-info._tcp. local."));
            EXPECT_EQ(monitor->displayName(), "Attic");
        }
        EXPECT_EQ(host->domain.get(), "local.");
    }
}

TEST_F(BonjourMonitorTest, aDomainThatIsKnownStays) {
    host->domain.set("lab.example.");
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    EXPECT_THAT(monitored(), ElementsAre("Attic _device-info._tcp. lab.example."));
    EXPECT_EQ(host->domain.get(), "lab.example.");
}

TEST_F(BonjourMonitorTest, theDomainIsSetBeforeTheMarkAndTheMarkBeforeTheWatch) {
    watchChanges();
    int servicesWhenMarked = -1;
    const auto marked = host->observe("monitoring", [&](std::string_view, Change change) {
        if (change == Change::Did)
            servicesWhenMarked = discovery.services();
    });
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    EXPECT_THAT(events, ElementsAre("domain", "monitoring"));
    EXPECT_TRUE(host->monitoring.get());
    EXPECT_EQ(servicesWhenMarked, 0);
    EXPECT_THAT(discovery.calls(), ElementsAre("monitor Attic"));
}

TEST_F(BonjourMonitorTest, theModelIsStoredThenAnnouncedThenLogged) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    watchChanges();
    bool wasLogged = true;
    const auto save = center.addObserver(
        "900", [&](const Notification&) { wasLogged = !sink.texts().empty(); }, monitor.get());
    tell({ "model=Xserve", "other=1" });
    EXPECT_THAT(events, ElementsAre("icon", "computerModel", "900 for Xserve"));
    EXPECT_EQ(poster, monitor.get());
    EXPECT_FALSE(wasLogged);
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
}

TEST_F(BonjourMonitorTest, theModelChoosesTheIcon) {
    workspace.setTypeIdentifier("Tower", "com.example.tower");
    workspace.setTypeDeclaration("com.example.tower", TypeDeclaration { "mac", std::nullopt, "/icons" });
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=Tower" });
    EXPECT_EQ(host->icon.get(), Image { "/icons/Contents/Resources/mac" });
}

TEST_F(BonjourMonitorTest, anUnchangedModelIsStoredAndAnnouncedToo) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=Xserve" });
    watchChanges();
    tell({ "model=Xserve" });
    tell({ "MODEL=Xserve" });
    EXPECT_THAT(
        events, ElementsAre("icon", "computerModel", "900 for Xserve", "icon", "computerModel", "900 for Xserve"));
}

TEST_F(BonjourMonitorTest, aRecordWithoutAReadableModelTakesTheModelAway) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    for (const auto& record : std::vector<std::vector<std::string>> {
             { "other=Xserve" }, { "model" }, { "model=\xFF\xFE" }, { "" }, { "=Xserve" } }) {
        tell({ "model=Xserve" });
        EXPECT_EQ(host->computerModel.get(), "Xserve");
        sink.clear();
        watchChanges();
        events.clear();
        tell(record);
        EXPECT_EQ(host->computerModel.get(), std::nullopt);
        EXPECT_EQ(host->icon.get(), Image { "/icons/Contents/Resources/generic-pc" });
        EXPECT_THAT(events, ElementsAre("icon", "computerModel", "900 for absent"));
        EXPECT_THAT(sink.texts(), ElementsAre("Attic: "));
    }
}

TEST_F(BonjourMonitorTest, anEmptyModelIsAModel) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=" });
    EXPECT_EQ(host->computerModel.get(), "");
}

TEST_F(BonjourMonitorTest, aHostThatGoesKeepsItsModel) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=Xserve" });
    watchChanges();
    sink.clear();
    discovery.removeTXTRecord("Attic");
    discovery.advance();
    EXPECT_EQ(host->computerModel.get(), "Xserve");
    EXPECT_THAT(events, IsEmpty());
    EXPECT_THAT(sink.texts(), IsEmpty());
    tell({ "model=Tower" });
    EXPECT_EQ(host->computerModel.get(), "Tower");
}

TEST_F(BonjourMonitorTest, aSecondMonitorOfAHostDoesNoMoreThanSetTheDomain) {
    const auto first = BonjourMonitor::initWithHost(host, environment);
    host->domain.set(std::nullopt);
    watchChanges();
    {
        const auto second = BonjourMonitor::initWithHost(host, environment);
        EXPECT_EQ(second->displayName(), "Attic");
        EXPECT_THAT(events, ElementsAre("domain"));
    }
    EXPECT_THAT(events, ElementsAre("domain"));
    EXPECT_EQ(host->domain.get(), "local.");
    EXPECT_TRUE(host->monitoring.get()); // the first one's mark outlives the second
    EXPECT_EQ(discovery.services(), 1);
    tell({ "model=Xserve" });
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
}

TEST_F(BonjourMonitorTest, anUpdateWithoutAHostIsOnlyLogged) {
    BonjourMonitor monitor(environment);
    monitor.monitor(nullptr);
    EXPECT_EQ(monitor.displayName(), std::nullopt);
    watchChanges();
    const auto service = discovery.makeNetService("local.", "_device-info._tcp.", "Attic");
    monitor.netServiceDidUpdateTXTRecordData(*service, FakeDNSServiceDiscovery::txtRecord({ "model=Xserve" }));
    EXPECT_THAT(events, IsEmpty());
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
}

TEST_F(BonjourMonitorTest, aHostThatIsDeletedIsNotKeptAlive) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    const std::weak_ptr<HostDefinition> watched = host;
    host.reset();
    EXPECT_TRUE(watched.expired());
    EXPECT_EQ(monitor->displayName(), std::nullopt);
    tell({ "model=Xserve" });
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
}

TEST_F(BonjourMonitorTest, nothingIsLoggedWhileTheLogIsOff) {
    preferences.set("logToConsole", false);
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=Xserve" });
    EXPECT_EQ(host->computerModel.get(), "Xserve");
    EXPECT_THAT(sink.texts(), IsEmpty());
}

TEST_F(BonjourMonitorTest, theEndOfAMonitorFreesTheHostForTheNext) {
    auto monitor = BonjourMonitor::initWithHost(host, environment);
    watchChanges();
    monitor.reset();
    EXPECT_THAT(events, ElementsAre("monitoring"));
    EXPECT_FALSE(host->monitoring.get());
    EXPECT_THAT(discovery.calls(), ElementsAre("monitor Attic", "stop monitoring Attic"));
    EXPECT_EQ(discovery.services(), 0);
    tell({ "model=Xserve" });
    EXPECT_EQ(host->computerModel.get(), std::nullopt);
    monitor = BonjourMonitor::initWithHost(host, environment);
    discovery.advance();
    EXPECT_EQ(host->computerModel.get(), "Xserve");
}

TEST_F(BonjourMonitorTest, aMonitorThatIsGivenAnotherHostLetsGoOfTheFirst) {
    const auto other = makeHost("Cellar");
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    monitor->monitor(other);
    EXPECT_FALSE(host->monitoring.get());
    EXPECT_TRUE(other->monitoring.get());
    EXPECT_EQ(monitor->displayName(), "Cellar");
    EXPECT_THAT(monitored(), ElementsAre("Cellar _device-info._tcp. local."));
    monitor->monitor(other);
    EXPECT_TRUE(other->monitoring.get());
    EXPECT_EQ(discovery.services(), 1);
    monitor->monitor(nullptr);
    EXPECT_FALSE(other->monitoring.get());
    EXPECT_THAT(monitored(), IsEmpty());
}

TEST_F(BonjourMonitorTest, aHostWhoseStatusWasResetIsWatchedAnew) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    host->resetStatus();
    EXPECT_FALSE(host->monitoring.get());
    monitor->monitor(host);
    EXPECT_TRUE(host->monitoring.get());
    EXPECT_EQ(discovery.services(), 1);
    tell({ "model=Xserve" });
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
}

TEST_F(BonjourMonitorTest, aSaveMayDestroyTheMonitorThatAskedForIt) {
    auto monitor = BonjourMonitor::initWithHost(host, environment);
    const auto save = center.addObserver("900", [&](const Notification&) { monitor.reset(); });
    tell({ "model=Xserve" });
    EXPECT_EQ(host->computerModel.get(), "Xserve");
    EXPECT_FALSE(host->monitoring.get());
    EXPECT_THAT(sink.texts(), ElementsAre("Attic: Xserve"));
    EXPECT_EQ(discovery.services(), 0);
}

TEST_F(BonjourMonitorTest, aRestartOfTheDiscoveryNeedsNoNewMonitor) {
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    tell({ "model=Xserve" });
    discovery.loseDaemon();
    discovery.advance();
    EXPECT_EQ(host->computerModel.get(), "Xserve");
    discovery.restoreDaemon();
    tell({ "model=Tower" });
    EXPECT_EQ(host->computerModel.get(), "Tower");
}

TEST_F(BonjourMonitorTest, hostileRecordsAndNamesDoNoHarm) {
    host = makeHost("evil\x1b[2J\n%@\xFF");
    const auto monitor = BonjourMonitor::initWithHost(host, environment);
    const auto service = discovery.makeNetService("local.", "_device-info._tcp.", host->displayName.get().value());
    const auto update = [&](const Bytes& data) { monitor->netServiceDidUpdateTXTRecordData(*service, data); };
    update(FakeDNSServiceDiscovery::txtRecord({ "model=../../etc/\x1b%@" }));
    EXPECT_EQ(host->computerModel.get(), "../../etc/\x1b%@");
    EXPECT_THAT(sink.texts(), ElementsAre("evil\\x1b[2J\\n%@\\xff: ../../etc/\\x1b%@"));
    update({ 255, 'm', 'o', 'd', 'e', 'l', '=' });
    EXPECT_EQ(host->computerModel.get(), std::nullopt);
    update(Bytes(std::size_t { 10 } << 20U, 0xFF));
    update(Bytes(std::size_t { 10 } << 20U, 0));
    EXPECT_EQ(host->computerModel.get(), std::nullopt);
    EXPECT_EQ(sink.texts().size(), 4U);
}

} // namespace
} // namespace quorrel
