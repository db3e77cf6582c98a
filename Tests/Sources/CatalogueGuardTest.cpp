// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/CatalogueGuard.h"

#include "Platform/Linux/FileVersion.h"
#include "Platform/Linux/PlistFile.h"
#include "Tests/Fakes/FakePropertyListFile.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {
namespace {

using ::testing::ElementsAre;

class CatalogueGuardTest : public testing::Test {
protected:
    static PropertyValue list(const std::string& item) {
        return PropertyValue(PropertyValue::Array { PropertyValue(item) });
    }

    TemporaryFolder folder;
    const std::string path = folder.path("Quorrel2.plist");
    PlistFile files;
    int refusals = 0;
    CatalogueGuard guard { files, fileVersion, CatalogueGuard::OnEdited::Refuse,
        [this](const std::string&) { ++refusals; } };
    int kept = 0;
    CatalogueGuard keeping { files, fileVersion, CatalogueGuard::OnEdited::KeepBeside,
        [this](const std::string& edited) {
            EXPECT_EQ(edited, path);
            ++kept;
        } };
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
        auto failure = m_files.keepDamaged(path);
        if (!m_isBefore)
            edit(path);
        return failure;
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
    CatalogueGuard hurried(
        editor, fileVersion, CatalogueGuard::OnEdited::Refuse, [this](const std::string&) { ++refusals; });
    editor.edition = list("his");
    ASSERT_EQ(hurried.write(path, list("mine")), std::nullopt);
    editor.edition.reset();
    EXPECT_NE(hurried.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("his"));
    EXPECT_EQ(refusals, 1);
}

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramRepairedRightAfterItWasKept) {
    HastyEditor editor(files, false);
    CatalogueGuard hurried(
        editor, fileVersion, CatalogueGuard::OnEdited::Refuse, [this](const std::string&) { ++refusals; });
    folder.put("Quorrel2.plist", "no property list");
    EXPECT_EQ(hurried.read(path).outcome, PropertyListReadResult::Outcome::Malformed);
    editor.edition = list("repaired");
    EXPECT_EQ(hurried.keepDamaged(path), std::nullopt);
    editor.edition.reset();
    EXPECT_NE(hurried.write(path, list("mine")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("repaired"));
    EXPECT_EQ(folder.contentOf("Quorrel2.plist.damaged"), "no property list");
    EXPECT_EQ(refusals, 1);
}

TEST_F(CatalogueGuardTest, overwritesNothingThatAnotherProgramReplacedMeanwhile) {
    HastyEditor editor(files, true);
    CatalogueGuard hurried(
        editor, fileVersion, CatalogueGuard::OnEdited::Refuse, [this](const std::string&) { ++refusals; });
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

/// A disk that fails late: when the new file is whole, or only when it is in its place.
class FailingDisk final : public PropertyListFile {
public:
    enum class Failing { Never, BeforeItsPlace, InItsPlace };

    explicit FailingDisk(PropertyListFile& files)
        : m_files(files) { }

    [[nodiscard]] PropertyListReadResult read(const std::string& path) override { return m_files.read(path); }
    using PropertyListFile::write;
    [[nodiscard]] std::optional<std::string> write(
        const std::string& path, const PropertyValue& root, const LastLook& lastLook) override {
        const std::string reason = "Input/output error";
        auto failure = m_files.write(path, root, [&](const std::string& newFile) -> std::optional<std::string> {
            if (auto refusal = lastLook(newFile))
                return refusal;
            return failing == Failing::BeforeItsPlace ? std::optional(reason) : std::nullopt;
        });
        return failing == Failing::InItsPlace ? reason : failure;
    }
    [[nodiscard]] std::optional<std::string> keepDamaged(const std::string& path) override {
        return m_files.keepDamaged(path);
    }

    Failing failing = Failing::Never;

private:
    PropertyListFile& m_files;
};

TEST_F(CatalogueGuardTest, aWriteThatFailsLateIsNobodysEdit) {
    FailingDisk disk(files);
    CatalogueGuard onDisk(
        disk, fileVersion, CatalogueGuard::OnEdited::Refuse, [this](const std::string&) { ++refusals; });
    ASSERT_EQ(onDisk.write(path, list("mine")), std::nullopt);
    for (const auto failing : { FailingDisk::Failing::BeforeItsPlace, FailingDisk::Failing::InItsPlace }) {
        disk.failing = failing;
        EXPECT_EQ(onDisk.write(path, list("and mine")), "Input/output error");
        disk.failing = FailingDisk::Failing::Never;
        EXPECT_EQ(onDisk.write(path, list("mine again")), std::nullopt);
    }
    EXPECT_EQ(refusals, 0);
}

TEST_F(CatalogueGuardTest, anEditedFileIsKeptOnceHoweverOftenTheDiskFailsLate) {
    FailingDisk disk(files);
    CatalogueGuard onDisk(
        disk, fileVersion, CatalogueGuard::OnEdited::KeepBeside, [this](const std::string&) { ++kept; });
    ASSERT_EQ(onDisk.write(path, list("mine")), std::nullopt);
    ASSERT_EQ(files.write(path, list("his")), std::nullopt);
    disk.failing = FailingDisk::Failing::BeforeItsPlace;
    for (int round = 0; round < 3; ++round)
        EXPECT_EQ(onDisk.write(path, list("mine again")), "Input/output error");
    EXPECT_EQ(files.read(path).root, list("his"));
    disk.failing = FailingDisk::Failing::Never;
    EXPECT_EQ(onDisk.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("mine again"));
    EXPECT_EQ(files.read(path + ".damaged").root, list("his"));
    EXPECT_FALSE(std::filesystem::exists(path + ".damaged-2"));
    EXPECT_EQ(kept, 1);
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

TEST_F(CatalogueGuardTest, sameContentWrittenAnewIsNobodysEdit) {
    Dictionary host;
    host.set("displayName", "Büro");
    host.set("automatically", true);
    host.set("delaySeconds", 0.5);
    host.set("blob", PropertyValue::Data { 0, 255 });
    ASSERT_EQ(guard.write(path, PropertyValue::Array { host, Dictionary() }), std::nullopt);
    Dictionary reordered;
    for (const char* key : { "blob", "delaySeconds", "displayName", "automatically" })
        reordered.set(key, *host.find(key));
    ASSERT_EQ(files.write(path, PropertyValue::Array { reordered, Dictionary() }), std::nullopt);
    EXPECT_EQ(guard.write(path, list("more")), std::nullopt);
    folder.put("Quorrel2.plist", folder.contentOf("Quorrel2.plist"));
    EXPECT_EQ(guard.write(path, list("still more")), std::nullopt);
    EXPECT_EQ(refusals, 0);
}

TEST_F(CatalogueGuardTest, anyOtherContentIsAnEdit) {
    const auto host = [](const char* key, PropertyValue value) {
        Dictionary dictionary;
        dictionary.set(key, std::move(value));
        return PropertyValue(PropertyValue::Array { dictionary });
    };
    const std::vector<PropertyValue> contents { PropertyValue(PropertyValue::Array {}), list(""), list("a"), list("b"),
        PropertyValue(PropertyValue::Array { "a", "b" }), PropertyValue(PropertyValue::Array { "b", "a" }),
        PropertyValue(PropertyValue::Array { PropertyValue(PropertyValue::Array { "a" }), "b" }), host("a", "b"),
        host("b", "a"), host("a", true), host("a", false), host("a", 1), host("a", 1.5),
        host("a", PropertyValue::Data { 1 }), host("a", PropertyValue::Array {}), host("a", Dictionary()) };
    FakePropertyListFile memory;
    int version = 0;
    int edits = 0;
    CatalogueGuard ofMemory { memory, [&](const std::string&) { return std::to_string(version); },
        CatalogueGuard::OnEdited::Refuse, [&](const std::string&) { ++edits; } };
    int expected = 0;
    for (const auto& mine : contents)
        for (const auto& other : contents) {
            memory.put(path, mine);
            ASSERT_EQ(ofMemory.read(path).root, mine);
            memory.put(path, other);
            ++version;
            EXPECT_EQ(ofMemory.write(path, list("new")).has_value(), &mine != &other);
            EXPECT_EQ(edits, &mine != &other ? ++expected : expected);
        }
}

TEST_F(CatalogueGuardTest, keepsWhatAnotherProgramWroteBesideAndTellsOfEach) {
    ASSERT_EQ(keeping.write(path, list("mine")), std::nullopt);
    ASSERT_EQ(files.write(path, list("his")), std::nullopt);
    EXPECT_EQ(keeping.write(path, list("mine and more")), std::nullopt);
    EXPECT_EQ(keeping.write(path, list("still mine")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("still mine"));
    EXPECT_EQ(files.read(path + ".damaged").root, list("his"));
    EXPECT_EQ(kept, 1);
    folder.put("Quorrel2.plist", "hers");
    EXPECT_EQ(keeping.write(path, list("mine after all")), std::nullopt);
    EXPECT_EQ(folder.contentOf("Quorrel2.plist.damaged-2"), "hers");
    EXPECT_EQ(files.read(path).root, list("mine after all"));
    EXPECT_EQ(kept, 2);
    EXPECT_THAT(folder.names(), ElementsAre("Quorrel2.plist", "Quorrel2.plist.damaged", "Quorrel2.plist.damaged-2"));
}

TEST_F(CatalogueGuardTest, keepingWhatAnotherProgramWroteLeavesNoMomentWithoutACatalogue) {
    ASSERT_EQ(files.write(path, list("mine")), std::nullopt);
    PropertyListReadResult meanwhile;
    CatalogueGuard watched(files, fileVersion, CatalogueGuard::OnEdited::KeepBeside,
        [&](const std::string&) { meanwhile = files.read(path); });
    ASSERT_EQ(watched.read(path).root, list("mine"));
    ASSERT_EQ(files.write(path, list("hers")), std::nullopt);
    EXPECT_EQ(watched.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(meanwhile.root, list("hers"));
    EXPECT_EQ(files.read(path + ".damaged").root, list("hers"));
}

TEST_F(CatalogueGuardTest, keepsWhatAnotherProgramWroteMeanwhileToo) {
    HastyEditor editor(files, true);
    CatalogueGuard hurried(
        editor, fileVersion, CatalogueGuard::OnEdited::KeepBeside, [this](const std::string&) { ++kept; });
    ASSERT_EQ(hurried.write(path, list("mine")), std::nullopt);
    editor.edition = list("his");
    EXPECT_EQ(hurried.write(path, list("mine again")), std::nullopt);
    EXPECT_EQ(files.read(path).root, list("mine again"));
    EXPECT_EQ(files.read(path + ".damaged").root, list("his"));
    EXPECT_EQ(kept, 1);
}

TEST_F(CatalogueGuardTest, whatComesBackWithTheDiskOfALinkIsKeptThereAndTheLinkStays) {
    const auto disk = folder.path("disk");
    std::filesystem::create_symlink(disk + "/kept.plist", path);
    EXPECT_EQ(keeping.read(path).outcome, PropertyListReadResult::Outcome::Missing);
    EXPECT_NE(keeping.write(path, list("found by browsing")), std::nullopt);
    EXPECT_EQ(kept, 0);
    std::filesystem::create_directory(disk);
    ASSERT_EQ(files.write(disk + "/kept.plist", list("years of work")), std::nullopt);
    EXPECT_EQ(keeping.write(path, list("found by browsing")), std::nullopt);
    EXPECT_EQ(kept, 1);
    EXPECT_EQ(files.read(disk + "/kept.plist.damaged").root, list("years of work"));
    EXPECT_EQ(files.read(disk + "/kept.plist").root, list("found by browsing"));
    EXPECT_TRUE(std::filesystem::is_symlink(path));
    EXPECT_THAT(folder.names(), ElementsAre("Quorrel2.plist", "disk"));
}

TEST_F(CatalogueGuardTest, aLinkToWhatIsNoFileIsMovedAsideItself) {
    const auto documents = folder.path("documents");
    std::filesystem::create_directory(documents);
    std::filesystem::create_symlink(documents, path);
    EXPECT_EQ(keeping.read(path).outcome, PropertyListReadResult::Outcome::Unreadable);
    EXPECT_EQ(keeping.keepDamaged(path), std::nullopt);
    EXPECT_TRUE(std::filesystem::is_directory(documents));
    EXPECT_TRUE(std::filesystem::is_symlink(path + ".damaged"));
    EXPECT_EQ(kept, 0);
}

TEST_F(CatalogueGuardTest, aDamagedFileThatSomebodyRepairedMeanwhileIsKeptAndTold) {
    folder.put("Quorrel2.plist", "no property list");
    EXPECT_EQ(keeping.read(path).outcome, PropertyListReadResult::Outcome::Malformed);
    ASSERT_EQ(files.write(path, list("repaired")), std::nullopt);
    EXPECT_EQ(keeping.keepDamaged(path), std::nullopt);
    EXPECT_EQ(keeping.write(path, list("mine")), std::nullopt);
    EXPECT_EQ(files.read(path + ".damaged").root, list("repaired"));
    EXPECT_EQ(files.read(path).root, list("mine"));
    EXPECT_EQ(kept, 1);
}

TEST_F(CatalogueGuardTest, aFileThatWasTheOtherOneForAMomentIsRefusedOrKept) {
    folder.put("Quorrel2.plist", "no property list");
    std::vector<std::string> versions { "known", "edited", "known" }; // the last for good
    CatalogueGuard hasty(
        files,
        [&](const std::string&) {
            auto version = versions.front();
            if (versions.size() > 1)
                versions.erase(versions.begin());
            return version;
        },
        CatalogueGuard::OnEdited::Refuse, [](const std::string&) {});
    EXPECT_EQ(hasty.read(path).outcome, PropertyListReadResult::Outcome::Malformed);
    const bool isRefused = hasty.keepDamaged(path).has_value();
    EXPECT_NE(isRefused, folder.contentOf("Quorrel2.plist.damaged") == "no property list");
}

} // namespace
} // namespace quorrel
