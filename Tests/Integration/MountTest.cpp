// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/VolumeTestBed.h"

#include <filesystem>

namespace quorrel {

class MountTest : public VolumeTestBed {
protected:
    /// Reads and writes through the volume's path, looks at the server's side, and unmounts.
    void expectUsable(const MountRequest& request, const std::string& servedFolder, const std::string& greeting) {
        const auto reply = service->mountServerVolume(request);
        ASSERT_EQ(reply.status, VolumeStatus::success) << request.url;
        EXPECT_GT(reply.volumeReference, 0);
        const auto path = volumePath(request.volumeName);
        EXPECT_EQ(contentOf(path + "/hello.txt"), "Hello from " + greeting + "\n");
        EXPECT_EQ(contentOf(path + "/Über uns/hello.txt"), "Hello from " + greeting + "/Über uns\n");
        EXPECT_TRUE(write(path + "/written.txt", "by " + request.volumeName));
        EXPECT_TRUE(eventually([&] { return contentOf(servedFolder + "/written.txt") == "by " + request.volumeName; }))
            << contentOf(servedFolder + "/written.txt");
        // gvfs's AFP gives an I/O error once in a while where a moment later there is none.
        std::error_code failure;
        EXPECT_TRUE(eventually([&] { return std::filesystem::remove(path + "/written.txt", failure); }))
            << failure.message();
        EXPECT_EQ(service->unmountVolume(reply.volumeReference), VolumeStatus::success);
        EXPECT_FALSE(isThere(path));
        EXPECT_TRUE(service->mountedVolumes().empty());
    }
};

TEST_F(MountTest, WindowsShareOfAUser) {
    expectUsable(asUser(url("smb", "SMB", "priv"), "priv"), variable("QTB_SMB_PRIV"), "priv");
}

TEST_F(MountTest, WindowsShareForGuests) {
    expectUsable(asGuest(url("smb", "SMB", "pub"), "pub"), variable("QTB_SMB_PUB"), "pub");
}

TEST_F(MountTest, WindowsShareForTheUserNamedGuest) {
    expectUsable({ url("smb", "SMB", "pub"), "Guest", std::nullopt, "pub" }, variable("QTB_SMB_PUB"), "pub");
}

TEST_F(MountTest, WindowsShareKeepsItsSpelling) {
    expectUsable(asGuest(url("smb", "SMB", "Mixed%20Case"), "Mixed Case"), variable("QTB_SMB_MIXED"), "Mixed Case");
}

TEST_F(MountTest, WebFolderOfAUser) {
    expectUsable(asUser(url("http", "DAV", ""), "dav"), variable("QTB_DAV_ROOT"), "dav");
}

TEST_F(MountTest, WebFolderBelowTheServersRoot) {
    expectUsable(asUser(url("http", "APACHE", "share"), "share"), variable("QTB_APACHE_ROOT"), "apache");
}

TEST_F(MountTest, WebFolderOverTLSWithATrustedFingerprint) {
    auto fingerprint = variable("QTB_DAVS_FINGERPRINT");
    preferences.set("trustedCertificates", std::vector<std::string> { "00", fingerprint });
    expectUsable(asUser(url("https", "DAVS", ""), "davs"), variable("QTB_DAVS_ROOT"), "davs");
}

TEST_F(MountTest, UntrustedCertificateIsRefusedWithItsFingerprintInTheLog) {
    const auto reply = service->mountServerVolume(asUser(url("https", "DAVS", ""), "davs"));
    EXPECT_LT(reply.status, -10000);
    EXPECT_TRUE(sink.contains(variable("QTB_DAVS_FINGERPRINT")));
    preferences.set("trustedCertificates", std::vector<std::string> { std::string(64, 'a') });
    EXPECT_EQ(service->mountServerVolume(asUser(url("https", "DAVS", ""), "davs")).status, reply.status);
}

TEST_F(MountTest, FileTransferFolderOfAUser) {
    expectUsable(asUser(url("ftp", "FTP", ""), "ftp"), variable("QTB_FTP_ROOT"), "ftp");
}

TEST_F(MountTest, FileTransferFolderBelowTheRoot) {
    const auto reply = service->mountServerVolume(asUser(url("ftp", "FTP", "folder"), "folder"));
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("folder") + "/hello.txt"), "Hello from ftp/folder\n");
}

