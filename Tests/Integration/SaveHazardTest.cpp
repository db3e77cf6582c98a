// SPDX-License-Identifier: GPL-3.0-or-later
//
// The controller saving on file systems that are full, that nobody may write, or that are two.
#include "Platform/Linux/LinuxWorkspace.h"
#include "Platform/Linux/PlistFile.h"
#include "Sources/SaveReport.h"
#include "Tests/Integration/OwnFileSystem.h"
#include "Tests/Sources/ControllerTest.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class SaveHazardTest : public ControllerTest {
protected:
    void SetUp() override {
        ASSERT_TRUE(disk.isMounted());
        controller = std::make_unique<QuorrelAppDelegate>(onDisk);
        addHost("first", smb, { "a", "b" });
        controller->saveHostsArray();
        ASSERT_THAT(told, IsEmpty());
        before = content();
        ASSERT_FALSE(before.empty());
    }

    [[nodiscard]] std::string content() const {
        std::ifstream stream(file, std::ios::binary);
        return { std::istreambuf_iterator<char>(stream), {} };
    }
    [[nodiscard]] std::vector<std::string> names() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            names.push_back(entry.path().filename().string());
        return names;
    }
    /// More than any block that a full disk has left over.
    void addMuch() {
        addHost("more " + std::to_string(controller->hosts.count()) + std::string(8192, '.'), smb, { "a" });
    }
    void expectRefusal(const std::string& reason) {
        for (int attempt = 0; attempt < 3; ++attempt) {
            addMuch();
            controller->saveHostsArray();
            EXPECT_EQ(content(), before);
        }
        EXPECT_THAT(std::exchange(told, {}), ElementsAre(file + ": " + reason));
    }
    void expectAllSaved() {
        const auto count = controller->hosts.count();
        controller->saveHostsArray();
        EXPECT_THAT(std::exchange(told, {}), ElementsAre(file + " recovered"));
        controller->loadHostsArray();
        EXPECT_EQ(controller->hosts.count(), count);
        EXPECT_THAT(names(), ElementsAre("Quorrel2.plist"));
    }

    OwnFileSystem disk { "size=256k,nr_inodes=20,mode=700" };
    const std::string folder = disk.path("data/Quorrel");
    const std::string file = folder + "/Quorrel2.plist";
    PlistFile plist;
    LinuxWorkspace desktop { { disk.path("data"), disk.path(""), {}, "unix:path=/nonexistent" } };
    std::vector<std::string> told;
    SaveReport report { plist,
        { [this](const std::string& path, const std::string& reason) { told.push_back(path + ": " + reason); },
            [this](const std::string& path) { told.push_back(path + " recovered"); } } };
    ControllerEnvironment onDisk { { mounting, resolving, preferences, notificationCenter, report, desktop, strings,
                                       log, mainThreadQueue },
        passwordWindow };
    std::string before;
};

TEST_F(SaveHazardTest, aFullDiskKeepsTheOldCatalogueUntilThereIsRoom) {
    ASSERT_TRUE(disk.fill("filler"));
    expectRefusal("No space left on device");
    EXPECT_THAT(names(), ElementsAre("Quorrel2.plist"));
    std::filesystem::remove(disk.path("filler"));
    expectAllSaved();
}

TEST_F(SaveHazardTest, aDiskThatTakesNoMoreFilesKeepsTheOldCatalogue) {
    int files = 0;
    while (files < 100 && std::ofstream(disk.path("f" + std::to_string(files))))
        ++files;
    ASSERT_LT(files, 100);
    expectRefusal("No space left on device");
    std::filesystem::remove(disk.path("f0"));
    expectAllSaved();
}

TEST_F(SaveHazardTest, whatAKilledSaveLeftMakesRoomOnAFullDisk) {
    ASSERT_TRUE(disk.fill("data/Quorrel/Quorrel2.plist.4711-0.new"));
    addMuch();
    controller->saveHostsArray();
    EXPECT_THAT(told, IsEmpty());
    EXPECT_NE(content(), before);
    EXPECT_THAT(names(), ElementsAre("Quorrel2.plist"));
}

TEST_F(SaveHazardTest, aFolderThatNobodyMayWriteKeepsTheOldCatalogueUntilOneMay) {
    ASSERT_TRUE(disk.setWriting(OwnFileSystem::Writing::Refused));
    expectRefusal("Read-only file system");
    ASSERT_TRUE(disk.setWriting(OwnFileSystem::Writing::Allowed));
    expectAllSaved();
}

TEST_F(SaveHazardTest, aDamagedFileThatNobodyMayMoveStaysAsItIs) {
    std::ofstream(file) << "<plist><array>";
    before = content();
    controller->loadHostsArray();
    ASSERT_TRUE(disk.setWriting(OwnFileSystem::Writing::Refused));
    expectRefusal("Read-only file system");
    ASSERT_TRUE(disk.setWriting(OwnFileSystem::Writing::Allowed));
    controller->saveHostsArray();
    EXPECT_THAT(names(), UnorderedElementsAre("Quorrel2.plist", "Quorrel2.plist.damaged"));
}

TEST_F(SaveHazardTest, aLinkToAnotherDiskStaysOneAndThatDiskIsTheOneThatCounts) {
    const OwnFileSystem other("size=256k,mode=700");
    ASSERT_TRUE(other.isMounted());
    std::filesystem::copy_file(file, other.path("kept.plist"));
    std::filesystem::remove(file);
    std::filesystem::create_symlink(other.path("kept.plist"), file);
    addMuch();
    controller->saveHostsArray();
    EXPECT_THAT(told, IsEmpty());
    EXPECT_TRUE(std::filesystem::is_symlink(file));
    before = content();
    ASSERT_TRUE(other.fill("filler"));
    expectRefusal("No space left on device");
    std::filesystem::remove(other.path("filler"));
    expectAllSaved();
    EXPECT_TRUE(std::filesystem::is_symlink(file));
}

} // namespace quorrel
