// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeWatch.h"

#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

/// One line of the kernel's list of mounts, escapes undone. A value type.
struct KernelMount final {
    std::string place; ///< the folder it is mounted on
    std::string fileSystem; ///< as the kernel calls it: "ext4", "cifs", "fuse.sshfs"
    std::string source; ///< "//server/share", "server:/export", a URL; whatever the mounting program wrote

    /// Reads /proc/self/mountinfo's text. Lines that cannot be read are left out.
    [[nodiscard]] static std::vector<KernelMount> parse(std::string_view text);

    [[nodiscard]] bool isNetwork() const;
    /// Equal for mounts of one share, wherever they are.
    [[nodiscard]] std::string identity() const;
    /// Login data in the source are left out.
    [[nodiscard]] VolumeDescription describe() const;

    [[nodiscard]] bool operator==(const KernelMount&) const = default;
};

} // namespace quorrel
