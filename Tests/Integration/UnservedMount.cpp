// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/UnservedMount.h"

#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

#include <utility>

namespace quorrel {

UnservedMount::UnservedMount(const std::string& fileSystem, const std::string& source, std::string place)
    : m_place(std::move(place))
    , m_device(open("/dev/fuse", O_RDWR | O_CLOEXEC)) {
    mkdir(m_place.c_str(), S_IRWXU);
    const auto options = "fd=" + std::to_string(m_device.get()) + ",rootmode=40000,user_id=0,group_id=0";
    m_isMounted
        = mount(source.c_str(), m_place.c_str(), fileSystem.c_str(), MS_NOSUID | MS_NODEV, options.c_str()) == 0;
}

UnservedMount::~UnservedMount() {
    if (m_isMounted)
        umount2(m_place.c_str(), MNT_DETACH);
    rmdir(m_place.c_str());
}

} // namespace quorrel
