// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LocalPath.h"

#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorrel {

class LocalPathTest : public testing::Test {
protected:
    LocalPathTest() {
        for (const char* name : { "bin", "Volumes", "Volumes/Films" })
            std::filesystem::create_directory(folder.path(name));
        program = std::filesystem::canonical(folder.put("bin/program", "")).string();
        folder.put("Volumes/Films/remote", "");
    }

    void link(const std::string& target, const std::string& name) const {
        std::filesystem::create_symlink(target, folder.path(name));
    }
    [[nodiscard]] std::optional<std::string> followed(const std::string& name) const {
        return localPath(folder.path(name), { folder.path("Volumes") });
    }

    TemporaryFolder folder;
    std::string program;
};

TEST_F(LocalPathTest, linksAreFollowedWhereverTheyStand) {
    link("program", "bin/relative");
    link(folder.path("bin"), "absolute");
    link("absolute/../bin/./relative", "several");
    for (const char* name : { "bin/program", "bin/relative", "absolute/program", "several", "bin//../bin/program" })
        EXPECT_EQ(followed(name), program) << name;
}

TEST_F(LocalPathTest, whatIsNotThereLeadsNowhere) {
    link("gone", "bin/dangling");
    link("loop", "loop");
    for (const char* name : { "bin/gone", "gone/../bin/program", "bin/dangling", "loop", "bin/program/below" })
        EXPECT_EQ(followed(name), std::nullopt) << name;
}

TEST_F(LocalPathTest, noWayLeadsOntoAVolume) {
    link("../Volumes/Films/remote", "bin/link");
    link(folder.path("Volumes/Films"), "films");
    for (const char* name : { "Volumes/Films/remote", "bin/../Volumes/Films/remote", "bin/link", "films/remote",
             "films/../../bin/program", "Volumes" })
        EXPECT_EQ(followed(name), std::nullopt) << name;
    EXPECT_TRUE(localPath(folder.path("films/remote"), {}));
    EXPECT_TRUE(localPath(folder.put("Volumes of mine", ""), { folder.path("Volumes") }));
}

TEST_F(LocalPathTest, aVolumeIsKnownByEitherOfItsNames) {
    link(folder.path(), "home");
    for (const char* volumes : { "Volumes", "home/Volumes" })
        for (const char* name : { "Volumes/Films/remote", "home/Volumes/Films/remote" })
            EXPECT_EQ(localPath(folder.path(name), { folder.path(volumes) }), std::nullopt) << volumes << " " << name;
}

} // namespace quorrel
