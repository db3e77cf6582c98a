// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/MountedVolumes.h"

#include "Tests/Sources/MountFixture.h"

namespace quorrel {

namespace {

class MountedVolumesTest : public MountFixture {
protected:
    static MountedVolume volume(const std::string& scheme, const std::string& hostName, const std::string& path) {
        MountedVolume result;
        result.volumeReference = 7;
        result.scheme = scheme;
        result.host = hostName;
        result.user = "ann";
        result.path = path;
        return result;
    }

    /// Whether the share point took the volume, alone among the hosts.
    [[nodiscard]] bool takes(const std::shared_ptr<SharePointDefinition>& sharePoint, const MountedVolume& volume) {
        const int adopted = adoptMountedVolumes(hosts(), { volume });
        const bool taken = sharePoint->referenceNumber.get() == volume.volumeReference;
        EXPECT_EQ(adopted, taken ? 1 : 0);
        EXPECT_EQ(sharePoint->mounted.get(), taken);
        sharePoint->referenceNumber.set(std::nullopt);
        sharePoint->setMounted(false);
        return taken;
    }

    [[nodiscard]] std::vector<std::shared_ptr<HostDefinition>> hosts() const {
        std::vector<std::shared_ptr<HostDefinition>> result { host };
        result.insert(result.end(), others.begin(), others.end());
        return result;
    }

    /// Another host with a share that fits in all but the host's name, so that the name must decide.
    std::shared_ptr<SharePointDefinition> addTwin(const std::string& displayType, const std::string& name) {
        const auto other = hostNamed("other");
        addService(other, displayType);
        auto twin = addSharePoint(other, displayType, name);
        twin->userName.set("ann");
        others.push_back(other);
        return twin;
    }

