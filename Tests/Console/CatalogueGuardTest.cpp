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

TEST_F(CatalogueGuardTest, putsNothingWhereAnotherProgramPutSomething) {
    ASSERT_EQ(guard.read(path).outcome, PropertyListReadResult::Outcome::Missing);
    ASSERT_EQ(files.write(path, list("his")), std::nullopt);
    EXPECT_NE(guard.write(path, list("mine")), std::nullopt);
    EXPECT_EQ(refusals, 1);
    EXPECT_EQ(files.read(path).root, list("his"));
}

TEST_F(CatalogueGuardTest, writesAgainWhatIsGoneAsNobodyElseKnowsIt) {
    ASSERT_EQ(guard.write(path, list("mine")), std::nullopt);
    std::filesystem::remove(path);
    EXPECT_EQ(guard.write(path, list("mine and more")), std::nullopt);
    EXPECT_EQ(guard.write(path, list("still mine")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("still mine"));
    EXPECT_EQ(refusals, 0);
}

TEST_F(CatalogueGuardTest, aFolderThatIsGoneOrReplacedIsAFailureAndNotAnothersChange) {
    const auto place = folder.path("Quorrel");
    const auto file = place + "/Quorrel2.plist";
    std::filesystem::create_directory(place);
    ASSERT_EQ(guard.write(file, list("mine")), std::nullopt);
    std::filesystem::rename(place, place + "-away");
    EXPECT_EQ(guard.write(file, list("mine and more")), "No such file or directory");
    folder.put("Quorrel", "a file in its place");
    EXPECT_EQ(guard.write(file, list("mine and more")), "Not a directory");
    std::filesystem::remove(place);
    std::filesystem::rename(place + "-away", place);
    EXPECT_EQ(guard.write(file, list("mine and more")), std::nullopt);
    EXPECT_EQ(refusals, 0);
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
