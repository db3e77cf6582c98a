// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/GvfsVolumes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::UnorderedElementsAre;

class GvfsVolumesTest : public testing::Test {
protected:
    static constexpr auto folder = "/run/user/7/gvfs/";

    static GvfsMount mount(const std::string& type, const std::string& host, const std::string& shareOrPrefix = {}) {
        GvfsMount result;
        result.type = type;
        result.host = host;
        result.fusePath = folder + type + "," + host + "," + shareOrPrefix;
        result.busName = ":1.7";
        (type == "smb-share" || type == "afp-volume" ? result.share : result.prefix) = shareOrPrefix;
        return result;
    }

    /// "name kind path server" of each.
    std::vector<std::string> update() {
        std::vector<std::string> result;
        for (const auto& [identity, volume] : volumes.update(mounts, links, now)) {
            EXPECT_TRUE(volume.isNetwork);
            result.push_back(
                *volume.volumeName + " " + *volume.volumeKind + " " + *volume.volumePath + " " + volume.serverName);
        }
        return result;
    }
    std::vector<std::string> updateLater() {
        update();
        now += GvfsVolumes::timeForLink;
        return update();
    }

    GvfsVolumes volumes { "/home/ann/Volumes" };
    std::vector<GvfsMount> mounts;
    std::vector<VolumeLinks::Link> links;
    Seconds now { 1000 };
};

TEST_F(GvfsVolumesTest, aMountWithoutALinkIsAVolumeOnceItHadItsTime) {
    mounts = { mount("smb-share", "files", "data") };
    EXPECT_EQ(volumes.nextChange(), std::nullopt);
    EXPECT_THAT(update(), IsEmpty());
    EXPECT_EQ(volumes.nextChange(), now + GvfsVolumes::timeForLink);
    now += GvfsVolumes::timeForLink / 2;
    EXPECT_THAT(update(), IsEmpty());
    now += GvfsVolumes::timeForLink / 2;
    EXPECT_THAT(update(), ElementsAre("data smbfs file:///net/files/data files"));
    EXPECT_EQ(volumes.nextChange(), std::nullopt);
    mounts.clear();
    EXPECT_THAT(update(), IsEmpty());
    mounts = { mount("smb-share", "files", "data") };
    EXPECT_THAT(update(), IsEmpty());
}

TEST_F(GvfsVolumesTest, aLinkIsAVolumeAtOnce) {
    mounts = { mount("smb-share", "files", "mixed case") };
    links = { { "Mixed Case", mounts[0].fusePath } };
    EXPECT_THAT(update(), ElementsAre("Mixed Case smbfs file:///home/ann/Volumes/Mixed%20Case files"));
    EXPECT_EQ(volumes.nextChange(), std::nullopt);
}

TEST_F(GvfsVolumesTest, aMountWithLinksIsItsLinksAlone) {
    mounts = { mount("ftp", "files") };
    EXPECT_THAT(update(), IsEmpty());
    links = { { "new", mounts[0].fusePath + "/pub/new" }, { "old", mounts[0].fusePath + "/old" } };
    EXPECT_THAT(updateLater(),
        UnorderedElementsAre(
            "pub/new ftp file:///home/ann/Volumes/new files", "old ftp file:///home/ann/Volumes/old files"));
    links.pop_back();
    EXPECT_THAT(update(), ElementsAre("pub/new ftp file:///home/ann/Volumes/new files"));
}

TEST_F(GvfsVolumesTest, aMountOfOthersStaysAVolumeBesideLinksThatFollow) {
    mounts = { mount("ftp", "files") };
    EXPECT_THAT(updateLater(), ElementsAre("files ftp file:///net/files/files files"));
    links = { { "new", mounts[0].fusePath + "/new" } };
    EXPECT_THAT(update(),
        UnorderedElementsAre("files ftp file:///net/files/files files", "new ftp file:///home/ann/Volumes/new files"));
    links.clear();
    EXPECT_THAT(update(), ElementsAre("files ftp file:///net/files/files files"));
}

