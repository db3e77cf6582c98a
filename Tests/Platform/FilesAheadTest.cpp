// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FilesAhead.h"

#include "Platform/Linux/FormerMounts.h"
#include "Platform/Linux/GvfsMount.h"
#include "Platform/Linux/MountListMirror.h"
#include "Platform/Linux/MountsAsFiles.h"
#include "Platform/Linux/MountTracker.h"
#include "Platform/Linux/VolumeLinks.h"
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/RecordingLogSink.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace quorrel {
namespace {

struct FilesAheadTest : testing::Test {
    FilesAheadTest() {
        std::filesystem::create_directory(m_folder.path("gvfs"));
        m_mount.fusePath = m_folder.path("gvfs/one");
    }

    void showMount() const { std::filesystem::create_directory(m_mount.fusePath); }
    [[nodiscard]] bool hasVolumes() const { return std::filesystem::exists(m_folder.path("Volumes")); }
    [[nodiscard]] bool wait(FilesAhead& files) { return files.wait(m_loop, m_tracker); }

    TemporaryFolder m_folder;
    FakeClock m_clock;
    Preferences m_preferences;
    RecordingLogSink m_sink;
    Log m_log { m_preferences, m_clock, m_sink };
    MainContextPool m_contexts;
    InterruptEvent m_interrupted;
    BoundedLoop m_loop { m_contexts, Seconds { 60 }, m_interrupted };
    MountListMirror m_mirror;
    MountTracker m_tracker { m_loop, m_mirror };
    FormerMounts m_formerMounts { m_folder.path() };
    MountsAsFiles m_files { m_log, m_folder.path("gvfs") };
    VolumeLinks m_links { m_folder.path(), m_folder.path("gvfs") };
    GvfsMount m_mount;
};

TEST_F(FilesAheadTest, theFolderIsThereBeforeTheLinkAndGoesIfNoneCame) {
    {
        FilesAhead files(m_formerMounts, m_files, m_links);
        EXPECT_FALSE(hasVolumes());
        files.begin(m_mount, m_mount.fusePath);
        EXPECT_TRUE(hasVolumes());
    }
    EXPECT_FALSE(hasVolumes());
}

TEST_F(FilesAheadTest, aFolderWithALinkStays) {
    {
        FilesAhead files(m_formerMounts, m_files, m_links);
        files.begin(m_mount, m_mount.fusePath);
        std::string reason;
        EXPECT_EQ(m_links.add("one", m_mount.fusePath, reason), "one") << reason;
    }
    EXPECT_EQ(m_links.links().size(), 1U);
}

TEST_F(FilesAheadTest, aFolderThatWasThereStaysAlsoWhenEmpty) {
    std::filesystem::create_directory(m_folder.path("Volumes"));
    {
        FilesAhead files(m_formerMounts, m_files, m_links);
        files.begin(m_mount, m_mount.fusePath);
    }
    EXPECT_TRUE(hasVolumes());
}

TEST_F(FilesAheadTest, filesThatComeAfterItBeganAreSeen) {
    FilesAhead files(m_formerMounts, m_files, m_links);
    files.begin(m_mount, m_mount.fusePath);
    showMount();
    EXPECT_TRUE(wait(files));
}

TEST_F(FilesAheadTest, beganTwiceItGoesOnWithItsFirstLook) {
    showMount();
    FilesAhead files(m_formerMounts, m_files, m_links);
    const auto path = m_mount.fusePath + "/nothing";
    files.begin(m_mount, path);
    files.begin(m_mount, path); // a new look would take the place for a former mount's, and wait for its path
    EXPECT_TRUE(wait(files));
}

TEST_F(FilesAheadTest, atAFormerMountThePathItselfIsWaitedFor) {
    showMount();
    const auto path = m_mount.fusePath + "/nothing";
    FilesAhead(m_formerMounts, m_files, m_links).begin(m_mount, path);
    FilesAhead files(m_formerMounts, m_files, m_links);
    files.begin(m_mount, path);
    EXPECT_FALSE(wait(files));
}

TEST_F(FilesAheadTest, withoutAPathThereIsNothingToWaitFor) {
    FilesAhead files(m_formerMounts, m_files, m_links);
    EXPECT_TRUE(wait(files));
    files.begin({}, {});
    EXPECT_TRUE(wait(files));
    EXPECT_FALSE(hasVolumes());
}

} // namespace
} // namespace quorrel
