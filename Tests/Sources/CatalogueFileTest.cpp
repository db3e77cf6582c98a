// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

Dictionary hostDictionary(const std::string& name) {
    Dictionary result;
    result.set("displayName", name);
    return result;
}

PropertyValue catalogueOf(std::initializer_list<const char*> names) {
    PropertyValue::Array result;
    for (const char* name : names)
        result.emplace_back(hostDictionary(name));
    return result;
}

} // namespace

class CatalogueFileTest : public ControllerTest {
protected:
    [[nodiscard]] std::vector<std::string> hostNames() const {
        std::vector<std::string> result;
        for (const auto& host : controller->hosts.snapshot())
            result.push_back(textOf(host->displayName.get()));
        return result;
    }

    /// Saves twice over what is there: it must be kept, once.
    void expectKeptOnceBySaving() {
        const auto before = files.content(cataloguePath);
        addHost("New", smb, {});
        controller->saveHostsArray();
        controller->saveHostsArray();
        EXPECT_TRUE(files.exists(damaged));
        EXPECT_EQ(files.content(damaged), before);
        EXPECT_FALSE(files.exists(damagedAgain));
        EXPECT_EQ(files.writeCount(), 2);
        EXPECT_THAT(logSink.texts(), IsEmpty());
    }

    const std::string damaged = std::string(cataloguePath) + ".damaged";
    const std::string damagedAgain = std::string(cataloguePath) + ".damaged-2";
};

TEST_F(CatalogueFileTest, LoadingTheSameFileTwiceLeavesOneCopyOfEachHost) {
    files.put(cataloguePath, catalogueOf({ "b", "a" }));
    controller->loadHostsArray();
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), ElementsAre("b", "a"));
}

TEST_F(CatalogueFileTest, AFileWhoseRootIsADictionaryLoadsAsAnEmptyCatalogue) {
    files.put(cataloguePath, hostDictionary("a"));
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(CatalogueFileTest, AMissingFileIsAnEmptyCatalogueWithoutAMessage) {
    addHost("left from before", smb, {});
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(CatalogueFileTest, AMalformedFileIsAnEmptyCatalogueAndStaysUntilTheNextSave) {
    files.putMalformed(cataloguePath);
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), IsEmpty());
    EXPECT_THAT(logSink.texts(), IsEmpty());
    EXPECT_TRUE(files.exists(cataloguePath));
    EXPECT_FALSE(files.exists(damaged));
}

TEST_F(CatalogueFileTest, ALoadAnnouncesOneChangeOfTheHosts) {
    files.put(cataloguePath, catalogueOf({ "a", "b", "c" }));
    addHost("old", smb, {});
    std::vector<std::pair<Change, std::size_t>> seen;
    const auto subscription = controller->observe(
        "hosts", [&](std::string_view, Change change) { seen.emplace_back(change, controller->hosts.count()); });
    controller->loadHostsArray();
    EXPECT_THAT(seen, ElementsAre(std::pair(Change::Will, 1U), std::pair(Change::Did, 3U)));
}

TEST_F(CatalogueFileTest, LoadingStartsAModelMonitorForEachHost) {
    files.put(cataloguePath, catalogueOf({ "a", "b" }));
    controller->loadHostsArray();
    EXPECT_THAT(monitored(), ElementsAre("a", "b"));
}

TEST_F(CatalogueFileTest, LoadingAgainEndsTheModelMonitorsOfTheHostsThatWereReplaced) {
    files.put(cataloguePath, catalogueOf({ "a", "b" }));
    controller->loadHostsArray();
    files.put(cataloguePath, catalogueOf({ "b", "c" }));
    controller->loadHostsArray();
    EXPECT_THAT(monitored(), ElementsAre("b", "c"));
}

TEST_F(CatalogueFileTest, SavingStartsAModelMonitorOnlyForHostsWithoutOne) {
    files.put(cataloguePath, catalogueOf({ "a" }));
    controller->loadHostsArray();
    addHost("b", smb, {});
    controller->saveHostsArray();
    controller->saveHostsArray();
    EXPECT_THAT(monitored(), ElementsAre("a", "b"));
}

TEST_F(CatalogueFileTest, WhatWasSavedLoadsAgain) {
    const auto host = addHost("Office", smb, { "Public", "Music" });
    addService(host, afp);
    host->sharePointForName("Music")->automatically.set(false);
    host->sharePointForName("Music")->favroite.set(true);
    addHost("Seen only", ftp, {});
    controller->saveHostsArray(); // the hosts are watched from now on, which gives them a domain
    controller->saveHostsArray();
    const auto saved = files.content(cataloguePath);
    ASSERT_TRUE(saved);

    controller->loadHostsArray();

    EXPECT_THAT(hostNames(), ElementsAre("Office", "Seen only"));
    const auto loaded = controller->hosts.snapshot().front();
    EXPECT_NE(loaded, host);
    EXPECT_EQ(loaded->dictionary(), host->dictionary());
    EXPECT_EQ(loaded->sharePointForName("Public")->parentService.get().lock(), loaded->serviceForDisplayType(smb));
    controller->saveHostsArray();
    EXPECT_EQ(files.content(cataloguePath), saved);
}

TEST_F(CatalogueFileTest, AFailedSaveLogsOneLineAndLeavesFileAndCatalogueAsTheyWere) {
    files.put(cataloguePath, catalogueOf({ "a" }));
    controller->loadHostsArray();
    addHost("b", smb, {});
    files.failWrites("No space left on device");
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), ElementsAre("Save Failed hosts."));
    EXPECT_EQ(files.content(cataloguePath), catalogueOf({ "a" }));
    EXPECT_THAT(hostNames(), ElementsAre("a", "b"));
}