TEST_F(GvfsVolumesTest, aRootThatWasOursGoesWithItsLink) {
    mounts = { mount("ftp", "files") };
    links = { { "files", mounts[0].fusePath }, { "new", mounts[0].fusePath + "/new" } };
    EXPECT_THAT(update(),
        UnorderedElementsAre(
            "files ftp file:///home/ann/Volumes/files files", "new ftp file:///home/ann/Volumes/new files"));
    links.erase(links.begin());
    EXPECT_THAT(updateLater(), ElementsAre("new ftp file:///home/ann/Volumes/new files"));
}

TEST_F(GvfsVolumesTest, aMountThatLosesItsLinkBeforeItGoesIsNoVolumeAgain) {
    mounts = { mount("ftp", "files") };
    links = { { "new", mounts[0].fusePath + "/new" } };
    update();
    now += Seconds(3600);
    links.clear();
    EXPECT_THAT(update(), IsEmpty());
    mounts.clear();
    EXPECT_THAT(updateLater(), IsEmpty());
    EXPECT_EQ(volumes.nextChange(), std::nullopt);
}

TEST_F(GvfsVolumesTest, aVolumeIsTheSameWithItsLinkAndWithout) {
    mounts = { mount("smb-share", "files", "data") };
    updateLater();
    const auto before = volumes.update(mounts, links, now);
    links = { { "Data", mounts[0].fusePath } };
    const auto after = volumes.update(mounts, links, now);
    ASSERT_EQ(after.size(), 1U);
    EXPECT_EQ(after.begin()->first, before.begin()->first);
}

TEST_F(GvfsVolumesTest, aPathThatIsToldLaterMakesNoOtherVolume) {
    auto late = mount("afp-volume", "files", "Public");
    late.fusePath.clear();
    mounts = { late };
    EXPECT_THAT(updateLater(), IsEmpty());
    EXPECT_EQ(volumes.nextChange(), now - GvfsVolumes::timeForLink + GvfsVolumes::timeForPath);
    now += GvfsVolumes::timeForPath;
    const auto before = volumes.update(mounts, links, now);
    mounts = { mount("afp-volume", "files", "Public") };
    const auto after = volumes.update(mounts, links, now);
    ASSERT_EQ(before.size(), 1U);
    ASSERT_EQ(after.size(), 1U);
    EXPECT_EQ(after.begin()->first, before.begin()->first);
}

TEST_F(GvfsVolumesTest, twoLoginsAreOneVolumeAndNoneIsTold) {
    mounts = { mount("smb-share", "files", "data"), mount("smb-share", "files", "data") };
    mounts[1].user = "ann";
    mounts[1].domain = "HOME";
    mounts[1].fusePath = std::string(folder) + "smb-share:domain=HOME,server=files,share=data,user=ann";
    EXPECT_THAT(updateLater(), ElementsAre("data smbfs file:///net/files/data files"));
}

TEST_F(GvfsVolumesTest, aVolumeGoesWithTheLastOfItsLogins) {
    mounts = { mount("smb-share", "files", "data") };
    updateLater();
    const auto first = volumes.update(mounts, links, now);
    mounts.push_back(mount("smb-share", "files", "data"));
    mounts[1].user = "ann";
    mounts[1].fusePath = std::string(folder) + "smb-share:server=files,share=data,user=ann";
    links = { { "Data", mounts[1].fusePath } };
    EXPECT_EQ(update().size(), 1U);
    mounts.erase(mounts.begin()); // the file manager's, while ours stays
    const auto rest = volumes.update(mounts, links, now);
    ASSERT_EQ(rest.size(), 1U);
    EXPECT_EQ(rest.begin()->first, first.begin()->first);
    mounts.clear();
    EXPECT_THAT(update(), IsEmpty());
}

