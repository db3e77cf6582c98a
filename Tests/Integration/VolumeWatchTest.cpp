// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxVolumeWatch.h"

#include "Platform/Linux/ProcessTable.h"
#include "Tests/Integration/BedServer.h"
#include "Tests/Integration/DesktopMounts.h"
#include "Tests/Integration/UnservedMount.h"
#include "Tests/Integration/VolumeTestBed.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/VolumeRecorder.h"

#include <gmock/gmock.h>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <future>

namespace quorrel {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

/// A condition that never holds, asked after each turn of the loop: how long the longest of them took.
struct LongestTurn final {
    LongestTurn() = default;
    LongestTurn(const LongestTurn&) = delete;
    LongestTurn& operator=(const LongestTurn&) = delete;

    bool operator()() {
        const auto now = std::chrono::steady_clock::now();
        longest = std::max<Seconds>(longest, now - last);
        last = now;
        return false;
    }

    std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
    Seconds longest { 0 };
};

class VolumeWatchTest : public VolumeTestBed {
protected:
    using Lines = std::vector<std::string>;

    std::unique_ptr<LinuxVolumeWatch> makeWatch() const {
        return std::make_unique<LinuxVolumeWatch>(
            LinuxVolumeWatch::Settings { home, runtimeDirectory, variable("DBUS_SESSION_BUS_ADDRESS") });
    }

    /// Whether so many reports were heard in all.
    bool hears(std::size_t count) {
        return runMainContextUntil([&] { return recorder->heard.size() >= count; }, Seconds(10));
    }
    /// Gives whatever may still come the time to come.
    static void runOn(Seconds duration = Seconds(0.3)) {
        EXPECT_FALSE(runMainContextUntil([] { return false; }, duration));
    }