TEST_F(CatalogueFileTest, AFailedSaveIsSilentWithLoggingOff) {
    EXPECT_TRUE(preferences.set("logToConsole", false));
    files.failWrites("No space left on device");
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

TEST_F(CatalogueFileTest, AWholeFileIsReplacedWithoutACopy) {
    files.put(cataloguePath, catalogueOf({ "a" }));
    controller->loadHostsArray();
    controller->saveHostsArray();
    EXPECT_FALSE(files.exists(damaged));
}

TEST_F(CatalogueFileTest, AMalformedFileIsKeptOnce) {
    files.putMalformed(cataloguePath);
    controller->loadHostsArray();
    expectKeptOnceBySaving();
}

TEST_F(CatalogueFileTest, AFileWhoseRootIsADictionaryIsKeptOnce) {
    files.put(cataloguePath, hostDictionary("a"));
    controller->loadHostsArray();
    expectKeptOnceBySaving();
}

TEST_F(CatalogueFileTest, AFileWithElementsThatAreNoHostsLoadsTheHostsAndIsKeptOnce) {
    files.put(cataloguePath, PropertyValue::Array { hostDictionary("a"), "text", hostDictionary("b"), 7 });
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), ElementsAre("a", "b"));
    expectKeptOnceBySaving();
}

TEST_F(CatalogueFileTest, AFileWithServicesOrSharePointsThatAreNoneIsKept) {
    std::string keptAs = damaged;
    int number = 2;
    for (const char* key : { "services", "sharePoints" })
        for (const PropertyValue& value : { PropertyValue(PropertyValue::Array { "text" }), PropertyValue("text") }) {
            auto host = hostDictionary("a");
            host.set(key, value);
            files.put(cataloguePath, PropertyValue::Array { host });
            controller->loadHostsArray();
            EXPECT_THAT(hostNames(), ElementsAre("a"));
            controller->saveHostsArray();
            EXPECT_EQ(files.content(keptAs), PropertyValue(PropertyValue::Array { host })) << keptAs;
            keptAs = damaged + "-" + std::to_string(number++);
        }
}

TEST_F(CatalogueFileTest, AFileThatCannotBeReadIsKeptAndNotReplacedByAnEmptyCatalogue) {
    files.put(cataloguePath, catalogueOf({ "a" }));
    files.failReads(cataloguePath, "Input/output error");
    controller->loadHostsArray();
    EXPECT_THAT(hostNames(), IsEmpty());
    files.failReads(cataloguePath, std::nullopt);
    expectKeptOnceBySaving();
    EXPECT_EQ(files.content(damaged), catalogueOf({ "a" }));
}

TEST_F(CatalogueFileTest, ASaveBeforeAnyLoadKeepsAFileThatCannotBeParsed) {
    files.putMalformed(cataloguePath);
    expectKeptOnceBySaving();
}

TEST_F(CatalogueFileTest, ASaveBeforeAnyLoadReplacesAWholeFile) {
    files.put(cataloguePath, catalogueOf({ "a" }));
    addHost("b", smb, {});
    controller->saveHostsArray();
    EXPECT_FALSE(files.exists(damaged));
}

TEST_F(CatalogueFileTest, AFileRepairedBeforeTheNextLoadIsReplacedWithoutACopy) {
    files.putMalformed(cataloguePath);
    controller->loadHostsArray();
    files.put(cataloguePath, catalogueOf({ "a" }));
    controller->loadHostsArray();
    controller->saveHostsArray();
    EXPECT_FALSE(files.exists(damaged));
}

TEST_F(CatalogueFileTest, ADamagedFileThatCannotBeKeptIsNotReplaced) {
    files.putMalformed(cataloguePath);
    controller->loadHostsArray();
    addHost("New", smb, {});
    files.failKeepDamaged("Permission denied");
    controller->saveHostsArray();
    EXPECT_THAT(logSink.texts(), ElementsAre("Save Failed hosts."));
    EXPECT_EQ(files.writeCount(), 0);
    EXPECT_TRUE(files.exists(cataloguePath));

    files.failKeepDamaged(std::nullopt);
    controller->saveHostsArray();
    EXPECT_TRUE(files.exists(damaged));
    EXPECT_EQ(files.writeCount(), 1);
}

TEST_F(CatalogueFileTest, TheFolderIsCreatedWhereItIsMissing) {
    EXPECT_EQ(controller->applicationSupportFolder(), "/home/user/data/Quorrel");
    EXPECT_EQ(controller->applicationSupportFolder(), "/home/user/data/Quorrel");
    EXPECT_THAT(workspace.createdDirectories(), ElementsAre("/home/user/data/Quorrel"));
}

TEST_F(CatalogueFileTest, WhateverIsThereInTheFoldersPlaceIsLeftAlone) {
    workspace.addPath("/home/user/data/Quorrel");
    EXPECT_EQ(controller->applicationSupportFolder(), "/home/user/data/Quorrel");
    EXPECT_THAT(workspace.createdDirectories(), IsEmpty());
}

TEST_F(CatalogueFileTest, WithoutADataFolderTheTemporaryOneServes) {
    workspace.setApplicationSupportDirectory(std::nullopt);
    workspace.setTemporaryDirectory("/tmp/");
    EXPECT_EQ(controller->applicationSupportFolder(), "/tmp/Quorrel");
}

TEST_F(CatalogueFileTest, TheFoldersPathIsGivenAlsoWhenItCannotBeCreated) {
    workspace.failCreateDirectory(true);
    EXPECT_EQ(controller->applicationSupportFolder(), "/home/user/data/Quorrel");
    EXPECT_THAT(logSink.texts(), IsEmpty());
}

} // namespace quorrel
