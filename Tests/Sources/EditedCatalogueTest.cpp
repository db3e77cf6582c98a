// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/CatalogueGuard.h"
#include "Sources/SaveReport.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <string>
#include <utility>
#include <vector>

namespace quorrel {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

/// The controller as the desktop program has it, with a catalogue that others edit.
class EditedCatalogueTest : public ControllerTest {
protected:
    void start() {
        controller = std::make_unique<QuorrelAppDelegate>(guarded);
        controller->applicationDidFinishLaunching();
    }
    void change(const char* newHost) {
        addHost(newHost, smb, {});
        controller->sendSaveNotification();
    }
    void somebodyWrites(const PropertyValue& content) {
        files.put(file, content);
        ++edits;
    }
    static PropertyValue catalogueOf(const std::string& host) {
        Dictionary dictionary;
        dictionary.set("displayName", host);
        return PropertyValue::Array { dictionary };
    }
    [[nodiscard]] std::size_t hostsIn(const std::string& path) const {
        const auto root = files.content(path);
        const auto* array = root ? std::get_if<PropertyValue::Array>(&root->variant()) : nullptr;
        return array ? array->size() : 0;
    }
    std::vector<std::string> takeTold() { return std::exchange(told, {}); }

    const std::string file = "/home/user/data/Quorrel/Quorrel2.plist";
    int edits = 0;
    int looks = 0;
    std::vector<std::string> told;
    CatalogueGuard guard { files,
        [this](const std::string& path) {
            ++looks;
            // A new file has the version that it will have in its place.
            const bool isNew = path.ends_with(".new");
            if (!isNew && !files.exists(path))
                return std::string();
            return std::to_string(edits) + '/' + std::to_string(files.writeCount() + (isNew ? 1 : 0));
        },
        CatalogueGuard::OnEdited::KeepBeside, [this](const std::string& path) { told.push_back(path + " kept"); } };
    SaveReport report { guard,
        { [this](const std::string&, const std::string& reason) { told.push_back(reason); },
            [this](const std::string&) { told.emplace_back("recovered"); } } };
    ControllerEnvironment guarded { { mounting, resolving, preferences, notificationCenter, report, workspace, strings,
                                        log, mainThreadQueue },
        passwordWindow };
};

TEST_F(EditedCatalogueTest, whatWasNotThereAtTheStartIsKeptBesideWhatIsSaved) {
    start();
    somebodyWrites(catalogueOf("precious"));
    change("a");
    EXPECT_THAT(takeTold(), ElementsAre(file + " kept"));
    EXPECT_EQ(files.content(file + ".damaged"), catalogueOf("precious"));
    EXPECT_EQ(hostsIn(file), 1U);
    change("b");
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(hostsIn(file), 2U);
    EXPECT_FALSE(files.exists(file + ".damaged-2"));
}

TEST_F(EditedCatalogueTest, whatIsEditedWhileTheProgramRunsIsKeptToo) {
    somebodyWrites(catalogueOf("old"));
    start();
    change("a");
    EXPECT_THAT(told, IsEmpty());
    somebodyWrites(catalogueOf("edited"));
    change("b");
    EXPECT_THAT(takeTold(), ElementsAre(file + " kept"));
    EXPECT_EQ(files.content(file + ".damaged"), catalogueOf("edited"));
    EXPECT_EQ(hostsIn(file), 3U);
}

TEST_F(EditedCatalogueTest, nothingIsSaidOfAFileWrittenAnewWithWhatItHeld) {
    start();
    change("a");
    somebodyWrites(*files.content(file));
    change("b");
    EXPECT_THAT(told, IsEmpty());
    EXPECT_EQ(hostsIn(file), 2U);
    EXPECT_FALSE(files.exists(file + ".damaged"));
}

TEST_F(EditedCatalogueTest, anEditedFileThatCannotBeKeptFailsTheSaveAndStays) {
    start();
    somebodyWrites(catalogueOf("precious"));
    files.failKeepDamaged("Read-only file system");
    change("a");
    change("b");
    EXPECT_THAT(takeTold(), ElementsAre("Read-only file system"));
    EXPECT_EQ(files.content(file), catalogueOf("precious"));
    files.failKeepDamaged(std::nullopt);
    change("c");
    EXPECT_THAT(takeTold(), ElementsAre(file + " kept", "recovered"));
    EXPECT_EQ(hostsIn(file), 3U);
}

TEST_F(EditedCatalogueTest, aSaveThatFailsLeavesAnEditedFileInItsPlace) {
    start();
    somebodyWrites(catalogueOf("precious"));
    files.failWrites("No space left on device");
    change("a");
    EXPECT_THAT(takeTold(), ElementsAre("No space left on device"));
    EXPECT_EQ(files.content(file), catalogueOf("precious"));
    files.failWrites(std::nullopt);
    change("b");
    EXPECT_THAT(takeTold(), ElementsAre(file + " kept", "recovered"));
    EXPECT_EQ(files.content(file + ".damaged"), catalogueOf("precious"));
    EXPECT_EQ(hostsIn(file), 2U);
}

TEST_F(EditedCatalogueTest, aSaveLooksOnceAtTheOldFileAndOnceAtTheNew) {
    start();
    change("a");
    looks = 0;
    change("b");
    EXPECT_EQ(looks, 2);
}

} // namespace quorrel
