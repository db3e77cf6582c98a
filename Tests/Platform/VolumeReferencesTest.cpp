// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeReferences.h"

#include <gtest/gtest.h>

namespace quorrel {

TEST(VolumeReferencesTest, IdentityKeepsItsNumberUntilItIsForgotten) {
    VolumeReferences references;
    const auto first = references.enter("/g/a", "/g/a", {}).value();
    EXPECT_EQ(references.enter("/g/a", "/g/a", {}), first);
    const auto second = references.enter("/g/b", "/g/b", {}).value();
    EXPECT_NE(first, second);
    references.forget(first);
    EXPECT_FALSE(references.find(first));
    EXPECT_NE(references.enter("/g/a", "/g/a", {}), first);
}

TEST(VolumeReferencesTest, NumbersStayPositiveAndUniqueForEver) {
    VolumeReferences references;
    const auto kept = references.enter("/kept", "/kept", {}).value();
    for (int round = 0; round < 70000; ++round) {
        const auto number = references.enter("/x", "/x", {}).value();
        ASSERT_GT(number, 0);
        ASSERT_NE(number, kept);
        references.forget(number);
    }
}

TEST(VolumeReferencesTest, MountMayGoOnlyWithItsLastVolume) {
    VolumeReferences references;
    const auto whole = references.enter("/g/dav", "/g/dav", {}).value();
    const auto part = references.enter("/g/dav/part", "/g/dav", {}).value();
    EXPECT_FALSE(references.beginRemoval(whole, "/g/dav"));
    references.forget(part);
    EXPECT_TRUE(references.beginRemoval(whole, "/g/dav"));
    EXPECT_FALSE(references.enter("/g/dav/late", "/g/dav", {}));
    references.endRemoval("/g/dav");
    EXPECT_TRUE(references.enter("/g/dav/late", "/g/dav", {}));
}

} // namespace quorrel
