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

/// Somebody else who acts while a file is being written: before it takes its place, or right after.
class HastyEditor final : public PropertyListFile {
public:
    HastyEditor(PropertyListFile& files, bool isBefore)
        : m_files(files)
        , m_isBefore(isBefore) { }

    [[nodiscard]] PropertyListReadResult read(const std::string& path) override { return m_files.read(path); }
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override {
        if (m_isBefore)
            edit(path);
        auto failure = m_files.write(path, root, lastLook);
        if (!m_isBefore)
            edit(path);
        return failure;
    }
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override {
        return m_files.keepDamaged(path);
    }

    std::optional<PropertyValue> edition;

private:
    void edit(const std::string& path) {
        if (edition) {
            EXPECT_EQ(m_files.write(path, *edition), std::nullopt);
        }
    }

    PropertyListFile& m_files;
    const bool m_isBefore;
};

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramReplacedRightAfterTheLastWrite) {
    HastyEditor editor(files, false);
    CatalogueGuard hurried(editor, fileVersion, [this] { ++refusals; });
    editor.edition = list("his");
    ASSERT_EQ(hurried.write(path, list("mine")), std::nullopt);
    editor.edition.reset();
    EXPECT_NE(hurried.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("his"));
    EXPECT_EQ(refusals, 1);
}

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramReplacedMeanwhile) {
    HastyEditor editor(files, true);
    CatalogueGuard hurried(editor, fileVersion, [this] { ++refusals; });
    ASSERT_EQ(hurried.write(path, list("mine")), std::nullopt);
    editor.edition = list("his");
    EXPECT_NE(hurried.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("his"));
    EXPECT_EQ(refusals, 1);
    editor.edition.reset();
    EXPECT_NE(hurried.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(hurried.read(path).root, list("his"));
    EXPECT_EQ(hurried.write(path, list("mine again")), std::nullopt);
}

TEST_F(CatalogueGuardTest, aWriteThatFailedLeavesItKnowingWhatIsThere) {
    ASSERT_EQ(guard.write(path, list("mine")), std::nullopt);
    EXPECT_NE(guard.write(folder.path("nowhere/Quorrel2.plist"), list("mine")), std::nullopt);
    EXPECT_EQ(guard.write(path, list("and mine"), [](const std::string&) { return "no"; }), "no");
    EXPECT_EQ(guard.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(refusals, 0);
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
