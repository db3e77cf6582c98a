// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/PlistFile.h"
#include "Tests/Fakes/FakePropertyListFile.h"
#include "Tests/Fakes/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <filesystem>

namespace quorrel {

namespace {

struct OnFake final {
    FakePropertyListFile file;
    [[nodiscard]] static std::string path(const std::string& name) { return "/folder/" + name; }
    void putMalformed(const std::string& name) { file.putMalformed(path(name)); }
    void breakFile(const std::string& name) { file.failReads(path(name), "broken"); }
    void breakFolder() { file.failWrites("No space left on device"); }
};

struct OnLinux final {
    PlistFile file;
    TemporaryFolder folder;
    bool isBroken = false;
    [[nodiscard]] std::string path(const std::string& name) const {
        return isBroken ? folder.path("no-folder/" + name) : folder.path(name);
    }
    void putMalformed(const std::string& name) const { folder.put(name, "<plist><array><string>"); }
    void breakFile(const std::string& name) const {
        // A folder where the file should be reads no better for root than for anybody else.
        std::remove(path(name).c_str());
        std::filesystem::create_directory(path(name));
    }
    void breakFolder() { isBroken = true; }
};

PropertyValue sample() {
    Dictionary share;
    share.set("sharePoint", "Bücher & <mehr>");
    share.set("empty", "");
    share.set("spaces", "  in front and behind  ");
    share.set("lines", "one\ntwo\tthree");
    share.set("automatically", true);
    share.set("favroite", false);
    share.set("delaySeconds", 2.5);
    share.set("count", std::int64_t { -7 });
    share.set("large", std::int64_t { 9007199254740993 });
    share.set("bytes", PropertyValue::Data { 0, 1, 2, 255 });
    share.set("nothing", PropertyValue::Array {});
    share.set("none", Dictionary());
    return PropertyValue::Array { share, "text", Dictionary() };
}

} // namespace

template <typename Ground>
class PropertyListFileContract : public testing::Test {
protected:
    using Outcome = PropertyListReadResult::Outcome;
    Ground ground;
};

using Grounds = testing::Types<OnFake, OnLinux>;
TYPED_TEST_SUITE(PropertyListFileContract, Grounds);

TYPED_TEST(PropertyListFileContract, readsBackWhatItWrote) {
    const auto path = this->ground.path("a.plist");
    ASSERT_EQ(this->ground.file.write(path, sample()), std::nullopt);
    const auto result = this->ground.file.read(path);
    EXPECT_EQ(result.outcome, TestFixture::Outcome::Read);
    ASSERT_TRUE(result.root);
    EXPECT_EQ(*result.root, sample());
}

TYPED_TEST(PropertyListFileContract, aWriteReplacesTheOldFile) {
    const auto path = this->ground.path("a.plist");
    ASSERT_EQ(this->ground.file.write(path, sample()), std::nullopt);
    ASSERT_EQ(this->ground.file.write(path, PropertyValue::Array {}), std::nullopt);
    EXPECT_EQ(this->ground.file.read(path).root, PropertyValue(PropertyValue::Array {}));
}

TYPED_TEST(PropertyListFileContract, aFileThatIsNotThereIsMissing) {
    const auto result = this->ground.file.read(this->ground.path("none.plist"));
    EXPECT_EQ(result.outcome, TestFixture::Outcome::Missing);
    EXPECT_FALSE(result.root);
}

TYPED_TEST(PropertyListFileContract, aBrokenFileIsMalformedAndSaysWhy) {
    this->ground.putMalformed("a.plist");
    const auto result = this->ground.file.read(this->ground.path("a.plist"));
    EXPECT_EQ(result.outcome, TestFixture::Outcome::Malformed);
    EXPECT_FALSE(result.root);
    EXPECT_FALSE(result.reason.empty());
}

TYPED_TEST(PropertyListFileContract, aFileThatCannotBeReadIsUnreadableAndSaysWhy) {
    this->ground.breakFile("a.plist");
    const auto result = this->ground.file.read(this->ground.path("a.plist"));
    EXPECT_EQ(result.outcome, TestFixture::Outcome::Unreadable);
    EXPECT_FALSE(result.root);
    EXPECT_FALSE(result.reason.empty());
}

TYPED_TEST(PropertyListFileContract, aWriteThatFailsSaysWhy) {
    this->ground.breakFolder();
    const auto failure = this->ground.file.write(this->ground.path("a.plist"), sample());
    ASSERT_TRUE(failure);
    EXPECT_FALSE(failure->empty());
    EXPECT_EQ(this->ground.file.read(this->ground.path("a.plist")).outcome, TestFixture::Outcome::Missing);
}

TYPED_TEST(PropertyListFileContract, damagedFilesAreKeptUnderFreeNames) {
    using Outcome = PropertyListReadResult::Outcome;
    auto& file = this->ground.file;
    const auto path = this->ground.path("a.plist");
    for (int round = 0; round < 3; ++round) {
        this->ground.putMalformed("a.plist");
        ASSERT_EQ(file.keepDamaged(path), std::nullopt);
        EXPECT_EQ(file.read(path).outcome, Outcome::Malformed) << "until it is written anew";
        ASSERT_EQ(file.write(path, sample()), std::nullopt);
        EXPECT_EQ(file.read(path).root, sample());
    }
    EXPECT_EQ(file.read(path + ".damaged").outcome, Outcome::Malformed);
    EXPECT_EQ(file.read(path + ".damaged-2").outcome, Outcome::Malformed);
    EXPECT_EQ(file.read(path + ".damaged-3").outcome, Outcome::Malformed);
    EXPECT_EQ(file.read(path + ".damaged-4").outcome, Outcome::Missing);
}

TYPED_TEST(PropertyListFileContract, keepingWhatIsNotThereSucceeds) {
    EXPECT_EQ(this->ground.file.keepDamaged(this->ground.path("none.plist")), std::nullopt);
    EXPECT_EQ(this->ground.file.read(this->ground.path("none.plist.damaged")).outcome, TestFixture::Outcome::Missing);
}

} // namespace quorrel
