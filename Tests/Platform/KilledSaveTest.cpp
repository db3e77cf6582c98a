// SPDX-License-Identifier: GPL-3.0-or-later
//
// Real processes that save, and that are killed at random moments. QUORREL_SAVES is how many saves it takes them in
// all, QUORREL_SEED what the moments are drawn from.
#include "Platform/Linux/PlistFile.h"
#include "Tests/Fakes/TemporaryFolder.h"
#include "Tests/Platform/NumberedCatalogue.h"
#include "Tests/Platform/SavingProcess.h"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <iostream>
#include <random>

namespace quorrel {

namespace {

using std::chrono::microseconds;
using testing::ElementsAre;
using testing::SizeIs;

constexpr int manyMore = 1'000'000; // than a process gets to before it is killed

int setting(const char* name, int usual) {
    const char* text = std::getenv(name);
    return text ? std::atoi(text) : usual;
}

} // namespace

class KilledSaveTest : public testing::Test {
protected:
    KilledSaveTest() {
        std::cout << "QUORREL_SEED=" << seed << '\n';
        // At most so many while a process starts, saves some and is killed.
        const auto begin = std::chrono::steady_clock::now();
        for (int number = 1; number <= 30; ++number)
            EXPECT_EQ(files.write(file, NumberedCatalogue::make("first", number)), std::nullopt);
        timeOfASave = std::chrono::duration_cast<microseconds>((std::chrono::steady_clock::now() - begin) / 30);
    }

    microseconds someMoment(int saves) {
        return microseconds(std::uniform_int_distribution<long>(0, saves * timeOfASave.count())(random));
    }

    [[nodiscard]] std::optional<std::pair<std::string, int>> onDisk() {
        const auto read = files.read(file);
        EXPECT_TRUE(read.root) << read.reason;
        const auto found = read.root ? NumberedCatalogue::identify(*read.root) : std::nullopt;
        EXPECT_TRUE(found) << folder.contentOf("Quorrel2.plist");
        return found;
    }

    const int seed = setting("QUORREL_SEED", static_cast<int>(std::random_device()() >> 1U));
    const int wantedSaves = setting("QUORREL_SAVES", 300);
    std::mt19937 random { static_cast<std::mt19937::result_type>(seed) };
    TemporaryFolder folder;
    const std::string file = folder.path("Quorrel2.plist");
    PlistFile files;
    microseconds timeOfASave {};
};

TEST_F(KilledSaveTest, leavesAWholeCatalogueThatIsTheOldOrTheNewOne) {
    int number = 1000; // the last that is known to be saved
    int saves = 0;
    int kills = 0;
    int leftovers = 0;
    ASSERT_EQ(files.write(file, NumberedCatalogue::make("a", number)), std::nullopt);
    while (saves < wantedSaves) {
        SavingProcess saver(file, "a", number + 1, number + manyMore);
        const int some = std::uniform_int_distribution<int>(0, 10)(random);
        ASSERT_TRUE(saver.hasSaved(number + some));
        // What the one before left, what is written now, and the catalogue.
        EXPECT_LE(folder.names().size(), some > 0 ? 2U : 3U);
        saver.killAfter(someMoment(3));
        const int last = saver.lastSaved();
        const auto found = onDisk();
        ASSERT_TRUE(found);
        // It may have been killed before it could say so.
        ASSERT_TRUE(found->second == last || found->second == last + 1) << found->second << " after " << last;
        ASSERT_THAT(folder.names(), SizeIs(testing::Le(2U)));
        leftovers += static_cast<int>(folder.names().size()) - 1;
        saves += found->second - number;
        number = found->second;
        ++kills;
    }
    std::cout << saves << " saves, " << kills << " kills, " << leftovers << " in the middle of one\n";
    EXPECT_GT(leftovers, 0) << "none was hit in the middle";
    ASSERT_EQ(files.write(file, NumberedCatalogue::make("a", number)), std::nullopt);
    EXPECT_THAT(folder.names(), ElementsAre("Quorrel2.plist"));
}

TEST_F(KilledSaveTest, anotherOneGoesOnSavingWhateverIsKilledBesideIt) {
    int kills = 0;
    SavingProcess survivor(file, "survivor", 1, wantedSaves);
    for (int goal = 1; goal < wantedSaves; goal += 7, ++kills) {
        SavingProcess victim(file, "victim", 1, manyMore);
        ASSERT_TRUE(survivor.hasSaved(goal));
        victim.killAfter(someMoment(3));
        ASSERT_TRUE(onDisk());
        // What the victim left, what the survivor writes now, and the catalogue; a name may change while it is read,
        // and who is killed in the middle of removing a leftover leaves that one.
        ASSERT_THAT(folder.names(), SizeIs(testing::Le(5U)));
    }
    EXPECT_EQ(survivor.exitStatus(), 0) << "one of its saves has failed";
    std::cout << kills << " kills beside " << wantedSaves << " saves\n";
    EXPECT_EQ(survivor.lastSaved(), wantedSaves);
    ASSERT_EQ(files.write(file, NumberedCatalogue::make("a", 1)), std::nullopt);
    EXPECT_THAT(folder.names(), ElementsAre("Quorrel2.plist"));
}

TEST_F(KilledSaveTest, severalThatSaveAtOnceNeverMixWhatTheySave) {
    const int each = wantedSaves / 4;
    SavingProcess first(file, "one", 1, each);
    SavingProcess second(file, "two", 1, each);
    SavingProcess third(file, "three", 1, each);
    for (int goal = 1; goal <= each; ++goal) {
        ASSERT_TRUE(first.hasSaved(goal));
        ASSERT_TRUE(onDisk());
    }
    EXPECT_EQ(first.exitStatus(), 0);
    EXPECT_EQ(second.exitStatus(), 0);
    EXPECT_EQ(third.exitStatus(), 0);
    const auto last = onDisk();
    ASSERT_TRUE(last);
    EXPECT_EQ(last->second, each);
    EXPECT_THAT(folder.names(), ElementsAre("Quorrel2.plist"));
}

} // namespace quorrel