    /// Mounts beside the main context, as the program does.
    MountReply mountOurs(const MountRequest& request) {
        auto reply = std::async(std::launch::async, [&] { return service->mountServerVolume(request); });
        EXPECT_TRUE(runMainContextUntil(
            [&] { return reply.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, Seconds(30)));
        return reply.get();
    }
    std::int32_t unmountOurs(std::int16_t reference) {
        auto status = std::async(std::launch::async, [&] { return service->unmountVolume(reference); });
        EXPECT_TRUE(runMainContextUntil(
            [&] { return status.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }, Seconds(30)));
        return status.get();
    }

    /// Mounts that location by another program and unmounts it.
    void expectReported(
        const std::string& location, const std::string& description, const std::string& passwords = {}) {
        ASSERT_TRUE(mounts.mount(location, passwords)) << location;
        ASSERT_TRUE(hears(1)) << location;
        EXPECT_THAT(recorder->heard, ElementsAre("+ " + description));
        ASSERT_TRUE(mounts.unmount(location)) << location;
        ASSERT_TRUE(hears(2)) << location;
        EXPECT_THAT(recorder->heard, ElementsAre("+ " + description, "- " + description));
    }

    /// The daemon of gvfs in this bed.
    static pid_t gvfsDaemon() {
        const auto mark = std::string("\0QTB_DIR=", 9) + variable("QTB_DIR") + std::string(1, '\0');
        for (const auto identifier : ProcessTable::identifiers())
            if (const auto entry = ProcessTable::entry(identifier); entry && entry->name == "gvfsd"
                && ('\0' + contentOf("/proc/" + std::to_string(identifier) + "/environ")).find(mark)
                    != std::string::npos)
                return identifier;
        return 0;
    }

    const std::string smb = variable("QTB_SMB_HOST");
    const std::string ftp = variable("QTB_FTP_HOST");
    DesktopMounts mounts;
    std::unique_ptr<LinuxVolumeWatch> watch = makeWatch();
    std::unique_ptr<VolumeRecorder> recorder = std::make_unique<VolumeRecorder>(*watch);
};

TEST_F(VolumeWatchTest, aWindowsShareOfAnotherProgramIsReported) {
    expectReported("smb://" + smb + "/pub", "pub smbfs file:///net/" + smb + "/pub " + smb);
}

TEST_F(VolumeWatchTest, anAppleVolumeOfAnotherProgramIsReported) {
    const auto host = variable("QTB_AFP_HOST");
    const auto location = "afp://anonymous@" + host + "/Public";
    expectInSpiteOfCrashes(
        [&] {
            recorder.reset();
            watch = makeWatch();
            recorder = std::make_unique<VolumeRecorder>(*watch);
            expectReported(location, "Public afpfs file:///net/" + host + "/Public " + host);
        },
        [&] { static_cast<void>(mounts.unmount(location)); });
}

TEST_F(VolumeWatchTest, aTransferServerOfAnotherProgramIsReported) {
    expectReported("ftp://anonymous@" + ftp + "/", ftp + " ftp file:///net/" + ftp + "/" + ftp + " " + ftp);
}

TEST_F(VolumeWatchTest, webFoldersOfAnotherProgramAreReportedWithoutTheirUser) {
    const auto password = home + "/password";
    ASSERT_TRUE(write(password, VolumeTestBed::password() + "\n"));
    const auto user = variable("QTB_USER");
    const auto apache = variable("QTB_APACHE_HOST");
    expectReported("dav://" + user + "@" + apache + "/share/",
        "share webdav file:///net/" + apache + "/share " + apache, password);
    recorder->heard.clear();
    const auto dav = variable("QTB_DAV_HOST");
    expectReported(
        "dav://" + user + "@" + dav + "/", dav + " webdav file:///net/" + dav + "/" + dav + " " + dav, password);
    std::filesystem::remove(password);
}

TEST_F(VolumeWatchTest, aShareOfOursIsReportedUnderItsLinkAndInItsSpelling) {
    const auto reply = mountOurs(asGuest(url("smb", "SMB", "Mixed%20Case"), "Mixed Case"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    ASSERT_TRUE(hears(1));
    EXPECT_EQ(unmountOurs(reply.volumeReference), VolumeStatus::success);
    ASSERT_TRUE(hears(2));
    const auto description = "Mixed Case smbfs file://" + home + "/Volumes/Mixed%20Case " + smb;
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + description, "- " + description));
}

TEST_F(VolumeWatchTest, twoFoldersOfOneServerAreTwoVolumes) {
    const auto first = mountOurs(asUser(url("ftp", "FTP", "folder"), "folder"));
    const auto second = mountOurs(asUser(url("ftp", "FTP", "%C3%9Cber%20uns"), "Über uns"));
    ASSERT_EQ(first.status, VolumeStatus::success);
    ASSERT_EQ(second.status, VolumeStatus::success);
    ASSERT_TRUE(hears(2));
    const auto folder = "folder ftp file://" + home + "/Volumes/folder " + ftp;
    const auto about = "Über uns ftp file://" + home + "/Volumes/%C3%9Cber%20uns " + ftp;
    runOn(Seconds(0.8));
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + folder, "+ " + about));
    EXPECT_EQ(unmountOurs(first.volumeReference), VolumeStatus::success);
    ASSERT_TRUE(hears(3));
    EXPECT_EQ(unmountOurs(second.volumeReference), VolumeStatus::success);
    ASSERT_TRUE(hears(4));
    runOn(Seconds(0.8));
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + folder, "+ " + about, "- " + folder, "- " + about));
}

