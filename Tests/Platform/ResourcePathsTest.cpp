// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ResourcePaths.h"

#include "Platform/Linux/GettextStringTable.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdlib>
#include <filesystem>

namespace quorrel {

class ResourcePathsTest : public testing::Test {
protected:
    std::string program(const std::string& path) const {
        std::filesystem::create_directories(std::filesystem::path(folder.path(path)).parent_path());
        folder.put(path, "a program");
        return folder.path(path);
    }
    void makeData(const std::string& path) const {
        std::filesystem::create_directories(folder.path(path + "/quorrel"));
    }
    void expectAllBelow(const ResourcePaths& paths, const std::string& data) const {
        EXPECT_EQ(paths.locale, folder.path(data + "/locale"));
        EXPECT_EQ(paths.icons, folder.path(data + "/quorrel/icons"));
        EXPECT_EQ(paths.help, folder.path(data + "/quorrel/help"));
    }

    TemporaryFolder folder;
};

TEST_F(ResourcePathsTest, anInstalledProgramFindsThemFromWhereItIs) {
    makeData("opt/share");
    expectAllBelow(ResourcePaths::find(program("opt/bin/quorrel")), "opt/share");
}

TEST_F(ResourcePathsTest, aBuiltProgramTakesThoseBesideIt) {
    makeData("share");
    makeData("build/share");
    expectAllBelow(ResourcePaths::find(program("build/quorrel")), "build/share");
}

TEST_F(ResourcePathsTest, aLinkIsFollowedToTheProgram) {
    makeData("opt/share");
    makeData("home/share");
    const auto installed = program("opt/bin/quorrel");
    std::filesystem::create_directories(folder.path("home/bin"));
    std::filesystem::create_symlink(installed, folder.path("home/bin/quorrel"));
    expectAllBelow(ResourcePaths::find(folder.path("home/bin/quorrel")), "opt/share");
}

TEST_F(ResourcePathsTest, aProgramWithNothingNearTakesWhatWasInstalled) {
    const auto paths = ResourcePaths::find(program("somewhere/quorrel"));
    EXPECT_EQ(paths.locale, std::string(QUORREL_DATA_FOLDER) + "/locale");
    EXPECT_EQ(ResourcePaths::find(folder.path("not/there")).icons, paths.icons);
}

TEST_F(ResourcePathsTest, whatWasBuiltHereSpeaksTheUsersLanguage) {
    const GettextStringTable table(ResourcePaths::find().locale);
    std::setlocale(LC_ALL, "C.UTF-8");
    ::setenv("LANGUAGE", "de", 1);
    EXPECT_EQ(table.text("Mount"), "Einhängen");
    EXPECT_EQ(table.text("Mounting"), "Wird eingehängt");
    std::setlocale(LC_ALL, "C");
    EXPECT_EQ(table.text("Mount"), "Mount");
}

TEST_F(ResourcePathsTest, whatWasBuiltHereHasItsFiles) {
    const auto paths = ResourcePaths::find();
    EXPECT_TRUE(std::filesystem::exists(paths.icons + "/Contents/Resources/server.png")) << paths.icons;
    EXPECT_TRUE(std::filesystem::exists(paths.help + "/index.html")) << paths.help;
}

} // namespace quorrel
