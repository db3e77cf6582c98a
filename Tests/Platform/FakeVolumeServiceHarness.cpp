// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeClock.h"
#include "Tests/Fakes/FakeVolumeService.h"
#include "Tests/Platform/VolumeServiceHarness.h"

#include <string>

namespace quorrel {

namespace {

class FakeHarness final : public VolumeServiceHarness {
public:
    FakeHarness() {
        m_service.setMountReply("smb://files/unknown", { VolumeStatus::notFound, {}, {}, false, {} });
        m_service.setMountReply("smb://files/wrong", { VolumeStatus::badLogin, {}, {}, false, {} });
        m_service.setMountReply("smb://nowhere/share", { VolumeStatus::notResponding, {}, {}, false, {} });
        m_service.setMountReply("smb://silent/share", { VolumeStatus::success, {}, Seconds(1000), false, {} });
        m_service.setMountReply("smb://late/share", { VolumeStatus::success, {}, {}, true, {} });
    }

    VolumeService& service() override { return m_service; }
    MountRequest share(int number) override {
        const auto name = "share" + std::to_string(number);
        return { "smb://files/" + name, std::nullopt, std::nullopt, name };
    }
    MountRequest unknownShare() override { return { "smb://files/unknown", {}, {}, "unknown" }; }
    MountRequest wrongPassword() override { return { "smb://files/wrong", "user", "not it", "wrong" }; }
    MountRequest unreachableServer() override { return { "smb://nowhere/share", {}, {}, "nowhere" }; }
    MountRequest silentServer() override { return { "smb://silent/share", {}, {}, "silent" }; }
    MountRequest lateServer() override { return { "smb://late/share", {}, {}, "late" }; }
    void letAnswer() override { m_service.release(); }
    bool waitForWaiting(int count) override { return m_service.waitForHanging(count); }

private:
    FakeClock m_clock;
    FakeVolumeService m_service { m_clock };
};

} // namespace

std::unique_ptr<VolumeServiceHarness> makeVolumeServiceHarness() {
    return std::make_unique<FakeHarness>();
}

} // namespace quorrel
