// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/CatalogueGuard.h"

#include "Platform/Linux/FileVersion.h"
#include "Platform/Linux/PlistFile.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorrel {
namespace {

class CatalogueGuardTest : public testing::Test {
protected:
    static PropertyValue list(const std::string& item) {
        return PropertyValue(PropertyValue::Array { PropertyValue(item) });
    }

    TemporaryFolder folder;
    const std::string path = folder.path("Quorrel2.plist");
    PlistFile files;
    int refusals = 0;
    CatalogueGuard guard { files, fileVersion, [this] { ++refusals; } };
};

TEST_F(CatalogueGuardTest, writesWhatItReadAndWroteItselfAgainAndAgain) {
    EXPECT_EQ(guard.read(path).outcome, PropertyListReadResult::Outcome::Missing);
    for (const char* item : { "a", "b", "c" })
        EXPECT_EQ(guard.write(path, list(item)), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("c"));
    EXPECT_EQ(refusals, 0);
}

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramReplaced) {
    ASSERT_EQ(guard.write(path, list("mine")), std::nullopt);
    ASSERT_EQ(files.write(path, list("his")), std::nullopt);
    EXPECT_NE(guard.write(path, list("mine again")), std::nullopt);
    EXPECT_NE(guard.keepDamaged(path), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("his"));
    EXPECT_EQ(refusals, 2);
    EXPECT_EQ(guard.read(path).root, list("his"));
    EXPECT_EQ(guard.write(path, list("mine again")), std::nullopt);
}

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramWroteInPlace) {
    ASSERT_EQ(guard.write(path, list("mine")), std::nullopt);
    auto text = folder.contentOf("Quorrel2.plist");
    text.replace(text.find("mine"), 4, "hers and longer");
    folder.put("Quorrel2.plist", text);
    EXPECT_NE(guard.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("hers and longer"));
}

TEST_F(CatalogueGuardTest, putsNothingWhereAnotherProgramPutSomethingOrTookItAway) {
    ASSERT_EQ(guard.read(path).outcome, PropertyListReadResult::Outcome::Missing);
    ASSERT_EQ(files.write(path, list("his")), std::nullopt);
    EXPECT_NE(guard.write(path, list("mine")), std::nullopt);
    static_cast<void>(guard.read(path));
    std::filesystem::remove(path);
    EXPECT_NE(guard.write(path, list("mine")), std::nullopt);
    EXPECT_FALSE(std::filesystem::exists(path));
    EXPECT_EQ(refusals, 2);
}

TEST_F(CatalogueGuardTest, keepsADamagedFileAndReplacesIt) {
    folder.put("Quorrel2.plist", "no property list");
    EXPECT_EQ(guard.read(path).outcome, PropertyListReadResult::Outcome::Malformed);
    EXPECT_EQ(guard.keepDamaged(path), std::nullopt);
    EXPECT_EQ(guard.write(path, list("new")), std::nullopt);
    EXPECT_EQ(folder.contentOf("Quorrel2.plist.damaged"), "no property list");
}

} // namespace
} // namespace quorrel
