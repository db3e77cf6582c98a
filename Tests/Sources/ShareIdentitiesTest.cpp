// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/ShareIdentities.h"

#include "Foundation/Text.h"
#include "Tests/Fakes/Catalogue.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <vector>

namespace quorrel {
namespace {

using testing::ElementsAre;

class ShareIdentitiesTest : public testing::Test {
protected:
    std::shared_ptr<HostDefinition> addHost(const std::string& name, const std::vector<std::string>& shares) {
        auto host = catalogue.addHost(name, shares);
        for (const auto& share : host->sharePoints.snapshot())
            share->setDisplayType("Server Message Block (smb)");
        return host;
    }

    std::vector<std::string> all() {
        identities.update(catalogue.hosts());
        std::vector<std::string> result;
        for (const auto& host : catalogue.hosts())
            for (const auto& share : host->sharePoints.snapshot()) {
                result.push_back(identities.identityOf(*share));
                EXPECT_EQ(identities.sharePoint(result.back()), share);
            }
        return result;
    }

    Catalogue catalogue;
    ShareIdentities identities;
};

TEST_F(ShareIdentitiesTest, CallsAShareByItsNames) {
    const auto host = addHost("nas", { "docs", "" });
    host->sharePoints.snapshot()[1]->setDisplayType("Secure WebDAV (https)");
    EXPECT_THAT(all(), ElementsAre("nas/smb/docs", "nas/https/"));
}

TEST_F(ShareIdentitiesTest, KeepsNamesApartThatWouldRunTogether) {
    addHost("nas/smb", { "docs" });
    addHost("nas", { "smb/docs", "a#2", "100%", "two\nlines" });
    EXPECT_THAT(all(),
        ElementsAre(
            "nas%2Fsmb/smb/docs", "nas/smb/smb%2Fdocs", "nas/smb/a%232", "nas/smb/100%25", "nas/smb/two%0Alines"));
}

TEST_F(ShareIdentitiesTest, NumbersNamesakesAndKeepsTheirNumbers) {
    addHost("nas", { "docs", "docs" });
    const auto second = addHost("nas", { "docs" });
    EXPECT_THAT(all(), ElementsAre("nas/smb/docs", "nas/smb/docs#2", "nas/smb/docs#3"));
    const auto first = catalogue.hosts()[0];
    first->sharePoints.remove(first->sharePoints.snapshot()[0]);
    EXPECT_THAT(all(), ElementsAre("nas/smb/docs#2", "nas/smb/docs#3"));
    const auto added = addHost("nas", { "docs" });
    EXPECT_THAT(all(), ElementsAre("nas/smb/docs#2", "nas/smb/docs#3", "nas/smb/docs"));
}

TEST_F(ShareIdentitiesTest, GivesARenamedShareAnotherOne) {
    const auto host = addHost("nas", { "docs" });
    EXPECT_THAT(all(), ElementsAre("nas/smb/docs"));
    host->sharePoints.snapshot()[0]->sharePoint.set("papers");
    EXPECT_THAT(all(), ElementsAre("nas/smb/papers"));
    EXPECT_EQ(identities.sharePoint("nas/smb/docs"), nullptr);
    host->displayName.set("box");
    EXPECT_THAT(all(), ElementsAre("box/smb/papers"));
}

TEST_F(ShareIdentitiesTest, AreTextOnOneLineWhateverTheNames) {
    std::vector<std::string> names;
    for (const auto& [evil, name] : hostileNames())
        names.push_back(name);
    addHost("nas", names);
    const auto found = all();
    for (const auto& each : found) {
        EXPECT_TRUE(Text::isUTF8(each));
        EXPECT_TRUE(std::none_of(each.begin(), each.end(), [](char letter) { return letter >= 0 && letter < ' '; }));
    }
    EXPECT_EQ(std::set<std::string>(found.begin(), found.end()).size(), names.size());
}

} // namespace
} // namespace quorrel
