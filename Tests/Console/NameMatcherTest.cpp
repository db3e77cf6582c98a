// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/NameMatcher.h"

#include "Tests/Fakes/Catalogue.h"
#include "Tests/Fakes/HostileNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace quorrel {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::Not;
using testing::Optional;
using testing::SizeIs;

class NameMatcherTest : public testing::Test {
protected:
    /// HOST/SHARE of what the name means; "nothing" when it is unknown.
    [[nodiscard]] std::vector<std::string> meaningOf(const std::string& name) const {
        const auto found = NameMatcher(catalogue.hosts()).sharePointsFor(name);
        if (!found)
            return { "nothing" };
        std::vector<std::string> names;
        for (const auto& sharePoint : *found)
            names.push_back(textOf(sharePoint->parentHost.get().lock()->displayName.get()) + '/'
                + textOf(sharePoint->sharePoint.get()));
        return names;
    }
    [[nodiscard]] std::vector<std::string> nearestTo(const std::string& name) const {
        return NameMatcher(catalogue.hosts()).nearestNames(name);
    }

    Catalogue catalogue;
};

TEST_F(NameMatcherTest, aHostMeansAllItsShares) {
    catalogue.addHost("nas", { "docs", "music" });
    catalogue.addHost("web", { "site" });
    EXPECT_THAT(meaningOf("nas"), ElementsAre("nas/docs", "nas/music"));
    EXPECT_THAT(NameMatcher(catalogue.hosts()).allSharePoints(), SizeIs(3));
}

TEST_F(NameMatcherTest, aShareMeansItselfUnderWhicheverService) {
    catalogue.addHost("nas", { "docs", "music", "docs" });
    EXPECT_THAT(meaningOf("nas/docs"), ElementsAre("nas/docs", "nas/docs"));
}

TEST_F(NameMatcherTest, bothOfTwoHostsOfOneNameAreMeant) {
    catalogue.addHost("nas", { "docs" });
    catalogue.addHost("nas", { "docs", "music" });
    EXPECT_THAT(meaningOf("nas"), SizeIs(3));
    EXPECT_THAT(meaningOf("nas/docs"), SizeIs(2));
}

TEST_F(NameMatcherTest, shareNamesMayHoldSlashes) {
    catalogue.addHost("web", { "a/b", "/c" });
    EXPECT_THAT(meaningOf("web/a/b"), ElementsAre("web/a/b"));
    EXPECT_THAT(meaningOf("web//c"), ElementsAre("web//c"));
    EXPECT_THAT(meaningOf("web/a"), ElementsAre("nothing"));
}

TEST_F(NameMatcherTest, hostNamesMayHoldSlashes) {
    catalogue.addHost("nas", { "old" });
    catalogue.addHost("nas/cellar", { "docs" });
    EXPECT_THAT(meaningOf("nas/cellar"), ElementsAre("nas/cellar/docs"));
    EXPECT_THAT(meaningOf("nas/cellar/docs"), ElementsAre("nas/cellar/docs"));
}

TEST_F(NameMatcherTest, theRootOfAServerIsAShareWithoutAName) {
    catalogue.addHost("ftp", { "" });
    EXPECT_THAT(meaningOf("ftp/"), ElementsAre("ftp/"));
}

TEST_F(NameMatcherTest, letterCaseIsSetAsideWhereItIsClear) {
    catalogue.addHost("NAS", { "Docs" });
    EXPECT_THAT(meaningOf("nas"), ElementsAre("NAS/Docs"));
    EXPECT_THAT(meaningOf("nas/docs"), ElementsAre("NAS/Docs"));
    catalogue.addHost("Nas", { "Music" });
    EXPECT_THAT(meaningOf("nas"), ElementsAre("nothing"));
    EXPECT_THAT(meaningOf("Nas"), ElementsAre("Nas/Music"));
}

TEST_F(NameMatcherTest, theExactSpellingGoesFirst) {
    catalogue.addHost("nas", { "docs", "Docs" });
    EXPECT_THAT(meaningOf("nas/docs"), ElementsAre("nas/docs"));
    EXPECT_THAT(meaningOf("nas/DOCS"), ElementsAre("nothing"));
}

TEST_F(NameMatcherTest, aHostWithoutSharesIsKnown) {
    catalogue.addHost("nas");
    EXPECT_THAT(NameMatcher(catalogue.hosts()).sharePointsFor("nas"), Optional(IsEmpty()));
    EXPECT_THAT(meaningOf("nas/docs"), ElementsAre("nothing"));
}

TEST_F(NameMatcherTest, suggestsTheNearestNames) {
    catalogue.addHost("nas", { "docs", "music" });
    catalogue.addHost("webserver", { "site" });
    EXPECT_THAT(nearestTo("nsa"), ElementsAre("nas"));
    EXPECT_THAT(nearestTo("NAZ"), ElementsAre("nas"));
    EXPECT_THAT(nearestTo("nas/dcos"), ElementsAre("nas/docs"));
    EXPECT_THAT(nearestTo("docs"), ElementsAre("nas/docs"));
    EXPECT_THAT(nearestTo("webs"), ElementsAre("webserver"));
}

TEST_F(NameMatcherTest, suggestsThreeNamesAtMostAndNothingFromNothing) {
    EXPECT_THAT(nearestTo("x"), IsEmpty());
    catalogue.addHost("nas", { "a1", "a2", "a3", "a4", "a5" });
    EXPECT_THAT(nearestTo("nas/a9"), ElementsAre("nas/a1", "nas/a2", "nas/a3"));
}

TEST_F(NameMatcherTest, anyNameOfTheCatalogueMayStandBesideTheRightOne) {
    catalogue.addHost("nas", { "docs" });
    for (const auto& [evil, name] : hostileNames()) {
        catalogue.addHost(name, { name });
        EXPECT_THAT(nearestTo("nas/dcos"), ElementsAre("nas/docs")) << evil;
    }
    EXPECT_THAT(nearestTo(std::string(200, 'y')), Not(IsEmpty()));
}

} // namespace
} // namespace quorrel
