// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/CatalogueFixture.h"

namespace quorrel {

namespace {

class CatalogueDictionariesTest : public CatalogueFixture {
protected:
    static std::vector<std::string> keysOf(const Dictionary& dictionary) {
        std::vector<std::string> keys;
        for (const auto& [key, value] : dictionary.entries())
            keys.push_back(key);
        return keys;
    }

    [[nodiscard]] std::shared_ptr<SharePointDefinition> loaded(const Dictionary& dictionary) const {
        return SharePointDefinition::initWithDictionary(hostNamed("server"), dictionary);
    }
};

Dictionary serviceDictionary(const char* displayType) {
    Dictionary dictionary;
    dictionary.set("displayType", displayType);
    return dictionary;
}

TEST_F(CatalogueDictionariesTest, ASharePointIsWrittenKeyByKeyInOrder) {
    const auto share = addSharePoint(hostNamed("server"), smb, "data");
    share->userName.set("ann");
    share->password.set("pw");
    share->script.set("/bin/x");
    share->scriptArguments.set("a b");
    share->isDelayed.set(true);
    share->delaySeconds.set(30.0);
    share->favroite.set(true);
    const auto dictionary = share->dictionary();
    EXPECT_EQ(keysOf(dictionary),
        (std::vector<std::string> { "displayType", "sharePoint", "userName", "password", "passwordPrompt", "guestLogin",
            "automatically", "favroite", "script", "scriptArguments", "isDelayed", "delaySeconds" }));
    EXPECT_EQ(dictionary.text("userName"), "ann");
    EXPECT_EQ(dictionary.text("password"), "pw");
    EXPECT_EQ(dictionary.flag("favroite"), true);
    EXPECT_EQ(*dictionary.find("delaySeconds"), PropertyValue(30));
}

TEST_F(CatalogueDictionariesTest, AGuestIsWrittenWithoutUserNameAndPassword) {
    const auto share = addSharePoint(hostNamed("server"), smb, "data");
    share->userName.set("ann");
    share->password.set("pw");
    share->guestLogin.set(true);
    const auto dictionary = share->dictionary();
    EXPECT_EQ(dictionary.find("userName"), nullptr);
    EXPECT_EQ(dictionary.find("password"), nullptr);
    EXPECT_EQ(dictionary.flag("guestLogin"), true);
}

TEST_F(CatalogueDictionariesTest, APromptedShareIsWrittenWithItsUserNameAndWithoutPassword) {
    const auto share = addSharePoint(hostNamed("server"), smb, "data");
    share->userName.set("ann");
    share->password.set("pw");
    share->passwordPrompt.set(true);
    const auto dictionary = share->dictionary();
    EXPECT_EQ(dictionary.text("userName"), "ann");
    EXPECT_EQ(dictionary.find("password"), nullptr);
}

TEST_F(CatalogueDictionariesTest, WhatIsAbsentIsNotWritten) {
    const auto share = addSharePoint(hostNamed("server"), smb, "data");
    EXPECT_EQ(keysOf(share->dictionary()),
        (std::vector<std::string> {
            "displayType", "sharePoint", "passwordPrompt", "guestLogin", "automatically", "favroite" }));
}

TEST_F(CatalogueDictionariesTest, TheStateOfARunIsNeverWritten) {
    const auto host = hostNamed("server");
    const auto service = addService(host, smb);
    service->type.set("_smb._tcp.");
    service->port.set(445);
    const auto share = addSharePoint(host, smb, "data");
    const auto before = host->dictionary();
    host->password.set("secret");
    host->passwordDate.set(Clock::Time {});
    host->timeout.set(5.0);
    host->adresses.set(std::vector<std::string> { "10.0.1.2" });
    host->resolved.set(true);
    host->resolving.set(true);
    host->monitoring.set(true);
    host->bonjour.set(true);
    share->setMounted(true);
    share->setMounting(true);
    share->setUnmounting(true);
    share->setLastError("It broke.");
    share->setVolume(7, "/home/test/Volumes/data");
    share->manualMount.set(true);
    EXPECT_EQ(host->dictionary(), before);
}

TEST_F(CatalogueDictionariesTest, AHostIsWrittenKeyByKeyInOrderWithItsRecords) {
    const auto host = hostNamed("server");
    host->setComputerModel("Device");
    host->hostName.set("server.local");
    host->domain.set("local.");
    addService(host, smb);
    addService(host, ftp);
    addSharePoint(host, ftp, "first");
    addSharePoint(host, smb, "second");
    const auto dictionary = host->dictionary();
    EXPECT_EQ(keysOf(dictionary),
        (std::vector<std::string> {
            "displayName", "computerModel", "hostName", "domain", "automatically", "services", "sharePoints" }));
    EXPECT_EQ(*dictionary.array("services"), (PropertyValue::Array { serviceDictionary(smb), serviceDictionary(ftp) }));
    ASSERT_EQ(dictionary.array("sharePoints")->size(), 2U);
    EXPECT_EQ(std::get<Dictionary>(dictionary.array("sharePoints")->front().variant()).text("sharePoint"), "first");
}

TEST_F(CatalogueDictionariesTest, AHostOutlivesTheWayThroughADictionary) {
    const auto host = hostNamed("server");
    addService(host, smb);
    const auto share = addSharePoint(host, smb, "data");
    share->delaySeconds.set(2.5);
    share->isDelayed.set(false);
    const auto again = HostDefinition::initWithDictionary(host->dictionary(), context);
    EXPECT_EQ(again->dictionary(), host->dictionary());
    EXPECT_EQ(again->sharePointForName("data")->delaySeconds.get(), 2.5);
}

TEST_F(CatalogueDictionariesTest, ASharePointWithoutKeysGetsTheDefaults) {
    const auto share = loaded(Dictionary());
    EXPECT_EQ(share->automatically.get(), true);
    EXPECT_EQ(share->favroite.get(), false);
    EXPECT_EQ(share->guestLogin.get(), false);
    EXPECT_EQ(share->passwordPrompt.get(), false);
    EXPECT_EQ(share->isDelayed.get(), std::nullopt);
    EXPECT_EQ(share->delaySeconds.get(), std::nullopt);
    for (const auto* text :
        { &share->sharePoint, &share->userName, &share->password, &share->script, &share->scriptArguments })
        EXPECT_EQ(text->get(), std::nullopt);
    EXPECT_EQ(share->displayType.get(), std::nullopt);
    EXPECT_EQ(share->status.get(), "Offline");
}

TEST_F(CatalogueDictionariesTest, WhatIsWrittenDownAsFalseStaysFalse) {
    Dictionary dictionary;
    dictionary.set("automatically", false);
    dictionary.set("isDelayed", false);
    const auto share = loaded(dictionary);
    EXPECT_EQ(share->automatically.get(), false);
    EXPECT_EQ(share->isDelayed.get(), false);
    EXPECT_EQ(HostDefinition::initWithDictionary(dictionary, context)->automatically.get(), false);
}

TEST_F(CatalogueDictionariesTest, AHostWithoutKeysMayMountAutomatically) {
    const auto host = HostDefinition::initWithDictionary(Dictionary(), context);
    EXPECT_EQ(host->automatically.get(), true);
    EXPECT_EQ(host->displayName.get(), std::nullopt);
    EXPECT_EQ(host->computerModel.get(), std::nullopt);
    EXPECT_EQ(host->icon.get(), Image { "/icons/Contents/Resources/generic-pc" });
    EXPECT_TRUE(host->hasLists());
    EXPECT_EQ(host->services.count() + host->sharePoints.count(), 0U);
}

TEST_F(CatalogueDictionariesTest, ALoadedServiceDerivesItsTypeAndKnowsNoPort) {
    const auto host = hostNamed("server");
    const auto service = ServiceDefinition::initWithDictionary(host, serviceDictionary(secureWebDav));
    EXPECT_EQ(service->displayType.get(), secureWebDav);
    EXPECT_EQ(service->type.get(), "_http._tcp.");
    EXPECT_EQ(service->port.get(), -1);
    EXPECT_EQ(service->parentHost.get().lock(), host);
    EXPECT_EQ(ServiceDefinition::initWithDictionary(host, Dictionary())->type.get(), "_afpovertcp._tcp.");
    EXPECT_EQ(service->dictionary(), serviceDictionary(secureWebDav));
}

TEST_F(CatalogueDictionariesTest, ASharePointFindsItsServiceByTheDisplayName) {
    Dictionary share = serviceDictionary(smb);
    share.set("sharePoint", "data");
    Dictionary dictionary;
    // The share points come first in the file: the services are read before them all the same.
    dictionary.set("sharePoints", PropertyValue::Array { share });
    dictionary.set("services", PropertyValue::Array { serviceDictionary(afp), serviceDictionary(smb) });
    const auto host = HostDefinition::initWithDictionary(dictionary, context);
    const auto loadedShare = host->sharePointForName("data");
    ASSERT_NE(loadedShare, nullptr);
    EXPECT_EQ(loadedShare->parentService.get().lock(), host->serviceForDisplayType(smb));
    EXPECT_EQ(loadedShare->parentHost.get().lock(), host);
    EXPECT_EQ(loadedShare->icon.get(), Image { "server" });
}

TEST_F(CatalogueDictionariesTest, ASharePointOfNoServiceOfTheHostHasNoParentService) {
    const auto host = hostNamed("server");
    addService(host, afp);
    const auto share = SharePointDefinition::initWithDictionary(host, serviceDictionary(smb));
    EXPECT_EQ(share->parentService.get().lock(), nullptr);
    EXPECT_EQ(share->displayType.get(), smb);
}

TEST_F(CatalogueDictionariesTest, LoadingAHostAgainAppendsToItsLists) {
    Dictionary dictionary;
    dictionary.set("services", PropertyValue::Array { serviceDictionary(smb) });
    const auto host = HostDefinition::initWithDictionary(dictionary, context);
    host->loadDictionary(dictionary);
    EXPECT_EQ(host->services.count(), 2U);
}

TEST_F(CatalogueDictionariesTest, ValuesOfAnotherKindAreAbsent) {
    Dictionary dictionary;
    dictionary.set("displayName", 7);
    dictionary.set("automatically", "no");
    dictionary.set("services", "all");
    dictionary.set("sharePoints", PropertyValue::Array { "x", 7 });
    const auto host = HostDefinition::initWithDictionary(dictionary, context);
    EXPECT_EQ(host->displayName.get(), std::nullopt);
    EXPECT_EQ(host->automatically.get(), true);
    EXPECT_EQ(host->services.count() + host->sharePoints.count(), 0U);
}

} // namespace

} // namespace quorrel
