// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GvfsMountWatch.h"
#include "Platform/Linux/GvfsVolumes.h"
#include "Platform/Linux/KernelMountWatch.h"
#include "Platform/Linux/MainLoopTimer.h"
#include "Platform/Linux/VolumeAnnouncer.h"
#include "Platform/Linux/VolumeLinkWatch.h"
#include "Platform/VolumeWatch.h"

#include <string>

namespace quorrel {

/// The network volumes of gvfs and of the kernel, whoever mounts them. Main thread only, on the main GLib context.
///
/// It hears of mounts from the session bus and from the kernel's list, and of our own volumes from their links. It
/// never looks at a mount itself, which may hang, and waits for nobody.
class LinuxVolumeWatch final : public VolumeWatch {
public:
    struct Settings final {
        std::string homeDirectory;
        std::string runtimeDirectory; ///< of the session; gvfs shows its mounts in "gvfs" in there
        std::string sessionBus; ///< the session message bus's address; empty when there is none
    };

    explicit LinuxVolumeWatch(const Settings& settings);

    [[nodiscard]] Subscription registerDiskDisappearedCallback(Callback callback) override;
    [[nodiscard]] Subscription registerDiskAppearedCallback(Callback callback) override;

private:
    void linksChanged();
    void update();

    VolumeAnnouncer m_announcer;
    GvfsVolumes m_gvfsVolumes;
    MainLoopTimer m_nextChange;
    KernelMountWatch m_kernelMounts;
    VolumeLinkWatch m_links;
    GvfsMountWatch m_gvfsMounts;
};

} // namespace quorrel
