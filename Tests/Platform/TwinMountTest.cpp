// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/TwinMount.h"

#include <gtest/gtest.h>

#include <map>

namespace quorrel {

class TwinMountTest : public testing::Test {
protected:
    static GvfsLocation locationOf(const std::string& url, std::optional<std::string> user = std::nullopt) {
        return GvfsLocation::fromRequest({ url, user, user ? std::optional<std::string>("x") : std::nullopt, "name" })
            .location.value_or(GvfsLocation {});
    }

    static GvfsMount mountAt(const std::string& host, const std::string& type = "smb-share") {
        GvfsMount mount;
        mount.type = type;
        mount.host = host;
        if (type == "smb-share" || type == "afp-volume")
            mount.share = "data";
        if (type == "ftp" || type == "afp-volume")
            mount.user = "anonymous";
        return mount;
    }

    [[nodiscard]] std::optional<GvfsLocation> locate(
        const GvfsLocation& location, const std::vector<GvfsMount>& mounts) {
        return TwinMount::locate(location, mounts, [this](const std::string& name) {
            asked.push_back(name);
            std::vector<InternetAddress> found;
            for (const auto& text : names[name])
                found.push_back(InternetAddress::parse(text).value());
            return found;
        });
    }

    [[nodiscard]] bool isTwin(const std::string& url, const GvfsMount& mount) {
        const auto twin = locate(locationOf(url), { mount });
        return twin && twin->host == mount.host && mount.pathWithin(*twin);
    }

    std::map<std::string, std::vector<std::string>> names { { "files", { "10.0.0.7", "fd77::3", "fe80::1:2" } },
        { "other", { "10.0.0.8" } } };
    std::vector<std::string> asked;
};

TEST_F(TwinMountTest, NameMeetsEachOfItsAddresses) {
    EXPECT_TRUE(isTwin("smb://files/Data", mountAt("10.0.0.7")));
    EXPECT_TRUE(isTwin("smb://files/Data", mountAt("fd77::3")));
    EXPECT_TRUE(isTwin("smb://files/Data", mountAt("FD77:0:0::0003")));
    EXPECT_TRUE(isTwin("smb://files/Data", mountAt("::ffff:10.0.0.7")));
    EXPECT_TRUE(isTwin("smb://files/Data", mountAt("fe80::1:2%lo")));
    EXPECT_FALSE(isTwin("smb://files/Data", mountAt("10.0.0.8")));
    EXPECT_FALSE(isTwin("smb://files/Data", mountAt("fd77::4")));
    EXPECT_FALSE(isTwin("smb://nobody/Data", mountAt("10.0.0.7")));
}

TEST_F(TwinMountTest, AddressMeetsTheNameThatStandsForIt) {
    EXPECT_TRUE(isTwin("smb://10.0.0.7/data", mountAt("files")));
    EXPECT_TRUE(isTwin("smb://[fd77::3]/data", mountAt("files")));
    EXPECT_FALSE(isTwin("smb://10.0.0.7/data", mountAt("other")));
    EXPECT_EQ(asked, (std::vector<std::string> { "files", "files", "other" }));
}

TEST_F(TwinMountTest, EveryProtocolHasTwins) {
    auto secure = mountAt("10.0.0.7", "dav");
    secure.isSecure = true;
    EXPECT_TRUE(isTwin("http://files/share", mountAt("10.0.0.7", "dav")));
    EXPECT_TRUE(isTwin("https://files/share", secure));
    EXPECT_TRUE(isTwin("ftp://files/folder", mountAt("fd77::3", "ftp")));
    EXPECT_TRUE(isTwin("afp://files/data/a", mountAt("10.0.0.7", "afp-volume")));
    EXPECT_FALSE(isTwin("http://files/share", secure));
    EXPECT_FALSE(isTwin("afp://files/data", mountAt("10.0.0.7")));
}

TEST_F(TwinMountTest, NoNameIsLookedUpUnlessAllElseIsTheSame) {
    EXPECT_FALSE(isTwin("smb://files/backup", mountAt("10.0.0.7")));
    EXPECT_FALSE(isTwin("smb://files:4450/data", mountAt("10.0.0.7")));
    EXPECT_FALSE(locate(locationOf("smb://files/data", "me"), { mountAt("10.0.0.7") }));
    EXPECT_FALSE(isTwin("smb://files/data", mountAt("other")));
    EXPECT_FALSE(isTwin("smb://10.0.0.7/data", mountAt("10.0.0.8")));
    EXPECT_FALSE(locate(locationOf("smb://files/data"), {}));
    EXPECT_TRUE(asked.empty());
}

TEST_F(TwinMountTest, MountUnderTheVeryHostGoesFirst) {
    EXPECT_FALSE(locate(locationOf("smb://files/data"), { mountAt("10.0.0.7"), mountAt("FILES") }));
    EXPECT_TRUE(asked.empty());
}

TEST_F(TwinMountTest, OneLookUpServesForAllMountsByAddress) {
    const auto twin = locate(locationOf("smb://files/data"), { mountAt("10.0.0.8"), mountAt("fd77::3") });
    ASSERT_TRUE(twin);
    EXPECT_EQ(twin->uri, "smb://[fd77::3]/data");
    EXPECT_EQ(asked.size(), 1U);
}

} // namespace quorrel
