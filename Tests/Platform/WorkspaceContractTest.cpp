// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxWorkspace.h"
#include "Tests/Fakes/FakeWorkspace.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <array>
#include <filesystem>
#include <functional>
#include <string>

#include <unistd.h>

namespace quorrel {

namespace {

struct OnFake final {
    FakeWorkspace workspace;
    std::string folder = "/home/user";
    void putFile(const std::string& path) { workspace.addPath(path); }
};

struct OnLinux final {
    TemporaryFolder home;
    LinuxWorkspace workspace { { home.path("data"), home.path(), QUORREL_ICONS, "unix:path=/nonexistent",
        "/nonexistent" } };
    std::string folder = home.path();
    void putFile(const std::string& path) const { home.put(path.substr(folder.size() + 1), "text"); }
};

} // namespace

template <typename Ground>
class WorkspaceContract : public testing::Test {
protected:
    [[nodiscard]] std::optional<Image> iconOf(const TypeDeclaration& declaration) const {
        return ground.workspace.imageAtPath(
            declaration.bundlePath + "/Contents/Resources/" + declaration.iconFile.value_or("none"));
    }

    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(WorkspaceContract, Grounds);

TYPED_TEST(WorkspaceContract, theComputerHasAName) {
    EXPECT_FALSE(this->ground.workspace.computerName().empty());
}

TYPED_TEST(WorkspaceContract, theFoldersAreThere) {
    const auto data = this->ground.workspace.applicationSupportDirectory();
    ASSERT_TRUE(data);
    EXPECT_TRUE(this->ground.workspace.exists(*data));
    EXPECT_TRUE(this->ground.workspace.exists(this->ground.workspace.temporaryDirectory()));
}

TYPED_TEST(WorkspaceContract, aDirectoryIsCreatedOneLevelAtATime) {
    auto& workspace = this->ground.workspace;
    const auto outer = this->ground.folder + "/outer";
    EXPECT_FALSE(workspace.exists(outer));
    EXPECT_FALSE(workspace.createDirectory(outer + "/inner"));
    EXPECT_TRUE(workspace.createDirectory(outer));
    EXPECT_TRUE(workspace.exists(outer));
    EXPECT_TRUE(workspace.createDirectory(outer + "/inner"));
}

TYPED_TEST(WorkspaceContract, aDirectoryIsNotCreatedOverWhatIsThere) {
    const auto path = this->ground.folder + "/file";
    this->ground.putFile(path);
    EXPECT_TRUE(this->ground.workspace.exists(path));
    EXPECT_FALSE(this->ground.workspace.createDirectory(path));
}

TYPED_TEST(WorkspaceContract, bothDefaultComputersHaveAnIcon) {
    for (const char* identifier : { "public.generic-pc", "com.apple.mac" }) {
        const auto declaration = this->ground.workspace.typeDeclaration(identifier);
        ASSERT_TRUE(declaration) << identifier;
        EXPECT_TRUE(this->iconOf(*declaration)) << identifier;
    }
}

TYPED_TEST(WorkspaceContract, nothingIsDeclaredOfAnUnknownModel) {
    const auto identifier = this->ground.workspace.typeIdentifierForModelCode("Toaster9,1");
    EXPECT_FALSE(identifier.empty());
    EXPECT_FALSE(this->ground.workspace.typeDeclaration(identifier));
}

TYPED_TEST(WorkspaceContract, aPathWithoutAnImageHasNone) {
    const auto path = this->ground.folder + "/text";
    this->ground.putFile(path);
    EXPECT_FALSE(this->ground.workspace.imageAtPath(path));
    EXPECT_FALSE(this->ground.workspace.imageAtPath(path + "-not-there"));
}

TYPED_TEST(WorkspaceContract, theSystemIconsAreThere) {
    for (const auto icon : { SystemIcon::GenericServer, SystemIcon::MusicPlayer, SystemIcon::Phone })
        EXPECT_TRUE(this->ground.workspace.systemIcon(icon));
}

class LinuxWorkspaceTest : public testing::Test {
protected:
    [[nodiscard]] LinuxWorkspace::Places places() const {
        return { folder.path("share/data"), "/tmp", QUORREL_ICONS, "unix:path=/nonexistent",
            folder.path("machine-info") };
    }
    [[nodiscard]] LinuxWorkspace::Places placesInFolder() const {
        auto result = places();
        result.temporary = folder.path();
        return result;
    }
    [[nodiscard]] std::string ownTemporary() const { return folder.path("quorrel-" + std::to_string(geteuid())); }
    /// The icon file that a model comes to, by the parents' where its own kind has none.
    [[nodiscard]] static std::string iconFor(const LinuxWorkspace& workspace, const std::string& model) {
        auto declaration = workspace.typeDeclaration(workspace.typeIdentifierForModelCode(model));
        for (int level = 0; level < 5 && declaration && !declaration->iconFile && declaration->conformsTo; ++level)
            declaration = workspace.typeDeclaration(*declaration->conformsTo);
        if (!declaration || !declaration->iconFile)
            return "";
        const auto path = declaration->bundlePath + "/Contents/Resources/" + *declaration->iconFile;
        return workspace.imageAtPath(path) ? *declaration->iconFile : "(no file " + path + ")";
    }