TEST_F(MountTest, FileTransferForAnonymous) {
    const auto reply = service->mountServerVolume({ url("ftp", "FTP", ""), "anonymous", "quorrel.invalid", "public" });
    ASSERT_EQ(reply.status, VolumeStatus::success);
    EXPECT_EQ(contentOf(volumePath("public") + "/hello.txt"), "Hello from ftp-public\n");
}

TEST_F(MountTest, AppleVolumeOfAUser) {
    expectInSpiteOfCrashes([this] {
        expectUsable(asUser(url("afp", "AFP", "Private"), "Private"), variable("QTB_AFP_PRIVATE"), "Private");
    });
}

TEST_F(MountTest, AppleVolumeForGuests) {
    const auto guest = "afp://Guest;AUTH=No%20User%20Authent:password@" + variable("QTB_AFP_HOST") + "/Public";
    expectInSpiteOfCrashes([&] {
        const auto reply = service->mountServerVolume({ guest, "Guest", std::nullopt, "Public" });
        ASSERT_EQ(reply.status, VolumeStatus::success);
        EXPECT_EQ(contentOf(volumePath("Public") + "/hello.txt"), "Hello from Public\n");
    });
}

TEST_F(MountTest, WrongPasswordsAreBadLogins) {
    for (const auto& place :
        { url("smb", "SMB", "priv"), url("http", "DAV", ""), url("ftp", "FTP", ""), url("afp", "AFP", "Private") }) {
        const auto reply = service->mountServerVolume({ place, variable("QTB_USER"), "not it", "wrong" });
        EXPECT_EQ(reply.status, VolumeStatus::badLogin) << place;
        EXPECT_EQ(reply.volumeReference, 0);
    }
    EXPECT_FALSE(isThere(volumePath("wrong")));
}

TEST_F(MountTest, GuestsAreRefusedWhereAUserIsWanted) {
    EXPECT_EQ(service->mountServerVolume(asGuest(url("smb", "SMB", "priv"), "priv")).status, VolumeStatus::badLogin);
    EXPECT_EQ(service->mountServerVolume(asGuest(url("http", "DAV", ""), "dav")).status, VolumeStatus::badLogin);
}

TEST_F(MountTest, UnknownSharesAreNotFound) {
    for (const auto& place : { url("smb", "SMB", "nothere"), url("http", "APACHE", "share/nothere"),
             url("ftp", "FTP", "nothere"), url("afp", "AFP", "nothere") })
        EXPECT_EQ(service->mountServerVolume(asUser(place, "nothere")).status, VolumeStatus::notFound) << place;
    EXPECT_TRUE(service->mountedVolumes().empty());
}

TEST_F(MountTest, RefusedPortsAreServersThatDoNotRespond) {
    for (const std::string place : { "smb://127.0.0.99/pub", "http://127.0.0.99/", "https://127.0.0.99/",
             "ftp://127.0.0.99/", "afp://127.0.0.99/Public" }) {
        const auto reply = service->mountServerVolume(asUser(place, "refused"));
        EXPECT_EQ(reply.status, VolumeStatus::notResponding) << place;
    }
}

TEST_F(MountTest, UnknownNamesAreServersThatDoNotRespond) {
    for (const std::string scheme : { "smb", "http", "ftp", "afp" })
        EXPECT_EQ(service->mountServerVolume(asUser(scheme + "://nobody.invalid/pub", "unknown")).status,
            VolumeStatus::notResponding)
            << scheme;
}

} // namespace quorrel
