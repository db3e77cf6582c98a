// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/DesktopMounts.h"
#include "Tests/Integration/VolumeTestBed.h"

#include <algorithm>
#include <filesystem>
#include <iterator>

namespace quorrel {

/// One share of one server, asked for by the server's address and by its name.
class MountByTwoNamesTest : public VolumeTestBed {
protected:
    [[nodiscard]] std::size_t mounts() const {
        return entriesOf(runtimeDirectory + "/gvfs"); // of all programs of the bed
    }
    [[nodiscard]] std::size_t links() const { return entriesOf(home + "/Volumes"); }

    static std::size_t entriesOf(const std::string& folder) {
        std::error_code failure;
        const std::filesystem::directory_iterator entries(folder, failure);
        return failure ? 0 : static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
    }

    [[nodiscard]] static MountRequest at(const std::string& name, MountRequest request, const std::string& server) {
        const auto address = variable("QTB_" + server + "_HOST");
        request.url.replace(request.url.find(address), address.size(), name);
        return request;
    }

    void expectOneVolume(
        const MountRequest& first, const MountRequest& second, const std::string& file, const std::string& greeting) {
        const auto one = service->mountServerVolume(first);
        ASSERT_EQ(one.status, VolumeStatus::success) << first.url;
        const auto other = service->mountServerVolume(second);
        ASSERT_EQ(other.status, VolumeStatus::success) << second.url;
        EXPECT_EQ(other.volumeReference, one.volumeReference);
        EXPECT_EQ(other.location, one.location);
        EXPECT_EQ(mounts(), 1U);
        EXPECT_EQ(links(), 1U);
        ASSERT_EQ(service->mountedVolumes().size(), 1U);
        EXPECT_EQ(contentOf(other.location + file), "Hello from " + greeting + "\n");
        EXPECT_EQ(service->unmountVolume(other.volumeReference), VolumeStatus::success);
        EXPECT_TRUE(eventually([&] { return mounts() == 0; }));
        EXPECT_EQ(links(), 0U);
        EXPECT_TRUE(service->mountedVolumes().empty());
    }

    void expectOneVolume(const std::string& name, const MountRequest& byAddress, const std::string& server,
        const std::string& greeting) {
        expectOneVolume(byAddress, at(name, byAddress, server), "/hello.txt", greeting);
        expectOneVolume(at(name, byAddress, server), byAddress, "/hello.txt", greeting);
    }
};

TEST_F(MountByTwoNamesTest, WindowsShareOfAUserIsMountedOnce) {
    expectOneVolume("files.lan.test", asUser(url("smb", "SMB", "priv"), "priv"), "SMB", "priv");
}

TEST_F(MountByTwoNamesTest, WindowsShareForGuestsIsMountedOnce) {
    expectOneVolume("alias.lan.test", asGuest(url("smb", "SMB", "Mixed%20Case"), "Mixed Case"), "SMB", "Mixed Case");
}

TEST_F(MountByTwoNamesTest, WebFolderIsMountedOnce) {
    expectOneVolume("dual.lan.test", asUser(url("http", "DAV", ""), "dav"), "DAV", "dav");
}

TEST_F(MountByTwoNamesTest, FileTransferFolderIsMountedOnce) {
    expectOneVolume("ftp.lan.test", asUser(url("ftp", "FTP", "folder"), "folder"), "FTP", "ftp/folder");
}

TEST_F(MountByTwoNamesTest, AppleVolumeIsMountedOnce) {
    expectInSpiteOfCrashes(
        [this] { expectOneVolume("attic.local", asUser(url("afp", "AFP", "Private"), "Private"), "AFP", "Private"); });
}

TEST_F(MountByTwoNamesTest, VolumeOfAnEarlierRunIsTheSameVolume) {
    const auto byAddress = asUser(url("smb", "SMB", "priv"), "priv");
    ASSERT_EQ(service->mountServerVolume(byAddress).status, VolumeStatus::success);
    const auto next = makeService();
    const auto reply = next->mountServerVolume(at("files.lan.test", byAddress, "SMB"));
    EXPECT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(reply.location, volumePath("priv"));
    EXPECT_EQ(mounts(), 1U);
    EXPECT_EQ(next->unmountVolume(reply.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(eventually([&] { return mounts() == 0; }));
}

TEST_F(MountByTwoNamesTest, OthersMountStaysTheirs) {
    DesktopMounts desktop;
    ASSERT_TRUE(desktop.mount(url("smb", "SMB", "pub")));
    ASSERT_TRUE(eventually([&] { return mounts() == 1; }));
    const auto reply
        = service->mountServerVolume(at("files.lan.test", asGuest(url("smb", "SMB", "pub"), "pub"), "SMB"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(mounts(), 2U);
    EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
    EXPECT_TRUE(eventually([&] { return mounts() == 1; }));
}

TEST_F(MountByTwoNamesTest, AnotherServersShareOfThatNameIsAnotherVolume) {
    const auto byAddress = asUser(url("smb", "SMB", "priv"), "priv");
    const auto reply = service->mountServerVolume(byAddress);
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(service->mountServerVolume(at("dead.lan.test", byAddress, "SMB")).status, VolumeStatus::notResponding);
    EXPECT_EQ(service->mountServerVolume(at("nobody.lan.test", byAddress, "SMB")).status, VolumeStatus::notResponding);
    EXPECT_EQ(mounts(), 1U);
    EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
}

} // namespace quorrel
