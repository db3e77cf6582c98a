// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/FileDescriptor.h"

#include <string>

namespace quorrel {

/// A mount in the kernel's list, of a file system in user space that nobody serves: whoever looks at it waits until it
/// goes, as at a server that is silent. In the test bed's own namespace of mounts, gone with the object.
class UnservedMount final {
public:
    /// `fileSystem` as the kernel is to call it, such as "fuse.sshfs".
    UnservedMount(const std::string& fileSystem, const std::string& source, std::string place);
    UnservedMount(const UnservedMount&) = delete;
    UnservedMount& operator=(const UnservedMount&) = delete;
    ~UnservedMount();

    [[nodiscard]] bool isMounted() const { return m_isMounted; }

private:
    const std::string m_place;
    const FileDescriptor m_device;
    bool m_isMounted = false;
};

} // namespace quorrel
