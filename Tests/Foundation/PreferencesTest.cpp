// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Preferences.h"
#include "Tests/Fakes/FakePreferencesStore.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <thread>
#include <vector>

namespace quorrel {

namespace {

using Texts = std::vector<std::string>;

} // namespace

class PreferencesTest : public testing::Test {
protected:
    std::shared_ptr<FakePreferencesStore> store = std::make_shared<FakePreferencesStore>(
        PreferenceValues { { "afp", true }, { "host", "files" }, { "list", Texts { "a", "b" } } });
    Preferences preferences { store };
};

TEST_F(PreferencesTest, readTheStore) {
    EXPECT_TRUE(preferences.boolean("afp"));
    EXPECT_EQ(preferences.text("host"), "files");
    EXPECT_EQ(preferences.texts("list"), (Texts { "a", "b" }));
}

TEST_F(PreferencesTest, absentAndOfAnotherKindReadAsFalseAndAsEmpty) {
    EXPECT_EQ(preferences.value("smb"), std::nullopt);
    EXPECT_FALSE(preferences.boolean("smb"));
    EXPECT_FALSE(preferences.boolean("host"));
    EXPECT_EQ(preferences.text("afp"), "");
    EXPECT_EQ(preferences.texts("host"), Texts());
}

TEST_F(PreferencesTest, falseIsNotAbsent) {
    ASSERT_TRUE(preferences.set("smb", false));
    EXPECT_EQ(preferences.value("smb"), PreferenceValue(false));
}

TEST_F(PreferencesTest, setAndRemoveReachTheStore) {
    EXPECT_TRUE(preferences.set("smb", true));
    EXPECT_TRUE(preferences.set("afp", std::nullopt));
    EXPECT_EQ(preferences.value("afp"), std::nullopt);
    EXPECT_EQ(
        store->values(), (PreferenceValues { { "host", "files" }, { "list", Texts { "a", "b" } }, { "smb", true } }));
}

TEST_F(PreferencesTest, aFailedSaveIsToldAndTheValueHoldsForThisRun) {
    store->failSaves(true);
    EXPECT_FALSE(preferences.set("smb", true));
    EXPECT_TRUE(preferences.boolean("smb"));
    store->failSaves(false);
    EXPECT_TRUE(preferences.set("ftp", true));
    EXPECT_TRUE(store->values().contains("smb"));
}

TEST_F(PreferencesTest, liveWithoutAStoreAsLongAsTheObject) {
    Preferences bare;
    EXPECT_TRUE(bare.set("afp", true));
    EXPECT_TRUE(bare.boolean("afp"));
    bare.reload();
    EXPECT_TRUE(bare.boolean("afp"));
}

TEST_F(PreferencesTest, tellTheObserversOfTheKeyAlsoOfAnEqualValue) {
    std::vector<std::optional<PreferenceValue>> seen;
    const auto subscription
        = preferences.observe("afp", [&](const std::optional<PreferenceValue>& value) { seen.push_back(value); });
    preferences.set("afp", false);
    preferences.set("smb", true);
    preferences.set("afp", false);
    preferences.set("afp", std::nullopt);
    EXPECT_EQ(seen, (std::vector<std::optional<PreferenceValue>> { false, false, std::nullopt }));
}

TEST_F(PreferencesTest, tellOnTheThreadThatSetsWithNoLockHeld) {
    std::thread::id heard;
    const auto subscription = preferences.observe("afp", [&](const auto&) {
        heard = std::this_thread::get_id();
        EXPECT_FALSE(preferences.boolean("afp")); // it is there already
        std::thread([&] { preferences.set("smb", true); }).join(); // would wait for ever on a held lock
    });
    std::thread([&] {
        preferences.set("afp", false);
        EXPECT_EQ(heard, std::this_thread::get_id());
    }).join();
    EXPECT_TRUE(preferences.boolean("smb"));
}

TEST_F(PreferencesTest, reloadTellsOfWhatAnotherProcessChangedAndOfNothingElse) {
    std::vector<std::string> seen;
    const auto note = [&](const std::string& key) {
        return preferences.observe(
            key, [&seen, key](const auto& value) { seen.push_back(key + (value ? "" : " gone")); });
    };
    const auto afp = note("afp");
    const auto host = note("host");
    const auto list = note("list");
    const auto smb = note("smb");
    store->setValues({ { "afp", true }, { "host", "other" }, { "smb", false } });
    preferences.reload();
    EXPECT_EQ(seen, (std::vector<std::string> { "host", "list gone", "smb" }));
    EXPECT_EQ(preferences.text("host"), "other");
    EXPECT_EQ(preferences.value("list"), std::nullopt);
}

TEST_F(PreferencesTest, whatManyThreadsSetAllReachesTheStore) {
    std::vector<std::thread> threads;
    for (int number = 0; number < 4; ++number)
        threads.emplace_back([&, number] {
            for (int round = 0; round < 50; ++round) {
                preferences.set("key" + std::to_string(number), std::to_string(round));
                if (round % 10 == 0)
                    preferences.reload();
            }
        });
    for (auto& thread : threads)
        thread.join();
    for (int number = 0; number < 4; ++number) {
        EXPECT_EQ(preferences.text("key" + std::to_string(number)), "49");
        EXPECT_EQ(store->values().at("key" + std::to_string(number)), PreferenceValue("49"));
    }
}

} // namespace quorrel