TEST_F(VolumeWatchTest, aWebFolderWithinAMountIsNamedByItsPath) {
    const auto reply = mountOurs(asUser(url("http", "APACHE", "share/folder"), "folder"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    ASSERT_TRUE(hears(1));
    runOn(Seconds(0.8));
    EXPECT_THAT(recorder->heard,
        ElementsAre("+ share/folder webdav file://" + home + "/Volumes/folder " + variable("QTB_APACHE_HOST")));
}

TEST_F(VolumeWatchTest, aLaterWatchIsToldOfWhatIsThere) {
    ASSERT_TRUE(mounts.mount("smb://" + smb + "/s01"));
    const auto ours = mountOurs(asGuest(url("smb", "SMB", "s02"), "s02"));
    ASSERT_EQ(ours.status, VolumeStatus::success);
    ASSERT_TRUE(hears(2));
    recorder.reset();
    watch = makeWatch();
    recorder = std::make_unique<VolumeRecorder>(*watch);
    ASSERT_TRUE(hears(2));
    runOn(Seconds(0.8));
    EXPECT_THAT(recorder->heard,
        UnorderedElementsAre(
            "+ s01 smbfs file:///net/" + smb + "/s01 " + smb, "+ s02 smbfs file://" + home + "/Volumes/s02 " + smb));
}

TEST_F(VolumeWatchTest, whatGoesAndComesAgainIsThereInTheEnd) {
    const auto location = "smb://" + smb + "/s03";
    for (int round = 0; round < 5; ++round) {
        ASSERT_TRUE(mounts.mount(location));
        ASSERT_TRUE(mounts.unmount(location));
    }
    ASSERT_TRUE(mounts.mount(location));
    ASSERT_TRUE(runMainContextUntil(
        [&] { return !recorder->heard.empty() && recorder->heard.back().starts_with("+"); }, Seconds(10)));
    runOn(Seconds(0.8));
    EXPECT_EQ(recorder->heard.back(), "+ s03 smbfs file:///net/" + smb + "/s03 " + smb);
}

TEST_F(VolumeWatchTest, aVolumeThatGoesWhileTheLoopStandsStillIsTakenBack) {
    runOn(); // has heard the list
    const auto reply = service->mountServerVolume(asUser(url("ftp", "FTP", "folder"), "folder"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    ASSERT_EQ(std::system(("gio mount -u ftp://" + variable("QTB_USER") + "@" + ftp + "/").c_str()), 0);
    const auto folder = "folder ftp file://" + home + "/Volumes/folder " + ftp;
    EXPECT_TRUE(hears(2));
    runOn(Seconds(0.8));
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + folder, "- " + folder));
}

TEST_F(VolumeWatchTest, aShareOfOursStaysWhenAnothersMountOfItGoes) {
    const auto location = "smb://" + smb + "/s05";
    ASSERT_TRUE(mounts.mount(location));
    ASSERT_TRUE(hears(1));
    const auto ours = mountOurs(asUser(url("smb", "SMB", "s05"), "s05"));
    ASSERT_EQ(ours.status, VolumeStatus::success);
    ASSERT_TRUE(mounts.unmount(location));
    runOn(Seconds(0.8));
    const auto share = "s05 smbfs file:///net/" + smb + "/s05 " + smb;
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + share));
    EXPECT_EQ(unmountOurs(ours.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(hears(2));
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + share, "- " + share));
}

TEST_F(VolumeWatchTest, volumesGoWithTheDesktopsDaemonAndComeWithTheNextOne) {
    const auto location = "smb://" + smb + "/s04";
    const auto description = "s04 smbfs file:///net/" + smb + "/s04 " + smb;
    ASSERT_TRUE(mounts.mount(location));
    ASSERT_TRUE(hears(1));
    const auto daemon = gvfsDaemon();
    ASSERT_GT(daemon, 1);
    ASSERT_EQ(kill(daemon, SIGKILL), 0);
    ASSERT_TRUE(hears(2));
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + description, "- " + description));
    // The next daemon is started by who wants it; what was mounted makes itself known to it.
    EXPECT_FALSE(mounts.mount(location));
    ASSERT_TRUE(hears(3));
    runOn();
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + description, "- " + description, "+ " + description));
}

TEST_F(VolumeWatchTest, mountsOfTheKernelAreReportedAndNeverLookedAt) {
    const auto share = "Two Words smbfs file:///net/files/Two%20Words files";
    const auto folder = "data fuse.sshfs file:///net/other/data other";
    LongestTurn turns;
    {
        const UnservedMount first("fuse.cifs", "//files/Two Words", home + "/one\n\\040");
        ASSERT_TRUE(first.isMounted());
        ASSERT_TRUE(hears(1));
        const UnservedMount second("fuse.sshfs", "ann@other:/srv/data", home + "/two");
        ASSERT_TRUE(second.isMounted());
        ASSERT_TRUE(hears(2));
        const UnservedMount local("fuse.archive", "//files/None", home + "/three");
        ASSERT_TRUE(local.isMounted());
        EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(0.5)));
        recorder.reset();
        watch = makeWatch();
        recorder = std::make_unique<VolumeRecorder>(*watch);
        EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(0.5)));
        EXPECT_THAT(recorder->heard, UnorderedElementsAre("+ " + std::string(share), "+ " + std::string(folder)));
    }
    ASSERT_TRUE(hears(4));
    EXPECT_THAT(recorder->heard,
        UnorderedElementsAre("+ " + std::string(share), "+ " + std::string(folder), "- " + std::string(share),
            "- " + std::string(folder)));
    EXPECT_LT(turns.longest.count(), 1.0);
}

