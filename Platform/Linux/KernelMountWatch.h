// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/DescriptorWatch.h"
#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/KernelMount.h"

#include <functional>
#include <optional>
#include <vector>

namespace quorrel {

/// Follows the mounts of network file systems that the kernel has. Main thread only; it reads the kernel's list alone
/// and never looks at a mount.
class KernelMountWatch final {
public:
    /// Called from the main GLib context when the mounts are others than before. It must not throw; it may
    /// destroy the watch.
    explicit KernelMountWatch(std::function<void()> changed);

    /// In the order in which the kernel lists them.
    [[nodiscard]] const std::vector<KernelMount>& mounts() const { return m_mounts; }

private:
    /// Whether anything is different; a list that cannot be read changes nothing.
    bool look();

    const std::function<void()> m_changed;
    const FileDescriptor m_list;
    std::vector<KernelMount> m_mounts;
    std::optional<DescriptorWatch> m_watch;
};

} // namespace quorrel
