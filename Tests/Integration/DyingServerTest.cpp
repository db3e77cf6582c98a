// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/BedServer.h"
#include "Tests/Integration/VolumeTestBed.h"

#include <algorithm>
#include <chrono>
#include <ostream>

namespace quorrel {

namespace {

struct Kind final {
    std::string name;
    std::string scheme;
    std::string server; ///< as the test bed calls it
    std::string path;
    std::string greeting;
};

void PrintTo(const Kind& kind, std::ostream* stream) {
    *stream << kind.name;
}

constexpr Seconds deadline { 20 };
constexpr Seconds slack { 2 };

} // namespace

/// A server dies while its volume is mounted, and comes back.
class DyingServerTest : public VolumeTestBed, public testing::WithParamInterface<Kind> {
protected:
    void SetUp() override {
        VolumeTestBed::SetUp();
        service = makeService(deadline, deadline);
    }

    [[nodiscard]] static MountRequest request() {
        auto key = GetParam().server;
        std::transform(key.begin(), key.end(), key.begin(), [](char letter) { return static_cast<char>(letter - 32); });
        return asUser(url(GetParam().scheme, key, GetParam().path), "volume");
    }

    void expectReadable() {
        EXPECT_EQ(contentOf(volumePath("volume") + "/hello.txt"), "Hello from " + GetParam().greeting + "\n");
    }

    /// Calls it, and expects it to end in time.
    template <typename Call>
    static auto timed(const Call& call) {
        const auto start = std::chrono::steady_clock::now();
        const auto result = call();
        EXPECT_LT((std::chrono::steady_clock::now() - start), deadline + slack);
        return result;
    }

    /// Whatever gvfs makes of the loss: what is listed has its link, and what has a link is listed. Soon, since gvfs
    /// may give a volume up between the two looks.
    void expectLinkAsListed() {
        EXPECT_TRUE(eventually([this] { return service->mountedVolumes().empty() != isThere(volumePath("volume")); }));
    }

    [[nodiscard]] static bool isFailureOfServer(std::int32_t status) {
        return status == VolumeStatus::notResponding || status == VolumeStatus::shuttingDown
            || status == VolumeStatus::ioError;
    }

    void expectUnmountInTimeAndMount();
    void expectHonestMount();
    void expectUsableAfterReturn();

    void expectOf(const std::function<void()>& facts) {
        if (GetParam().scheme != "afp") {
            facts();
            return;
        }
        expectInSpiteOfCrashes([&] {
            EXPECT_TRUE(server.restart());
            facts();
        });
    }

    BedServer server { GetParam().server };
};

void DyingServerTest::expectUnmountInTimeAndMount() {
    const auto reply = service->mountServerVolume(request());
    ASSERT_EQ(reply.status, VolumeStatus::success);
    expectReadable();
    ASSERT_TRUE(server.kill());
    expectLinkAsListed();
    const auto status = timed([&] { return service->unmountVolume(reply.volumeReference); });
    // Where gvfs gave the volume up by itself, there is none left to unmount.
    EXPECT_TRUE(status == VolumeStatus::success || isFailureOfServer(status) || service->mountedVolumes().empty())
        << status;
    EXPECT_TRUE(status != VolumeStatus::success || service->mountedVolumes().empty());
    expectLinkAsListed();
    const auto dead = timed([&] { return service->mountServerVolume(request()); });
    EXPECT_EQ(dead.status, VolumeStatus::notResponding);
    EXPECT_EQ(dead.volumeReference, 0);
    EXPECT_TRUE(service->mountedVolumes().empty());
    EXPECT_FALSE(isThere(volumePath("volume")));
    ASSERT_TRUE(server.restart());
    const auto again = timed([&] { return service->mountServerVolume(request()); });
    EXPECT_EQ(again.status, VolumeStatus::success);
    expectReadable();
    EXPECT_EQ(service->unmountVolume(again.volumeReference), VolumeStatus::success);
}

void DyingServerTest::expectHonestMount() {
    ASSERT_EQ(service->mountServerVolume(request()).status, VolumeStatus::success);
    expectReadable();
    ASSERT_TRUE(server.kill());
    const auto dead = timed([&] { return service->mountServerVolume(request()); });
    EXPECT_TRUE(isFailureOfServer(dead.status)) << dead.status;
    EXPECT_EQ(dead.volumeReference, 0);
    EXPECT_TRUE(sink.contains("Cannot mount"));
    expectLinkAsListed();
    ASSERT_TRUE(server.restart());
    const auto again = timed([&] { return service->mountServerVolume(request()); });
    EXPECT_EQ(again.status, VolumeStatus::success);
    expectReadable();
    EXPECT_EQ(service->mountedVolumes().size(), 1U);
}

void DyingServerTest::expectUsableAfterReturn() {
    ASSERT_EQ(service->mountServerVolume(request()).status, VolumeStatus::success);
    expectReadable();
    ASSERT_TRUE(server.kill());
    ASSERT_TRUE(server.restart());
    const auto again = timed([&] { return service->mountServerVolume(request()); });
    EXPECT_EQ(again.status, VolumeStatus::success);
    expectReadable();
    const auto status = timed([&] { return service->unmountVolume(again.volumeReference); });
    EXPECT_EQ(status, VolumeStatus::success);
    expectLinkAsListed();
}

TEST_P(DyingServerTest, UnmountEndsInTimeAndTheNextMountWorks) {
    expectOf([this] { expectUnmountInTimeAndMount(); });
}

TEST_P(DyingServerTest, MountOfItsVolumeDoesNotClaimToHaveWorked) {
    expectOf([this] { expectHonestMount(); });
}

TEST_P(DyingServerTest, VolumeIsUsableAfterItsServersReturn) {
    expectOf([this] { expectUsableAfterReturn(); });
}

INSTANTIATE_TEST_SUITE_P(Kinds, DyingServerTest,
    testing::Values(Kind { "Windows", "smb", "smb", "priv", "priv" }, Kind { "Web", "http", "dav", "", "dav" },
        Kind { "FileTransfer", "ftp", "ftp", "", "ftp" }, Kind { "Apple", "afp", "afp", "Private", "Private" }),
    [](const auto& info) { return info.param.name; });

} // namespace quorrel