TEST_F(VolumeWatchTest, severalMountsOfOneSourceAreOneVolume) {
    const std::string share = "data smbfs file:///net/files/data files";
    auto first = std::make_unique<UnservedMount>("fuse.cifs", "//files/data", home + "/one");
    const auto second = std::make_unique<UnservedMount>("fuse.cifs", "//files/data", home + "/two");
    ASSERT_TRUE(first->isMounted() && second->isMounted());
    ASSERT_TRUE(hears(1));
    first.reset();
    runOn();
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + share));
    first = std::make_unique<UnservedMount>("fuse.cifs", "//files/data", home + "/one");
    runOn();
    EXPECT_THAT(recorder->heard, ElementsAre("+ " + share));
}

TEST_F(VolumeWatchTest, aMountInTheFolderOfVolumesIsNotLookedAt) {
    LongestTurn turns;
    std::filesystem::create_directory(home + "/Volumes");
    {
        const UnservedMount mount("fuse.cifs", "//files/data", home + "/Volumes/data");
        ASSERT_TRUE(mount.isMounted());
        std::filesystem::create_symlink(runtimeDirectory + "/gvfs/nothing", home + "/Volumes/strange");
        EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(0.5)));
        std::filesystem::remove(home + "/Volumes/strange");
        EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(0.2)));
    }
    std::filesystem::remove(home + "/Volumes");
    EXPECT_LT(turns.longest.count(), 1.0);
}

TEST_F(VolumeWatchTest, neitherASilentServerNorASilentDaemonHoldsTheLoop) {
    const auto reply = mountOurs(asGuest(url("smb", "SMB", "pub"), "pub"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    ASSERT_TRUE(hears(1));
    const auto daemon = gvfsDaemon();
    ASSERT_GT(daemon, 1);
    BedServer server("smb");
    ASSERT_TRUE(server.freeze());
    ASSERT_EQ(kill(daemon, SIGSTOP), 0);
    LongestTurn turns;
    recorder.reset();
    watch = makeWatch();
    recorder = std::make_unique<VolumeRecorder>(*watch);
    std::filesystem::create_symlink(runtimeDirectory + "/gvfs/nothing", home + "/Volumes/strange");
    EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(1)));
    std::filesystem::remove(home + "/Volumes/strange");
    EXPECT_FALSE(runMainContextUntil(std::ref(turns), Seconds(0.5)));
    EXPECT_LT(turns.longest.count(), 1.0);
    EXPECT_THAT(recorder->heard, IsEmpty());
    EXPECT_EQ(kill(daemon, SIGCONT), 0);
    ASSERT_TRUE(hears(1));
    EXPECT_THAT(recorder->heard, ElementsAre("+ pub smbfs file://" + home + "/Volumes/pub " + smb));
    EXPECT_TRUE(server.thaw());
}

TEST_F(VolumeWatchTest, nothingOfItIsLeft) {
    const auto descriptors = [] {
        std::size_t count = 0;
        for ([[maybe_unused]] const auto& each : std::filesystem::directory_iterator("/proc/self/fd"))
            ++count;
        return count;
    };
    recorder.reset();
    watch.reset();
    runOn();
    const auto before = descriptors();
    for (int round = 0; round < 20; ++round) {
        watch = makeWatch();
        recorder = std::make_unique<VolumeRecorder>(*watch);
        static_cast<void>(runMainContextUntil([] { return false; }, Seconds(0.01 * (round % 5))));
        recorder.reset();
        watch.reset();
    }
    EXPECT_TRUE(runMainContextUntil([&] { return descriptors() <= before; }, Seconds(10)))
        << before << " " << descriptors();
}

} // namespace quorrel