TEST_F(GvfsVolumesTest, theTimeOfALoginIsItsOwn) {
    mounts = { mount("smb-share", "files", "data") };
    links = { { "Data", mounts[0].fusePath } };
    update();
    mounts.insert(mounts.begin(), mount("smb-share", "files", "data"));
    mounts[0].user = "ann";
    mounts[0].fusePath = std::string(folder) + "smb-share:server=files,share=data,user=ann";
    update();
    EXPECT_EQ(volumes.nextChange(), now + GvfsVolumes::timeForLink);
    updateLater();
    EXPECT_EQ(volumes.nextChange(), std::nullopt);
    mounts.pop_back();
    EXPECT_EQ(update().size(), 1U);
}

TEST_F(GvfsVolumesTest, aFolderOfAShareIsNamedByItsPathAndPlacedByItsLastPart) {
    mounts = { mount("smb-share", "files", "data"), mount("afp-volume", "files", "Private") };
    links = { { "folder", mounts[0].fusePath + "/a/Folder" }, { "x", mounts[1].fusePath + "/x" } };
    EXPECT_THAT(update(),
        UnorderedElementsAre("data/a/Folder smbfs file:///home/ann/Volumes/Folder files",
            "Private/x afpfs file:///home/ann/Volumes/x files"));
}

TEST_F(GvfsVolumesTest, eachProtocolHasItsKindAndItsWayOfNames) {
    const std::vector<std::pair<GvfsMount, std::string>> cases {
        { mount("smb-share", "files", "data"), "data smbfs file:///net/files/data files" },
        { mount("afp-volume", "files", "Public"), "Public afpfs file:///net/files/Public files" },
        { mount("dav", "files"), "files webdav file:///net/files/files files" },
        { mount("dav", "files", "a b/c"), "a b/c webdav file:///net/files/c files" },
        { mount("ftp", "files"), "files ftp file:///net/files/files files" },
        { mount("ftps", "files"), "files ftp file:///net/files/files files" },
        { mount("nfs", "files", "export/data"), "data nfs file:///net/files/data files" },
        { mount("sftp", "files"), "files sftp file:///net/files/files files" },
    };
    for (const auto& [each, expected] : cases) {
        mounts = { each };
        EXPECT_THAT(updateLater(), ElementsAre(expected)) << each.type;
    }
}

TEST_F(GvfsVolumesTest, whatIsNoServersShareIsNoVolume) {
    for (const std::string type : { "smb-server", "smb-network", "network", "computer", "trash", "archive", "mtp",
             "gphoto2", "recent", "burn", "localtest", "admin", "afp-server", "" }) {
        mounts = { mount(type, "files", "data") };
        links = { { "data", mounts[0].fusePath } };
        EXPECT_THAT(updateLater(), IsEmpty()) << type;
    }
    mounts = { mount("smb-share", "files", "data") };
    mounts[0].isUserVisible = false;
    EXPECT_THAT(updateLater(), IsEmpty());
}

TEST_F(GvfsVolumesTest, placesGiveTheNameBackWhenTheirNumberIsTakenOff) {
    mounts = { mount("smb-share", "files", "backup-2"), mount("smb-share", "files", "data") };
    EXPECT_THAT(updateLater(),
        ElementsAre("backup-2 smbfs file:///net/files/backup-2-1 files", "data smbfs file:///net/files/data files"));
    links = { { "Backup-2", mounts[0].fusePath }, { "Data-3", mounts[1].fusePath } };
    EXPECT_THAT(update(),
        ElementsAre("Backup-2 smbfs file:///home/ann/Volumes/Backup-2-1 files",
            "Data smbfs file:///home/ann/Volumes/Data-3 files"));
    links = { { "Backup-2-1", mounts[0].fusePath }, { "Strange", mounts[1].fusePath } };
    EXPECT_THAT(update(),
        ElementsAre("Backup-2 smbfs file:///home/ann/Volumes/Backup-2-1 files",
            "data smbfs file:///home/ann/Volumes/data files"));
}

TEST_F(GvfsVolumesTest, aLinkOfNoMountIsNoVolume) {
    links = { { "data", std::string(folder) + "smb-share:server=files,share=data" } };
    EXPECT_THAT(updateLater(), IsEmpty());
}

} // namespace
} // namespace quorrel
