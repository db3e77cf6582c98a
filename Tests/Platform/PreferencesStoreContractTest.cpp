// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/KeyFilePreferencesStore.h"
#include "Tests/Fakes/FakePreferencesStore.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <memory>

#include <sys/stat.h>

namespace quorrel {

namespace {

using Texts = std::vector<std::string>;

struct OnFake final {
    FakePreferencesStore store;
    void storeElsewhere(const PreferenceValues& values) { store.setValues(values); }
    void breakStore() { store.failSaves(true); }
    void mendStore() { store.failSaves(false); }
    PreferenceValues stored() const { return store.values(); }
};

struct OnLinux final {
    TemporaryFolder folder;
    std::string path = folder.path("Quorrel/Quorrel.conf");
    KeyFilePreferencesStore store { path };
    void storeElsewhere(const PreferenceValues& values) const {
        KeyFilePreferencesStore other(path);
        static_cast<void>(other.load());
        ASSERT_TRUE(other.save(values));
    }
    void breakStore() const {
        if (std::filesystem::exists(path))
            std::filesystem::rename(path, path + ".aside");
        std::filesystem::create_directories(path); // a folder where the file should be
    }
    void mendStore() const {
        std::filesystem::remove(path);
        if (std::filesystem::exists(path + ".aside"))
            std::filesystem::rename(path + ".aside", path);
    }
    PreferenceValues stored() const { return KeyFilePreferencesStore(path).load(); }
};

PreferenceValues sample() {
    return { { "logToConsole", true }, { "http", false }, { "monitorConnectivityHost", "files.local" },
        { "looksLikeAFlag", "true" }, { "empty", "" }, { "spaces", "  a\tb\nc\r  " }, { "signs", "#;=[x]\\\"ü" },
        { "trustedCertificates", Texts { "AA:BB", "semi;colon", "", " blank " } }, { "noTexts", Texts {} },
        { "oneEmptyText", Texts { "" } }, { "one", Texts { "one" } } };
}

} // namespace

template <typename Ground>
class PreferencesStoreContract : public testing::Test {
protected:
    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(PreferencesStoreContract, Grounds);

TYPED_TEST(PreferencesStoreContract, startsEmpty) {
    EXPECT_EQ(this->ground.store.load(), PreferenceValues());
}

TYPED_TEST(PreferencesStoreContract, loadsWhatWasSavedInItsKind) {
    ASSERT_TRUE(this->ground.store.save(sample()));
    EXPECT_EQ(this->ground.store.load(), sample());
    EXPECT_EQ(this->ground.stored(), sample());
}

TYPED_TEST(PreferencesStoreContract, whatIsNoLongerThereIsRemoved) {
    ASSERT_TRUE(this->ground.store.save(sample()));
    ASSERT_TRUE(this->ground.store.save({ { "http", false } }));
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "http", false } }));
}

TYPED_TEST(PreferencesStoreContract, aValueMayChangeItsKind) {
    ASSERT_TRUE(this->ground.store.save({ { "key", true } }));
    ASSERT_TRUE(this->ground.store.save({ { "key", "text" } }));
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "key", "text" } }));
    ASSERT_TRUE(this->ground.store.save({ { "key", Texts { "a", "b" } } }));
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "key", Texts { "a", "b" } } }));
}

TYPED_TEST(PreferencesStoreContract, whatAnotherProcessStoredUnderOtherKeysSurvives) {
    ASSERT_TRUE(this->ground.store.save({ { "afp", true }, { "smb", true } }));
    this->ground.storeElsewhere({ { "afp", true }, { "smb", false }, { "ftp", true } });
    ASSERT_TRUE(this->ground.store.save({ { "afp", false }, { "smb", true } }));
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "afp", false }, { "smb", false }, { "ftp", true } }));
}

TYPED_TEST(PreferencesStoreContract, aFailedSaveLeavesTheOldValuesAndIsMadeUpForByTheNext) {
    ASSERT_TRUE(this->ground.store.save({ { "afp", true } }));
    this->ground.breakStore();
    EXPECT_FALSE(this->ground.store.save({ { "afp", true }, { "smb", true } }));
    this->ground.mendStore();
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "afp", true } }));
    EXPECT_TRUE(this->ground.store.save({ { "afp", true }, { "smb", true } }));
    EXPECT_EQ(this->ground.stored(), (PreferenceValues { { "afp", true }, { "smb", true } }));
}

class KeyFilePreferencesStoreTest : public testing::Test {
protected:
    TemporaryFolder folder;
    std::string path = folder.path("Quorrel.conf");
    KeyFilePreferencesStore store { path };
};

