// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Subscription.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

/// What is known of a mounted volume.
struct VolumeDescription final {
    std::optional<std::string> volumeName; ///< the share's name, with the path of a folder in it
    std::optional<std::string> volumeKind; ///< smbfs, afpfs, webdav, ftp, nfs, or what the system calls it
    std::optional<std::string> volumePath; ///< a URL; its last component is the share's name, "-1" and so on behind it
    bool isNetwork = false;
    std::string serverName; ///< the server as the mount names it, to tell volumes of one name apart; may be empty
};

/// The coming and going of network volumes, whoever mounts them. Main thread only; callbacks come from the run loop.
class VolumeWatch {
public:
    using Callback = std::function<void(const VolumeDescription& volume)>;

    virtual ~VolumeWatch() = default;

    /// Describes a volume that went as it was described when it came.
    [[nodiscard]] virtual Subscription registerDiskDisappearedCallback(Callback callback) = 0;
    /// Each volume that is there already is reported once to the new callback, later than this call.
    [[nodiscard]] virtual Subscription registerDiskAppearedCallback(Callback callback) = 0;
};

} // namespace quorrel
