// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/VolumeSpelling.h"

#include "Platform/VolumeWatch.h"
#include "Tests/Fakes/ThreadTime.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

namespace quorrel {
namespace {

class VolumeSpellingTest : public CatalogueFixture {
protected:
    std::shared_ptr<HostDefinition> addHost(const std::string& name) {
        catalogue.push_back(hostNamed(name));
        return catalogue.back();
    }

    [[nodiscard]] std::string spelled(
        const std::string& name, const std::string& kind = "smbfs", const std::string& server = {}) const {
        VolumeDescription volume;
        volume.volumeKind = kind;
        volume.serverName = server;
        return spelledAsInCatalogue(name, volume, catalogue);
    }

    std::vector<std::shared_ptr<HostDefinition>> catalogue;
};

TEST_F(VolumeSpellingTest, aNameThatTheCatalogueDoesNotHaveStays) {
    EXPECT_EQ(spelled("public"), "public");
    addSharePoint(addHost("server"), smb, "Publicly");
    addSharePoint(catalogue.front(), smb, "");
    EXPECT_EQ(spelled("public"), "public");
    EXPECT_EQ(spelled(""), "");
    EXPECT_EQ(spelled("/"), "/");
}

TEST_F(VolumeSpellingTest, letterCaseCountsForNothingInSharesOfWindowsServers) {
    const auto host = addHost("server");
    addSharePoint(host, smb, "Public");
    addSharePoint(host, cifs, "ÜBUNG");
    EXPECT_EQ(spelled("public"), "Public");
    EXPECT_EQ(spelled("PUBLIC"), "Public");
    EXPECT_EQ(spelled("übung"), "ÜBUNG");
}

TEST_F(VolumeSpellingTest, letterCaseCountsElsewhereAndSlashesAroundDoNot) {
    const auto host = addHost("server");
    addSharePoint(host, webDav, "/share/");
    addSharePoint(host, secureWebDav, "a/b/");
    addSharePoint(host, ftp, "/pub");
    addSharePoint(host, afp, "Private/");
    EXPECT_EQ(spelled("share", "webdav"), "/share/");
    EXPECT_EQ(spelled("a/b", "webdav"), "a/b/");
    EXPECT_EQ(spelled("pub", "ftp"), "/pub");
    EXPECT_EQ(spelled("Share", "webdav"), "Share");
    EXPECT_EQ(spelled("Pub", "ftp"), "Pub");
    EXPECT_EQ(spelled("Private", "afpfs"), "Private/");
    EXPECT_EQ(spelled("private", "afpfs"), "private");
}

TEST_F(VolumeSpellingTest, aFolderOfAShareIsFoundByItsWholePath) {
    const auto host = addHost("server");
    addSharePoint(host, smb, "Folder");
    addSharePoint(host, smb, "/Public/Folder");
    VolumeDescription volume { "public/folder", "smbfs", std::nullopt, true, {} };
    EXPECT_EQ(spelledAsInCatalogue("folder", volume, catalogue), "/Public/Folder");
    volume.volumeName = "other/folder";
    EXPECT_EQ(spelledAsInCatalogue("folder", volume, catalogue), "Folder");
    volume.volumeName = "folder";
    EXPECT_EQ(spelledAsInCatalogue("folder", volume, catalogue), "Folder");
}

TEST_F(VolumeSpellingTest, sharesOfOtherServicesGiveNoName) {
    const auto host = addHost("server");
    addSharePoint(host, afp, "Public");
    addSharePoint(host, webDav, "PUBLIC");
    addSharePoint(host, smb, "/share");
    addSharePoint(host, ftp, "/share");
    EXPECT_EQ(spelled("public"), "public");
    EXPECT_EQ(spelled("share", "webdav"), "share");
    for (const auto* kind : { "afpfs", "nfs", "" }) {
        EXPECT_EQ(spelled("public", kind), "public");
        EXPECT_EQ(spelled("share", kind), "share");
    }
}

TEST_F(VolumeSpellingTest, anExactNameGoesBeforeOneThatDiffersByCaseAndTheFirstBeforeTheRest) {
    addSharePoint(addHost("one"), smb, "Public");
    addSharePoint(addHost("two"), smb, "PUBLIC");
    EXPECT_EQ(spelled("public"), "Public");
    addSharePoint(addHost("three"), smb, "public");
    EXPECT_EQ(spelled("public"), "public");
}

TEST_F(VolumeSpellingTest, theVolumesOwnServerGoesBeforeAll) {
    addSharePoint(addHost("one"), smb, "public");
    const auto own = addHost("Attic");
    addSharePoint(own, smb, "PUBLIC");
    addSharePoint(own, smb, "Public");
    addSharePoint(addHost("three"), smb, "publiC");
    own->hostName.set("attic-7.lan");
    own->adresses.set(std::vector<std::string> { "10.0.0.9", "10.0.0.10" });
    for (const auto* server : { "attic", "ATTIC", "attic.local", "Attic-7.lan.", "10.0.0.10" })
        EXPECT_EQ(spelled("public", "smbfs", server), "PUBLIC") << server;
    EXPECT_EQ(spelled("Public", "smbfs", "attic"), "Public"); // exactly so, and its own
    for (const auto* server : { "", "10.0.0.1", "elsewhere" })
        EXPECT_EQ(spelled("public", "smbfs", server), "public") << server;
}

TEST_F(VolumeSpellingTest, aLargeCatalogueCostsNoQuadraticTime) {
    const auto timed = [this](int hosts, int sharesOfEach) {
        catalogue.clear();
        for (int host = 0; host < hosts; ++host) {
            addHost("host" + std::to_string(host));
            for (int share = 0; share < sharesOfEach; ++share)
                addSharePoint(catalogue.back(), smb, "Share" + std::to_string(share));
        }
        auto best = Seconds::max();
        for (int round = 0; round < 3; ++round) {
            const auto start = threadTime();
            EXPECT_EQ(spelled("share0", "smbfs", "nobody"), "Share0"); // on every host, none of which is its own
            best = std::min(best, threadTime() - start);
        }
        return best.count();
    };
    const double few = timed(10, 50);
    const double many = timed(300, 50);
    EXPECT_LT(many, few * 200); // quadratic time would be nine hundredfold
}

} // namespace
} // namespace quorrel
