// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FolderWatch.h"

#include <sys/inotify.h>
#include <unistd.h>

#include <array>
#include <cstring>
#include <utility>

namespace quorrel {

namespace {

constexpr std::uint32_t whatCounts
    = IN_CREATE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO | IN_DELETE_SELF | IN_MOVE_SELF;
constexpr std::uint32_t whatEnds = IN_DELETE_SELF | IN_MOVE_SELF | IN_UNMOUNT | IN_IGNORED;

} // namespace

FolderWatch::FolderWatch(const std::string& folder, std::string name, std::function<void()> action)
    : m_queue(inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    , m_name(std::move(name))
    , m_action(std::move(action)) {
    m_isWatching = m_queue.isOpen()
        && inotify_add_watch(m_queue.get(), folder.c_str(), whatCounts | IN_ONLYDIR | IN_DONT_FOLLOW) >= 0;
    if (m_isWatching)
        m_watch.emplace(m_queue.get(), DescriptorWatch::Event::Readable, [this] { read(); });
}

void FolderWatch::read() {
    bool isTold = false;
    alignas(inotify_event) std::array<char, 16384> buffer {};
    for (ssize_t size = 0; (size = ::read(m_queue.get(), buffer.data(), buffer.size())) > 0;)
        for (std::size_t place = 0; place < static_cast<std::size_t>(size);) {
            inotify_event event {};
            std::memcpy(&event, buffer.data() + place, sizeof event);
            const char* name = event.len > 0 ? buffer.data() + place + sizeof event : "";
            if (event.mask & whatEnds)
                m_isWatching = false;
            // An event without a name is about the folder, or tells that there were too many.
            isTold = isTold || m_name.empty() || *name == '\0' || m_name == name;
            place += sizeof event + event.len;
        }
    if (!isTold)
        return;
    const auto action = m_action; // outlives the watch
    action();
}

} // namespace quorrel
