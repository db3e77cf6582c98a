// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Integration/OwnFileSystem.h"

#include "Platform/Linux/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <filesystem>

#include <fcntl.h>
#include <sys/mount.h>
#include <unistd.h>

namespace quorrel {

OwnFileSystem::OwnFileSystem(const std::string& options)
    : m_path(std::filesystem::temp_directory_path().string() + "/quorrel-mount-XXXXXX") {
    m_isMounted
        = ::mkdtemp(m_path.data()) && ::mount("tmpfs", m_path.c_str(), "tmpfs", MS_NOSUID, options.c_str()) == 0;
}

OwnFileSystem::~OwnFileSystem() {
    if (m_isMounted)
        ::umount2(m_path.c_str(), MNT_DETACH);
    ::rmdir(m_path.c_str());
}

bool OwnFileSystem::setWriting(Writing writing) const {
    unsigned long flags = MS_REMOUNT | MS_BIND | MS_NOSUID;
    if (writing == Writing::Refused)
        flags |= MS_RDONLY;
    return ::mount(nullptr, m_path.c_str(), nullptr, flags, nullptr) == 0;
}

bool OwnFileSystem::fill(const std::string& name) const {
    constexpr int mostBlocks = 100'000;
    const FileDescriptor file(::open(path(name).c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0600));
    const std::array<char, 4096> block {};
    for (int count = 0; file.isOpen() && count < mostBlocks; ++count)
        if (::write(file.get(), block.data(), block.size()) < 0)
            return errno == ENOSPC;
    return false;
}

} // namespace quorrel
