// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/SilentServer.h"
#include "Tests/Integration/VolumeTestBed.h"
#include "Tests/Platform/VolumeServiceHarness.h"

namespace quorrel {

namespace {

/// The bed's helpers without a test around them.
class LinuxHarness final : public VolumeServiceHarness, private VolumeTestBed {
public:
    VolumeService& service() override { return *m_service; }
    MountRequest share(int number) override {
        const auto name = "s0" + std::to_string(number);
        return asGuest(url("smb", "SMB", name), name);
    }
    MountRequest unknownShare() override { return asUser(url("smb", "SMB", "unknown"), "unknown"); }
    MountRequest wrongPassword() override {
        return { url("http", "DAV", ""), variable("QTB_USER"), "not it", "wrong" };
    }
    MountRequest unreachableServer() override { return asUser("smb://127.0.0.99/share", "nowhere"); }
    MountRequest silentServer() override { return lateServer(); }
    MountRequest lateServer() override {
        return asUser("http://127.0.0.1:" + std::to_string(m_proxy.port()) + "/", "late");
    }
    void letAnswer() override { m_proxy.speak(); }
    bool waitForWaiting(int count) override {
        return eventually([&] { return m_proxy.connections() >= count; });
    }

private:
    void TestBody() override { }

    SilentServer m_proxy { variable("QTB_DAV_HOST"), static_cast<std::uint16_t>(std::stoi(variable("QTB_DAV_PORT"))) };
    std::unique_ptr<LinuxVolumeService> m_service = makeService(Seconds(5));
};

} // namespace

std::unique_ptr<VolumeServiceHarness> makeVolumeServiceHarness() {
    return std::make_unique<LinuxHarness>();
}

} // namespace quorrel
