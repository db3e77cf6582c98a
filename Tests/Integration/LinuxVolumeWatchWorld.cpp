// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxVolumeWatch.h"
#include "Tests/Integration/DesktopMounts.h"
#include "Tests/Platform/GlibTurns.h"
#include "Tests/Platform/VolumeWatchWorld.h"

#include <cstdlib>

namespace quorrel {
namespace {

std::string variable(const char* name) {
    const char* value = std::getenv(name);
    return value ? value : "";
}

class LinuxVolumeWatchWorld final : public VolumeWatchWorld {
public:
    VolumeWatch& watch() override { return m_watch; }
    bool mount(int number) override { return m_mounts.mount(locationOf(number)); }
    bool unmount(int number) override { return m_mounts.unmount(locationOf(number)); }
    std::string nameOf(int number) const override { return "s0" + std::to_string(number); }
    bool runUntil(const std::function<bool()>& condition, Seconds limit) override {
        return runMainContextUntil(condition, limit);
    }

private:
    std::string locationOf(int number) const { return "smb://" + variable("QTB_SMB_HOST") + "/" + nameOf(number); }

    DesktopMounts m_mounts;
    LinuxVolumeWatch m_watch { { variable("HOME"), variable("XDG_RUNTIME_DIR"),
        variable("DBUS_SESSION_BUS_ADDRESS") } };
};

} // namespace

std::unique_ptr<VolumeWatchWorld> VolumeWatchWorld::make() {
    return std::make_unique<LinuxVolumeWatchWorld>();
}

} // namespace quorrel
