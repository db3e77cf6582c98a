// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeLinks.h"

#include "Foundation/Text.h"
#include "Tests/Fakes/HostileNames.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>
#include <vector>

namespace quorrel {

class VolumeLinksTest : public testing::Test {
protected:
    void SetUp() override {
        std::string pattern = testing::TempDir() + "quorrel-links-XXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        home = pattern;
        links.emplace(home, "/run/me/gvfs");
    }
    void TearDown() override { std::filesystem::remove_all(home); }

    std::string add(const std::string& name, const std::string& target) { return links->add(name, target, reason); }
    [[nodiscard]] std::string targetOf(const std::string& name) const {
        std::error_code error;
        return std::filesystem::read_symlink(home + "/Volumes/" + name, error).string();
    }

    std::string home;
    std::string reason;
    std::optional<VolumeLinks> links;
};

TEST_F(VolumeLinksTest, SecondVolumeOfANameGetsANumber) {
    EXPECT_EQ(add("pub", "/run/me/gvfs/one"), "pub");
    EXPECT_EQ(add("pub", "/run/me/gvfs/two"), "pub-1");
    EXPECT_EQ(add("pub", "/run/me/gvfs/three"), "pub-2");
    EXPECT_EQ(add("pub", "/run/me/gvfs/two"), "pub-1");
    EXPECT_EQ(targetOf("pub-1"), "/run/me/gvfs/two");
}

TEST_F(VolumeLinksTest, NoNameLeavesTheFolderOrTakesThePlaceOfAnother) {
    std::ofstream(home + "/passwd") << "mine";
    std::set<std::string> names;
    for (const auto& [evil, name] : hostileNames()) {
        const auto target = "/run/me/gvfs/" + std::to_string(names.size());
        const auto given = add(name, target);
        EXPECT_TRUE(names.insert(given).second) << evil;
        EXPECT_EQ(targetOf(given), target) << evil << ": " << reason;
        EXPECT_EQ(given.find('/'), std::string::npos) << evil;
        EXPECT_EQ(given, Text::onOneLine(given)) << evil; // nothing to escape is left
    }
    std::set<std::string> found;
    for (const auto& entry : std::filesystem::directory_iterator(home + "/Volumes"))
        found.insert(entry.path().filename().string());
    EXPECT_EQ(found, names);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(home), {}), 2);
}

TEST_F(VolumeLinksTest, ATargetIsBelowTheSessionsMountsWhateverItsName) {
    for (const auto* target :
        { "/run/me/gvfs", "/run/me/gvfs/../../x", "/run/me/gvfs/..", "/etc", "../run/me/gvfs/x", "" })
        EXPECT_EQ(add("x", target), "") << target;
    EXPECT_FALSE(std::filesystem::exists(home + "/Volumes"));
}

TEST_F(VolumeLinksTest, FolderComesWithTheFirstLinkAndGoesWithTheLast) {
    EXPECT_FALSE(std::filesystem::exists(home + "/Volumes"));
    add("a", "/run/me/gvfs/a");
    add("b", "/run/me/gvfs/b");
    links->removeLinksTo("/run/me/gvfs/a");
    EXPECT_EQ(targetOf("b"), "/run/me/gvfs/b");
    links->removeLinksTo("/run/me/gvfs/b");
    EXPECT_FALSE(std::filesystem::exists(home + "/Volumes"));
}

TEST_F(VolumeLinksTest, NothingForeignIsTouchedOrCounted) {
    std::filesystem::create_directories(home + "/Volumes/folder");
    std::filesystem::create_symlink("/run/other/gvfs/x", home + "/Volumes/other");
    std::filesystem::create_symlink("/run/me/gvfs/../../secret", home + "/Volumes/sly");
    std::ofstream(home + "/Volumes/file") << "mine";
    EXPECT_EQ(add("folder", "/run/me/gvfs/f"), "folder-1");
    EXPECT_EQ(add("other", "/run/me/gvfs/o"), "other-1");
    EXPECT_EQ(add("file", "/run/me/gvfs/i"), "file-1");
    EXPECT_EQ(links->links().size(), 3U);
    links->removeLinksTo("/run/other/gvfs/x");
    for (const char* target : { "/run/me/gvfs/f", "/run/me/gvfs/o", "/run/me/gvfs/i" })
        links->removeLinksTo(target);
    EXPECT_TRUE(std::filesystem::is_directory(home + "/Volumes/folder"));
    EXPECT_EQ(targetOf("other"), "/run/other/gvfs/x");
    EXPECT_TRUE(std::filesystem::is_regular_file(home + "/Volumes/file"));
}

TEST_F(VolumeLinksTest, NamesCannotLeaveTheFolder) {
    EXPECT_EQ(VolumeLinks::fileName("a/b"), "a_b");
    EXPECT_EQ(VolumeLinks::fileName("."), "_");
    EXPECT_EQ(VolumeLinks::fileName(".."), "__");
    EXPECT_EQ(VolumeLinks::fileName("a\nb\x7f"), "a_b_");
    EXPECT_EQ(VolumeLinks::fileName("gnp.\u202eexe\u2069"), "gnp._exe_");
    EXPECT_EQ(VolumeLinks::fileName("a\u0085b\u2028c\xff"), "a_b_c_");
    EXPECT_EQ(VolumeLinks::fileName("نیم\u200cفاصله"), "نیم\u200cفاصله");
    EXPECT_EQ(VolumeLinks::fileName(""), "Volume");
    EXPECT_EQ(VolumeLinks::fileName("Über uns"), "Über uns");
    std::string longName;
    for (int count = 0; count < 150; ++count)
        longName += "ü";
    EXPECT_EQ(VolumeLinks::fileName(longName).size(), 200U);
    EXPECT_EQ(add("../../etc", "/run/me/gvfs/e"), ".._.._etc");
}

TEST_F(VolumeLinksTest, LinksOnlyLeadToMounts) {
    EXPECT_EQ(add("etc", "/etc"), "");
    EXPECT_FALSE(reason.empty());
    EXPECT_EQ(add("sly", "/run/me/gvfs/.."), "");
    EXPECT_FALSE(std::filesystem::exists(home + "/Volumes"));
}

TEST_F(VolumeLinksTest, FolderThatIsAFileGivesAReason) {
    std::ofstream(home + "/Volumes") << "mine";
    EXPECT_EQ(add("a", "/run/me/gvfs/a"), "");
    EXPECT_FALSE(reason.empty());
}

TEST_F(VolumeLinksTest, ThreadsNeverShareALink) {
    std::vector<std::thread> threads;
    std::vector<std::string> names(8);
    for (std::size_t index = 0; index < names.size(); ++index)
        threads.emplace_back([&, index] {
            std::string why;
            names[index] = links->add("pub", "/run/me/gvfs/" + std::to_string(index), why);
        });
    for (auto& thread : threads)
        thread.join();
    EXPECT_EQ(std::set<std::string>(names.begin(), names.end()).size(), names.size());
    EXPECT_EQ(links->links().size(), names.size());
}

} // namespace quorrel
