// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/KernelMountWatch.h"

#include <fcntl.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <string>
#include <utility>

namespace quorrel {

namespace {

constexpr auto listFile = "/proc/self/mountinfo";

std::optional<std::string> contentOf(const char* path) {
    const FileDescriptor file(open(path, O_RDONLY | O_CLOEXEC));
    std::string content;
    std::array<char, 16384> buffer {};
    for (;;) {
        const auto size = read(file.get(), buffer.data(), buffer.size());
        if (size == 0)
            return content;
        if (size > 0)
            content.append(buffer.data(), static_cast<std::size_t>(size));
        else if (errno != EINTR)
            return std::nullopt;
    }
}

} // namespace

KernelMountWatch::KernelMountWatch(std::function<void()> changed)
    : m_changed(std::move(changed))
    , m_list(open(listFile, O_RDONLY | O_CLOEXEC)) {
    look();
    if (m_list.isOpen())
        m_watch.emplace(m_list.get(), DescriptorWatch::Event::Exceptional, [this] {
            if (!look())
                return;
            const auto changed = m_changed; // outlives the watch
            changed();
        });
}

bool KernelMountWatch::look() {
    // Opened anew: what was opened before the change may show half of it.
    const auto text = contentOf(listFile);
    if (!text)
        return false;
    auto mounts = KernelMount::parse(*text);
    std::erase_if(mounts, [](const KernelMount& mount) { return !mount.isNetwork(); });
    if (mounts == m_mounts)
        return false;
    m_mounts = std::move(mounts);
    return true;
}

} // namespace quorrel
