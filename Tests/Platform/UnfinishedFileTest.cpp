// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/UnfinishedFile.h"

#include "Platform/Linux/OwnerOnlyFile.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gmock/gmock.h>

#include <filesystem>

#include <sys/stat.h>

namespace quorrel {

using testing::ElementsAre;
using testing::SizeIs;
using testing::UnorderedElementsAre;

class UnfinishedFileTest : public testing::Test {
protected:
    TemporaryFolder folder;
    const std::string path = folder.path("a.plist");
};

TEST_F(UnfinishedFileTest, isTheOwnersAndGoesUnlessItIsRenamed) {
    {
        UnfinishedFile file(path);
        ASSERT_EQ(file.write("x"), 0);
        const auto names = folder.names();
        ASSERT_THAT(names, SizeIs(1));
        EXPECT_EQ(folder.modeOf(names.front()), 0600U);
        EXPECT_EQ(folder.contentOf(names.front()), "x");
    }
    EXPECT_THAT(folder.names(), SizeIs(0));
}

TEST_F(UnfinishedFileTest, removesWhatAKilledProgramLeft) {
    folder.put("a.plist.4711-0.new", "half");
    folder.put("a.plist.1-99.new", "");
    ASSERT_EQ(OwnerOnlyFile::replace(path, "new"), std::nullopt);
    EXPECT_THAT(folder.names(), ElementsAre("a.plist"));
    folder.put("entry.desktop.4711-0.new", "half");
    EXPECT_EQ(OwnerOnlyFile::create(folder.path("entry"), ".desktop", "new"), folder.path("entry.desktop"));
    EXPECT_THAT(folder.names(), ElementsAre("a.plist", "entry.desktop"));
}

TEST_F(UnfinishedFileTest, leavesOneThatIsBeingWritten) {
    UnfinishedFile other(path);
    ASSERT_EQ(other.write("theirs"), 0);
    ASSERT_EQ(OwnerOnlyFile::replace(path, "ours"), std::nullopt);
    ASSERT_TRUE(std::filesystem::exists(other.name()));
    std::filesystem::rename(other.name(), path);
    other.wasRenamed();
    EXPECT_EQ(folder.contentOf("a.plist"), "theirs");
}

TEST_F(UnfinishedFileTest, leavesWhatOnlyResemblesALeftover) {
    for (const char* name : { "a.plist.new", "a.plist.-.new", "a.plist.1-.new", "a.plist.-1.new", "a.plist.1-2.newer",
             "a.plist.1-2", "a.plistx1-2.new", "a.plist.x1-2.new", "a.plist.1-2x.new", "a.plist1-2.new",
             "b.plist.1-2.new", "a.plist.1.new", "a.plist.1-2-3.new" })
        folder.put(name, "precious");
    std::filesystem::create_directory(folder.path("a.plist.5-0.new"));
    std::filesystem::create_symlink("b.plist.1-2.new", folder.path("a.plist.6-0.new"));
    ASSERT_EQ(::mkfifo(folder.path("a.plist.7-0.new").c_str(), 0600), 0);
    const auto before = folder.names();
    ASSERT_EQ(OwnerOnlyFile::replace(path, "new"), std::nullopt);
    std::filesystem::remove(path);
    EXPECT_EQ(folder.names(), before);
}

TEST_F(UnfinishedFileTest, takesAnotherNameThanThoseThatAreTaken) {
    const auto own = path + '.' + std::to_string(::getpid()) + "-0.new";
    std::filesystem::create_directory(own);
    UnfinishedFile first(path);
    UnfinishedFile second(path);
    ASSERT_EQ(first.write("1"), 0);
    ASSERT_EQ(second.write("2"), 0);
    EXPECT_NE(first.name(), own);
    EXPECT_NE(first.name(), second.name());
}

TEST_F(UnfinishedFileTest, linksInACircleAreAFailureAndStay) {
    std::filesystem::create_symlink("b", path);
    std::filesystem::create_symlink("a.plist", folder.path("b"));
    EXPECT_EQ(OwnerOnlyFile::replace(path, "new"), "Too many levels of symbolic links");
    EXPECT_THAT(folder.names(), UnorderedElementsAre("a.plist", "b"));
}

} // namespace quorrel
