// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/CatalogueFixture.h"

namespace quorrel {

namespace {

/// Does the same to each field.
template <typename Work, typename... Fields>
void forEach(const Work& work, Fields&... fields) {
    (work(fields), ...);
}

class HostDefinitionTest : public CatalogueFixture { };

TEST_F(HostDefinitionTest, ANewHostMayMountAutomaticallyAndHasEmptyLists) {
    const auto host = hostNamed("server");
    EXPECT_EQ(host->displayName.get(), "server");
    EXPECT_EQ(host->automatically.get(), true);
    EXPECT_FALSE(host->bonjour.get());
    EXPECT_TRUE(host->hasLists());
    EXPECT_EQ(host->services.count(), 0U);
    EXPECT_EQ(host->sharePoints.count(), 0U);
    EXPECT_EQ(host->hostName.get(), std::nullopt);
    EXPECT_EQ(host->adresses.get(), std::nullopt);
}

TEST_F(HostDefinitionTest, AHostWithoutADictionaryFindsNothingAndCountsNothing) {
    const auto host = HostDefinition::initWithDictionary(std::nullopt, context);
    EXPECT_FALSE(host->hasLists());
    EXPECT_EQ(host->sharePointForName("x"), nullptr);
    EXPECT_EQ(host->serviceForFullType("_smb._tcp."), nullptr);
    EXPECT_EQ(host->serviceForDisplayType(smb), nullptr);
    EXPECT_EQ(host->sharePointCountforServiceName(smb), 0);
    EXPECT_EQ(host->servicesCountString(), "0 service");
    EXPECT_EQ(host->sharesCountString(), "0 share");
    EXPECT_EQ(host->automatically.get(), std::nullopt);
}

TEST_F(HostDefinitionTest, ABareHostIsWrittenWithoutListsUntilSomethingIsInThem) {
    const auto host = HostDefinition::initWithDictionary(std::nullopt, context);
    EXPECT_EQ(host->dictionary(), Dictionary());
    addService(host, smb);
    ASSERT_NE(host->dictionary().array("services"), nullptr);
    EXPECT_EQ(host->dictionary().array("services")->size(), 1U);
}

TEST_F(HostDefinitionTest, EveryFieldIsAnnouncedUnderItsOwnName) {
    const auto host = hostNamed("server");
    AnnouncementRecorder recorder(*host);
    const auto setAgain = [](auto& field) { field.set(field.get()); };
    forEach(setAgain, host->displayName, host->password, host->domain, host->hostName);
    forEach(setAgain, host->resolved, host->resolving, host->monitoring, host->bonjour);
    host->services.replace({});
    host->sharePoints.replace({});
    host->icon.set(std::nullopt);
    host->passwordDate.set(std::nullopt);
    host->timeout.set(std::nullopt);
    host->adresses.set(std::nullopt);
    host->automatically.set(std::nullopt);
    std::vector<std::string> wanted;
    for (const std::string key :
        { "displayName", "password", "domain", "hostName", "resolved", "resolving", "monitoring", "bonjour", "services",
            "sharePoints", "icon", "passwordDate", "timeout", "adresses", "automatically" }) {
        wanted.push_back("will " + key);
        wanted.push_back("did " + key);
    }
    EXPECT_EQ(recorder.take(), wanted);
    const auto service = ServiceDefinition::initWithParentHost(host);
    AnnouncementRecorder serviceRecorder(*service);
    service->parentHost.set(host);
    service->displayType.set(std::nullopt);
    service->type.set(std::nullopt);
    service->port.set(-1);
    EXPECT_EQ(serviceRecorder.take(),
        (std::vector<std::string> { "will parentHost", "did parentHost", "will displayType", "did displayType",
            "will type", "did type", "will port", "did port" }));
}

TEST_F(HostDefinitionTest, LoadingAnnouncesFieldsAndNothingElse) {
    const auto host = HostDefinition::initWithDictionary(std::nullopt, context);
    AnnouncementRecorder recorder(*host);
    host->loadDictionary(Dictionary());
    EXPECT_EQ(recorder.take(),
        (std::vector<std::string> { "will displayName", "did displayName", "will icon", "did icon",
            "will computerModel", "did computerModel", "will hostName", "did hostName", "will domain", "did domain",
            "will automatically", "did automatically" }));
}

TEST_F(HostDefinitionTest, FewerThanTwoServicesAreSingular) {
    const auto host = hostNamed("server");
    EXPECT_EQ(host->servicesCountString(), "0 service");
    addService(host, smb);
    EXPECT_EQ(host->servicesCountString(), "1 service");
    addService(host, afp);
    EXPECT_EQ(host->servicesCountString(), "2 services");
    addService(host, ftp);
    EXPECT_EQ(host->servicesCountString(), "3 services");
}

TEST_F(HostDefinitionTest, FewerThanTwoSharesAreSingular) {
    const auto host = hostNamed("server");
    EXPECT_EQ(host->sharesCountString(), "0 share");
    addSharePoint(host, smb, "a");
    EXPECT_EQ(host->sharesCountString(), "1 share");
    addSharePoint(host, smb, "b");
    EXPECT_EQ(host->sharesCountString(), "2 shares");
}

TEST_F(HostDefinitionTest, CountsAreWrittenInTheUsersLanguage) {
    const FakeStringTable german({ { "%i service", "%i Dienst" }, { "%i shares", "%i Freigaben" } });
    const auto host = HostDefinition::initWithName(
        "server", std::make_shared<CatalogueContext>(CatalogueContext { german, workspace }));
    EXPECT_EQ(host->servicesCountString(), "0 Dienst");
    addSharePoint(host, smb, "a");
    addSharePoint(host, smb, "b");
    EXPECT_EQ(host->sharesCountString(), "2 Freigaben");
}

TEST_F(HostDefinitionTest, UpdateCountsAnnouncesBothTextsInOrder) {
    const auto host = hostNamed("server");
    AnnouncementRecorder recorder(*host);
    host->updateCounts();
    EXPECT_EQ(recorder.take(),
        (std::vector<std::string> { "will servicesCountString", "will sharesCountString", "did servicesCountString",
            "did sharesCountString" }));
}

TEST_F(HostDefinitionTest, ASharePointIsFoundByItsExactName) {
    const auto host = hostNamed("server");
    const auto lower = addSharePoint(host, smb, "public");
    EXPECT_EQ(host->sharePointForName("Public"), nullptr);
    const auto upper = addSharePoint(host, smb, "Public");
    EXPECT_EQ(host->sharePointForName("Public"), upper);
    EXPECT_EQ(host->sharePointForName("public"), lower);
    EXPECT_EQ(host->sharePointForName("publi"), nullptr);
    EXPECT_EQ(host->sharePointForName(std::nullopt), nullptr);
}

TEST_F(HostDefinitionTest, OfSharePointsOfOneNameTheFirstIsFoundWhateverItsService) {
    const auto host = hostNamed("server");
    const auto first = addSharePoint(host, ftp, "data");
    addSharePoint(host, smb, "data");
    EXPECT_EQ(host->sharePointForName("data"), first);
}

TEST_F(HostDefinitionTest, TheFirstServiceOfATypeIsFound) {
    const auto host = hostNamed("server");
    const auto first = addService(host, smb);
    first->type.set("_smb._tcp.");
    const auto second = addService(host, cifs);
    second->type.set("_smb._tcp.");
    EXPECT_EQ(host->serviceForFullType("_smb._tcp."), first);
    EXPECT_EQ(host->serviceForFullType("_SMB._tcp."), nullptr);
    EXPECT_EQ(host->serviceForDisplayType(cifs), second);
    EXPECT_EQ(host->serviceForDisplayType("cifs"), nullptr);
}

TEST_F(HostDefinitionTest, SharePointsAreCountedPerService) {
    const auto host = hostNamed("server");
    addSharePoint(host, smb, "a");
    addSharePoint(host, ftp, "b");
    addSharePoint(host, smb, "c");
    EXPECT_EQ(host->sharePointCountforServiceName(smb), 2);
    EXPECT_EQ(host->sharePointCountforServiceName(ftp), 1);
    EXPECT_EQ(host->sharePointCountforServiceName(afp), 0);
    EXPECT_EQ(host->sharePointCountforServiceName(std::nullopt), 0);
}

TEST_F(HostDefinitionTest, AnAbsentAndAnEmptyPasswordAreEmpty) {
    const auto host = hostNamed("server");
    EXPECT_TRUE(host->passwordIsEmpty());
    host->password.set("");
    EXPECT_TRUE(host->passwordIsEmpty());
    host->password.set("x");
    EXPECT_FALSE(host->passwordIsEmpty());
}

TEST_F(HostDefinitionTest, ADottedNameIsAnAddress) {
    EXPECT_TRUE(hostNamed("10.0.1.2")->isNameIP());
    EXPECT_FALSE(hostNamed("server.local")->isNameIP());
    EXPECT_FALSE(HostDefinition::initWithDictionary(std::nullopt, context)->isNameIP());
}

TEST_F(HostDefinitionTest, TheIconIsThereBeforeTheModel) {
    const auto host = hostNamed("server");
    AnnouncementRecorder recorder(*host);
    host->setComputerModel("Device");
    EXPECT_EQ(recorder.take(),
        (std::vector<std::string> { "will icon", "did icon", "will computerModel", "did computerModel" }));
    EXPECT_EQ(host->icon.get(), Image { "phone" });
    EXPECT_EQ(host->computerModel.get(), "Device");
}

TEST_F(HostDefinitionTest, ResetStatusForgetsWhatTheRunFoundOut) {
    const auto host = hostNamed("server");
    host->password.set("secret");
    host->passwordDate.set(Clock::Time {});
    host->timeout.set(5.0);
    forEach([](auto& flag) { flag.set(true); }, host->resolved, host->resolving, host->monitoring, host->bonjour);
    host->hostName.set("server.local");
    host->adresses.set(std::vector<std::string> { "10.0.1.2" });
    const auto sharePoint = addSharePoint(host, smb, "a");
    sharePoint->setMounted(true);
    sharePoint->setUnmounting(true);
    host->resetStatus();
    EXPECT_EQ(host->password.get(), std::nullopt);
    EXPECT_EQ(host->passwordDate.get(), std::nullopt);
    EXPECT_EQ(host->timeout.get(), std::nullopt);
    forEach([](const auto& flag) { EXPECT_FALSE(flag.get()); }, host->resolved, host->resolving, host->monitoring,
        host->bonjour);
    EXPECT_EQ(host->hostName.get(), "server.local");
    EXPECT_EQ(host->adresses.get(), (std::vector<std::string> { "10.0.1.2" }));
    EXPECT_FALSE(sharePoint->unmounting.get());
    EXPECT_EQ(sharePoint->status.get(), "Online");
}

TEST_F(HostDefinitionTest, TheHostOwnsItsRecordsAndTheyDoNotOwnIt) {
    auto host = hostNamed("server");
    const auto service = addService(host, smb);
    const auto sharePoint = addSharePoint(host, smb, "a");
    EXPECT_EQ(sharePoint->parentHost.get().lock(), host);
    EXPECT_EQ(sharePoint->parentService.get().lock(), service);
    EXPECT_EQ(service->parentHost.get().lock(), host);
    EXPECT_EQ(service->port.get(), -1);
    host.reset();
    EXPECT_EQ(sharePoint->parentHost.get().lock(), nullptr);
    EXPECT_EQ(service->parentHost.get().lock(), nullptr);
}

} // namespace

} // namespace quorrel
