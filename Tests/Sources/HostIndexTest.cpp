// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/HostIndex.h"

#include "Sources/HostDefinition.h"
#include "Tests/Fakes/ThreadTime.h"
#include "Tests/Sources/CatalogueFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

class HostIndexTest : public CatalogueFixture {
protected:
    using HostPointer = HostIndex::HostPointer;

    struct Owner final : Observable {
        ObservableList<HostPointer> hosts { *this, "hosts" };
    };

    HostPointer make(const std::string& name) const { return HostDefinition::initWithName(name, context); }
    HostPointer add(const std::string& name) {
        const auto host = make(name);
        owner.hosts.append(host);
        return host;
    }

    Owner owner;
    HostIndex index { owner.hosts, context->changes->hostNames };
};

TEST_F(HostIndexTest, FindsHostsByTheirWholeNames) {
    EXPECT_EQ(index.firstNamed("nas"), nullptr);
    const auto nas = add("nas");
    const auto office = add("Office");
    EXPECT_EQ(index.firstNamed("nas"), nas);
    EXPECT_EQ(index.firstNamed("Office"), office);
    EXPECT_EQ(index.firstNamed("office"), nullptr);
    EXPECT_EQ(index.firstNamed("Off"), nullptr);
    EXPECT_EQ(index.firstNamed(""), nullptr);
}

TEST_F(HostIndexTest, OfHostsWithOneNameTheFirstCountsWhateverBecomesOfThem) {
    const auto first = add("nas");
    const auto second = add("nas");
    const auto third = add("other");
    EXPECT_EQ(index.firstNamed("nas"), first);
    first->displayName.set("former");
    EXPECT_EQ(index.firstNamed("nas"), second);
    EXPECT_EQ(index.firstNamed("former"), first);
    third->displayName.set("nas");
    EXPECT_EQ(index.firstNamed("nas"), second);
    owner.hosts.remove(second);
    EXPECT_EQ(index.firstNamed("nas"), third);
    first->displayName.set("nas");
    EXPECT_EQ(index.firstNamed("nas"), first);
}

TEST_F(HostIndexTest, AHostIsFoundByTheNameThatItHasNow) {
    const auto host = add("nas");
    EXPECT_EQ(index.firstNamed("nas"), host);
    host->displayName.set("nas.local");
    EXPECT_EQ(index.firstNamed("nas"), nullptr);
    EXPECT_EQ(index.firstNamed("nas.local"), host);
    host->displayName.set(std::nullopt);
    EXPECT_EQ(index.firstNamed("nas.local"), nullptr);
    EXPECT_EQ(index.firstNamed(""), nullptr) << "no name is not an empty one";
    host->displayName.set("");
    EXPECT_EQ(index.firstNamed(""), host);
    Dictionary dictionary;
    dictionary.set("displayName", "loaded");
    host->loadDictionary(dictionary);
    EXPECT_EQ(index.firstNamed("loaded"), host);
}

TEST_F(HostIndexTest, AListThatIsReplacedIsReadAnewAnnouncedOrNot) {
    add("nas");
    EXPECT_NE(index.firstNamed("nas"), nullptr);
    const auto loaded = make("nas");
    owner.hosts.replaceUnannounced({ make("Office"), loaded });
    EXPECT_EQ(index.firstNamed("nas"), loaded);
    const auto other = make("nas");
    owner.hosts.replace({ other });
    EXPECT_EQ(index.firstNamed("nas"), other);
    EXPECT_EQ(index.firstNamed("Office"), nullptr);
    owner.hosts.removeAll();
    EXPECT_EQ(index.firstNamed("nas"), nullptr);
}

TEST_F(HostIndexTest, WhoIsToldOfAChangeFindsHostsAsTheyAreThen) {
    const auto host = add("nas");
    std::vector<HostPointer> found;
    const auto names
        = host->observe("displayName", [&](std::string_view, Change) { found.push_back(index.firstNamed("new")); });
    host->displayName.set("new");
    EXPECT_EQ(found, (std::vector<HostPointer> { nullptr, host }));
    found.clear();
    const auto list
        = owner.observe("hosts", [&](std::string_view, Change) { found.push_back(index.firstNamed("Office")); });
    const auto office = add("Office");
    EXPECT_EQ(found, (std::vector<HostPointer> { nullptr, office }));
}

TEST_F(HostIndexTest, KeepsNoHostAlive) {
    std::weak_ptr<HostDefinition> weak = add("nas");
    EXPECT_NE(index.firstNamed("nas"), nullptr);
    owner.hosts.removeAll();
    EXPECT_TRUE(weak.expired());
}

TEST_F(HostIndexTest, FindingEachOfManyHostsCostsNoQuadraticTime) {
    const auto timed = [this](int count) {
        std::vector<HostPointer> all;
        for (int number = 0; number < count; ++number)
            all.push_back(make("server " + std::to_string(number)));
        owner.hosts.replace(all);
        auto best = Seconds::max();
        for (int round = 0; round < 5; ++round) {
            all.front()->displayName.set("server 0 of round " + std::to_string(round));
            const auto start = threadTime();
            for (const auto& host : all)
                EXPECT_EQ(index.firstNamed(*host->displayName.get()), host);
            best = std::min(best, threadTime() - start);
        }
        return best.count();
    };
    const double few = timed(300);
    const double many = timed(3'000);
    EXPECT_LT(many, few * 40); // quadratic time would be a hundredfold
}

} // namespace quorrel