TEST_F(KeyFilePreferencesStoreTest, folderAndFileAreForTheOwnerAloneWhateverTheUmask) {
    const auto before = ::umask(0);
    KeyFilePreferencesStore deep(folder.path("config/Quorrel/Quorrel.conf"));
    const bool saved = deep.save({ { "afp", true } });
    ::umask(before);
    ASSERT_TRUE(saved);
    EXPECT_EQ(folder.modeOf("config"), 0700U);
    EXPECT_EQ(folder.modeOf("config/Quorrel"), 0700U);
    EXPECT_EQ(folder.modeOf("config/Quorrel/Quorrel.conf"), 0600U);
}

TEST_F(KeyFilePreferencesStoreTest, peopleCanReadAndWriteTheFile) {
    ASSERT_TRUE(store.save({ { "afp", true }, { "host", "files" }, { "list", Texts { "a", "b" } } }));
    EXPECT_EQ(folder.contentOf("Quorrel.conf"), "[Flags]\nafp=true\n\n[Texts]\nhost=files\n\n[Lists]\nlist=a;b;\n");
    folder.put("Quorrel.conf", "[Flags]\nsmb = true\n[Lists]\nlist=c;d\n");
    EXPECT_EQ(store.load(), (PreferenceValues { { "smb", true }, { "list", Texts { "c", "d" } } }));
}

TEST_F(KeyFilePreferencesStoreTest, whatItDoesNotKnowSurvivesASave) {
    folder.put("Quorrel.conf",
        "# mine\n\n[Flags]\n# why\nafp=true\nodd=maybe\n\n[Window]\nwidth=12\nname[de]=Fenster\n\n[Flagsy]\nafp=no\n");
    auto values = store.load();
    EXPECT_EQ(values, (PreferenceValues { { "afp", true } }));
    values["afp"] = false;
    values["host"] = "files";
    ASSERT_TRUE(store.save(values));
    EXPECT_EQ(folder.contentOf("Quorrel.conf"),
        "# mine\n\n[Flags]\n# why\nafp=false\nodd=maybe\n\n[Window]\nwidth=12\nname[de]=Fenster\n\n[Flagsy]\nafp=no\n\n"
        "[Texts]\nhost=files\n");
}

TEST_F(KeyFilePreferencesStoreTest, aFileThatCannotBeParsedIsKeptBeforeItIsReplaced) {
    for (const std::string name : { "Quorrel.conf.damaged", "Quorrel.conf.damaged-2" }) {
        folder.put("Quorrel.conf", "this is no key file: " + name);
        EXPECT_EQ(KeyFilePreferencesStore(path).load(), PreferenceValues());
        EXPECT_EQ(folder.contentOf("Quorrel.conf"), "this is no key file: " + name);
        ASSERT_TRUE(store.save({ { "afp", true } }));
        EXPECT_EQ(folder.contentOf(name), "this is no key file: " + name);
        EXPECT_EQ(store.load(), (PreferenceValues { { "afp", true } }));
    }
}

TEST_F(KeyFilePreferencesStoreTest, aFileThatSomebodyIsEditingLeavesTheValuesAsTheyWere) {
    const PreferenceValues values { { "afp", true }, { "smb", true } };
    ASSERT_TRUE(store.save(values));
    folder.put("Quorrel.conf", "[Fla");
    EXPECT_EQ(store.load(), values);
    std::filesystem::remove(path);
    EXPECT_EQ(store.load(), values);
    folder.put("Quorrel.conf", "");
    EXPECT_EQ(store.load(), PreferenceValues());
}

TEST_F(KeyFilePreferencesStoreTest, aFileThatDisappearedIsWrittenWhole) {
    ASSERT_TRUE(store.save({ { "afp", true }, { "smb", true } }));
    std::filesystem::remove(path);
    ASSERT_TRUE(store.save({ { "afp", true }, { "smb", false } }));
    EXPECT_EQ(store.load(), (PreferenceValues { { "afp", true }, { "smb", false } }));
}

TEST_F(KeyFilePreferencesStoreTest, aKeyThatAFileCannotHoldFailsTheSaveAndChangesNothing) {
    ASSERT_TRUE(store.save({ { "afp", true } }));
    for (const std::string key : { "", "a=b", "a[de]", "a\nb", " a", "a ", "#a", "\xFF" })
        EXPECT_FALSE(store.save({ { "afp", false }, { key, true } })) << key;
    EXPECT_EQ(store.load(), (PreferenceValues { { "afp", true } }));
}

TEST_F(KeyFilePreferencesStoreTest, whatIsNotUTF8IsReplacedAndTheFileStaysReadable) {
    ASSERT_TRUE(store.save({ { "host", std::string("a\xFF\0z", 4) } }));
    EXPECT_EQ(store.load(), (PreferenceValues { { "host", "a\xEF\xBF\xBD\xEF\xBF\xBDz" } }));
}

} // namespace quorrel