    std::vector<std::shared_ptr<HostDefinition>> others;
};

TEST_F(MountedVolumesTest, AnAdoptedShareIsOnlineWithTheVolumesReference) {
    const auto sharePoint = share(smb);
    auto mounted = volume("smb", "server", "Data");
    mounted.volumeReference = 12;
    mounted.location = "/home/test/Volumes/Data";
    EXPECT_EQ(adoptMountedVolumes(hosts(), { mounted }), 1);
    EXPECT_EQ(sharePoint->referenceNumber.get(), 12);
    EXPECT_EQ(sharePoint->volumePath.get(), "/home/test/Volumes/Data");
    EXPECT_EQ(sharePoint->status.get(), "Online");
}

TEST_F(MountedVolumesTest, TheSchemeIsThatOfTheService) {
    EXPECT_FALSE(takes(share(ftp), volume("smb", "server", "Data")));
    EXPECT_TRUE(takes(share(cifs), volume("smb", "server", "Data")));
    EXPECT_FALSE(takes(share(webDav, "Web"), volume("https", "server", "Web")));
    EXPECT_TRUE(takes(share(secureWebDav, "Safe"), volume("https", "server", "Safe")));
}

TEST_F(MountedVolumesTest, LetterCaseOfAPathMattersSaveInSmb) {
    EXPECT_TRUE(takes(share(smb), volume("smb", "server", "data")));
    EXPECT_FALSE(takes(share(afp), volume("afp", "server", "data")));
    EXPECT_TRUE(takes(share(webDav, "/a/b/"), volume("http", "server", "a/b")));
    EXPECT_TRUE(takes(share(ftp, ""), volume("ftp", "server", "")));
}

TEST_F(MountedVolumesTest, TheUserMustBeTheSame) {
    auto mounted = volume("smb", "server", "Data");
    mounted.user = "bob";
    EXPECT_FALSE(takes(share(smb), mounted));
    mounted.user.clear();
    EXPECT_FALSE(takes(share(smb), mounted));
}

TEST_F(MountedVolumesTest, AGuestGoesByAnyOfTheGuestsNames) {
    const auto anonymous = share(ftp);
    anonymous->guestLogin.set(true);
    for (const auto* name : { "", "anonymous" }) {
        auto mounted = volume("ftp", "server", "Data");
        mounted.user = name;
        EXPECT_TRUE(takes(anonymous, mounted)) << name;
    }
    const auto guest = share(smb, "Pub");
    guest->userName.set("Guest");
    for (const auto* name : { "", "Guest" }) {
        auto mounted = volume("smb", "server", "Pub");
        mounted.user = name;
        EXPECT_TRUE(takes(guest, mounted)) << name;
        guest->guestLogin.set(true);
        EXPECT_TRUE(takes(guest, mounted)) << name;
        guest->guestLogin.set(false);
    }
}

TEST_F(MountedVolumesTest, PortsMustAgreeWhereBothAreKnown) {
    const auto sharePoint = share(smb);
    const auto service = host->serviceForDisplayType(smb);
    auto mounted = volume("smb", "server", "Data");
    mounted.port = 4450;
    EXPECT_TRUE(takes(sharePoint, mounted));
    service->port.set(4450);
    EXPECT_TRUE(takes(sharePoint, mounted));
    service->port.set(445);
    EXPECT_FALSE(takes(sharePoint, mounted));
    mounted.port = 0;
    EXPECT_TRUE(takes(sharePoint, mounted));
}

TEST_F(MountedVolumesTest, AHostIsFoundByAnyOfItsNames) {
    const auto sharePoint = share(smb);
    const auto twin = addTwin(smb, "Data");
    host->hostName.set("box.example.");
    host->adresses.set(std::vector<std::string> { "10.0.0.1", "10.0.0.2" });
    for (const auto* name : { "server", "SERVER", "server.", "server.local", "Server.local.", "server.example",
             "box.example", "BOX.example.", "10.0.0.2" })
        EXPECT_TRUE(takes(sharePoint, volume("smb", name, "Data"))) << name;
    for (const auto* name : { "", "serve", "box", "10.0.0.3", "stranger" })
        EXPECT_EQ(adoptMountedVolumes(hosts(), { volume("smb", name, "Data") }), 0) << name;
    EXPECT_FALSE(twin->mounted.get());
}

TEST_F(MountedVolumesTest, AHostWrittenWithItsPortIsFoundWithoutIt) {
    host->displayName.set("127.0.0.1:4450");
    const auto sharePoint = share(smb);
    addTwin(smb, "Data");
    auto mounted = volume("smb", "127.0.0.1", "Data");
    mounted.port = 4450;
    EXPECT_TRUE(takes(sharePoint, mounted));
}

TEST_F(MountedVolumesTest, TheFirstPartOfAnAddressIsNoHostsName) {
    host->displayName.set("10");
    share(smb);
    addTwin(smb, "Data");
    EXPECT_EQ(adoptMountedVolumes(hosts(), { volume("smb", "10.0.0.9", "Data") }), 0);
}

TEST_F(MountedVolumesTest, UnderAnUnknownNameTheOnlyShareThatFitsIsTaken) {
    const auto sharePoint = share(smb);
    EXPECT_TRUE(takes(sharePoint, volume("smb", "stranger", "Data")));
    addTwin(smb, "Data");
    EXPECT_FALSE(takes(sharePoint, volume("smb", "stranger", "Data")));
}

TEST_F(MountedVolumesTest, AVolumeOfAnotherHostIsNotTakenForItself) {
    const auto sharePoint = share(smb);
    const auto twin = addTwin(smb, "Data");
    twin->referenceNumber.set(3);
    EXPECT_FALSE(takes(sharePoint, volume("smb", "other", "Data")));
    EXPECT_EQ(twin->referenceNumber.get(), 3);
}

TEST_F(MountedVolumesTest, EveryVolumeFindsAShareOfItsOwn) {
    const auto first = share(smb);
    const auto second = share(smb, "Second");
    const auto copy = share(smb);
    auto other = volume("smb", "server", "second");
    other.volumeReference = 8;
    auto again = volume("smb", "server", "data");
    again.volumeReference = 9;
    EXPECT_EQ(adoptMountedVolumes(hosts(), { volume("smb", "server", "data"), other, again, again }), 3);
    EXPECT_EQ(first->referenceNumber.get(), 7);
    EXPECT_EQ(second->referenceNumber.get(), 8);
    EXPECT_EQ(copy->referenceNumber.get(), 9);
}

TEST_F(MountedVolumesTest, AShareWithoutItsServiceFitsNothing) {
    const auto sharePoint = share(smb);
    sharePoint->parentService.set({});
    EXPECT_FALSE(takes(sharePoint, volume("smb", "server", "Data")));
    EXPECT_FALSE(takes(sharePoint, volume("", "server", "Data")));
}

TEST_F(MountedVolumesTest, WhatAnEarlierRunMountedIsFoundByALaterOne) {
    const auto sharePoint = share(smb, "My Data");
    ASSERT_EQ(volumes.mountServerVolume({ "smb://server/My%20Data", "ann", "p@ss", "My Data" }).status, 0);
    EXPECT_EQ(adoptMountedVolumes(hosts(), volumes.mountedVolumes()), 1);
    EXPECT_EQ(volumes.unmountVolume(static_cast<std::int16_t>(sharePoint->referenceNumber.get().value_or(0))), 0);
}

} // namespace

} // namespace quorrel
