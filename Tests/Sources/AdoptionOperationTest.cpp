// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/AdoptionOperation.h"

#include "Tests/Sources/MountFixture.h"

namespace quorrel {

namespace {

using AdoptionOperationTest = MountFixture;

TEST_F(AdoptionOperationTest, BringsSharesOnlineThatAnEarlierRunLeftMounted) {
    const auto sharePoint = share(smb);
    const auto reply = volumes.mountServerVolume({ "smb://server/Data", "ann", {}, "Data" });
    int told = 0;
    AdoptionOperation operation({ host }, volumes, [&] { ++told; });
    operation.main();
    EXPECT_EQ(sharePoint->referenceNumber.get(), reply.volumeReference);
    EXPECT_EQ(sharePoint->status.get(), "Online");
    EXPECT_EQ(told, 1);
}

TEST_F(AdoptionOperationTest, SaysNothingWhereNothingIsMounted) {
    const auto sharePoint = share(smb);
    int told = 0;
    AdoptionOperation operation({ host }, volumes, [&] { ++told; });
    operation.main();
    EXPECT_FALSE(sharePoint->mounted.get());
    EXPECT_EQ(told, 0);
}

} // namespace

} // namespace quorrel