    TemporaryFolder folder;
};

TEST_F(LinuxWorkspaceTest, createsTheDataFolderForTheOwnerAlone) {
    const LinuxWorkspace workspace(places());
    EXPECT_EQ(workspace.applicationSupportDirectory(), folder.path("share/data"));
    EXPECT_EQ(folder.modeOf("share"), 0700U);
    EXPECT_EQ(folder.modeOf("share/data"), 0700U);
}

TEST_F(LinuxWorkspaceTest, aDataFolderThatCannotBeIsAbsent) {
    folder.put("share", "a file");
    EXPECT_FALSE(LinuxWorkspace(places()).applicationSupportDirectory());
    auto without = places();
    without.data = std::nullopt;
    EXPECT_FALSE(LinuxWorkspace(without).applicationSupportDirectory());
}

TEST_F(LinuxWorkspaceTest, theTemporaryFolderIsTheOwnersAloneAndTheSameInTheNextRun) {
    const LinuxWorkspace workspace(placesInFolder());
    EXPECT_EQ(workspace.temporaryDirectory(), ownTemporary());
    EXPECT_EQ(folder.modeOf("quorrel-" + std::to_string(geteuid())), 0700U);
    EXPECT_EQ(LinuxWorkspace(placesInFolder()).temporaryDirectory(), ownTemporary());
}

TEST_F(LinuxWorkspaceTest, aTemporaryFolderThatOthersCouldHaveFilledIsNotUsed) {
    const auto elsewhere = folder.path("elsewhere");
    std::filesystem::create_directory(elsewhere);
    std::filesystem::permissions(elsewhere, std::filesystem::perms::owner_all);
    const std::array<std::function<void()>, 3> traps { {
        [&] { std::filesystem::create_directory_symlink(elsewhere, ownTemporary()); },
        [&] { folder.put("quorrel-" + std::to_string(geteuid()), "a file"); },
        [&] {
            std::filesystem::create_directory(ownTemporary());
            std::filesystem::permissions(ownTemporary(), std::filesystem::perms::all);
        },
    } };
    for (const auto& setTrap : traps) {
        std::filesystem::remove_all(ownTemporary());
        setTrap();
        const LinuxWorkspace workspace(placesInFolder());
        const auto path = workspace.temporaryDirectory();
        EXPECT_NE(path, ownTemporary());
        EXPECT_EQ(folder.modeOf(std::filesystem::path(path).filename()), 0700U);
        EXPECT_EQ(workspace.temporaryDirectory(), path);
    }
}

TEST_F(LinuxWorkspaceTest, whereNoTemporaryFolderCanBeNothingIsReadOrWritten) {
    auto nowhere = places();
    nowhere.temporary = folder.path("nowhere");
    LinuxWorkspace workspace(nowhere);
    const auto below = workspace.temporaryDirectory() + "/Quorrel";
    EXPECT_FALSE(workspace.createDirectory(below));
    EXPECT_FALSE(workspace.exists(below));
}

TEST_F(LinuxWorkspaceTest, aLinkToNothingIsSomething) {
    std::filesystem::create_symlink("nowhere", folder.path("link"));
    EXPECT_TRUE(LinuxWorkspace(places()).exists(folder.path("link")));
}

TEST_F(LinuxWorkspaceTest, knownModelsHaveTheirIcons) {
    const LinuxWorkspace workspace(places());
    EXPECT_EQ(iconFor(workspace, "MacBookPro18,3"), "laptop.png");
    EXPECT_EQ(iconFor(workspace, "iMac21,1"), "all-in-one.png");
    EXPECT_EQ(iconFor(workspace, "Macmini9,1"), "desktop.png");
    EXPECT_EQ(iconFor(workspace, "Mac14,2"), "desktop.png");
    EXPECT_EQ(iconFor(workspace, "MacSamba"), "server.png");
    EXPECT_EQ(iconFor(workspace, "RackMac3,1"), "server.png");
    EXPECT_EQ(iconFor(workspace, "TimeCapsule6,106"), "storage.png");
    EXPECT_EQ(iconFor(workspace, "iPhone14,2"), "phone.png");
    EXPECT_EQ(iconFor(workspace, "Toaster9,1"), "");
}

TEST_F(LinuxWorkspaceTest, theMachineInfoFileNamesTheComputer) {
    folder.put(
        "machine-info", "# PRETTY_HOSTNAME=no\nICON_NAME=computer\nPRETTY_HOSTNAME=\"Anna's \\\"big\\\" box\"\n");
    EXPECT_EQ(LinuxWorkspace(places()).computerName(), "Anna's \"big\" box");
}

TEST_F(LinuxWorkspaceTest, theKernelNamesTheComputerWhereNothingElseDoes) {
    folder.put("machine-info", "PRETTY_HOSTNAME=\n");
    std::array<char, 256> name {};
    ASSERT_EQ(::gethostname(name.data(), name.size() - 1), 0);
    EXPECT_EQ(LinuxWorkspace(places()).computerName(), name.data());
}

} // namespace quorrel
