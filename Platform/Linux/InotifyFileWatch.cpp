// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/InotifyFileWatch.h"

#include "Platform/Linux/SystemError.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <system_error>
#include <utility>

#include <sys/inotify.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr std::uint32_t ofFiles = IN_CREATE | IN_CLOSE_WRITE | IN_DELETE | IN_MOVED_FROM | IN_MOVED_TO;
constexpr std::uint32_t ofFolder = IN_DELETE_SELF | IN_MOVE_SELF;

} // namespace

InotifyFileWatch::InotifyFileWatch(std::string path, Seconds settling)
    : m_path(std::move(path))
    , m_settling(settling) { }

InotifyFileWatch::~InotifyFileWatch() {
    stop();
}

std::optional<std::string> InotifyFileWatch::start(std::function<void()> changed) {
    stop();
    m_inotify = FileDescriptor(inotify_init1(IN_CLOEXEC | IN_NONBLOCK));
    if (!m_inotify.isOpen())
        return systemErrorText(errno);
    watchFolders();
    if (m_names.empty()) {
        m_inotify.close();
        return "No folder on the way to it can be watched";
    }
    m_changed = std::move(changed);
    m_watch.emplace(m_inotify.get(), DescriptorWatch::Event::Readable, [this] { readEvents(); });
    return std::nullopt;
}

void InotifyFileWatch::stop() {
    m_timer.stop();
    m_watch.reset();
    m_inotify.close();
    m_names.clear();
    m_changed = nullptr;
}

void InotifyFileWatch::readEvents() {
    bool hasChanged = false;
    alignas(inotify_event) std::array<char, 16384> buffer {};
    for (;;) {
        const auto length = ::read(m_inotify.get(), buffer.data(), buffer.size());
        if (length < 0 && errno == EINTR)
            continue;
        if (length <= 0)
            break;
        for (std::size_t position = 0; position < static_cast<std::size_t>(length);) {
            inotify_event event {};
            std::memcpy(&event, buffer.data() + position, sizeof event);
            const char* name = event.len > 0 ? buffer.data() + position + sizeof event : "";
            hasChanged = counts(event.wd, event.mask, name) || hasChanged;
            position += sizeof event + event.len;
        }
    }
    if (!hasChanged)
        return;
    // A folder may have come or gone, or a link lead elsewhere.
    watchFolders();
    if (!m_timer.isRunning())
        m_timer.start(m_settling, [this] {
            const auto changed = m_changed; // it may stop the watch
            changed();
        });
}

bool InotifyFileWatch::counts(int watch, unsigned mask, const char* name) const {
    if ((mask & IN_Q_OVERFLOW) != 0)
        return true;
    const auto folder = m_names.find(watch);
    return folder != m_names.end() && ((mask & ofFolder) != 0 || folder->second.contains(name));
}

void InotifyFileWatch::watchFolders() {
    Names names;
    watchFor(m_path, names);
    std::error_code error;
    const auto target = std::filesystem::weakly_canonical(m_path, error);
    if (!error && target != m_path)
        watchFor(target.string(), names);
    for (const auto& [watch, unused] : m_names)
        if (!names.contains(watch))
            inotify_rm_watch(m_inotify.get(), watch);
    m_names.swap(names);
}

void InotifyFileWatch::watchFor(const std::string& target, Names& names) const {
    constexpr int attempts = 10;
    const std::filesystem::path file(target);
    for (int attempt = 0; attempt < attempts; ++attempt) {
        auto folder = file.parent_path();
        auto name = file.filename();
        int watch = -1;
        while ((watch = inotify_add_watch(m_inotify.get(), folder.c_str(), ofFiles | ofFolder | IN_ONLYDIR)) < 0) {
            if (!folder.has_relative_path())
                return;
            name = folder.filename();
            folder = folder.parent_path();
        }
        names[watch].insert(name.string());
        std::error_code error;
        // A folder that came before the one above was watched announces itself to nobody.
        if (folder == file.parent_path() || !std::filesystem::is_directory(folder / name, error))
            return;
    }
}

} // namespace quorrel
