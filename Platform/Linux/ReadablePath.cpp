// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ReadablePath.h"

#include "Foundation/ConditionVariable.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <memory>
#include <optional>
#include <system_error>
#include <thread>
#include <utility>

namespace quorrel {

namespace {

using ReadablePath::Files;

using Glance = Files (*)(const std::string&);

constexpr Seconds limit { 4 };
// Mostly it is a fraction of a millisecond that is missing.
constexpr std::chrono::microseconds firstPause { 100 };
constexpr std::chrono::microseconds longestPause { 2000 };
constexpr std::chrono::milliseconds interruptCheck { 20 };

Files isReachable(const std::string& path) {
    struct statx unused { };
    // Asked of the file system itself: the kernel may still remember the former mount's answer.
    if (statx(AT_FDCWD, path.c_str(), AT_STATX_FORCE_SYNC | AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &unused) == 0
        || errno == EACCES || errno == EPERM)
        return Files::Shown;
    return errno == ENOTCONN ? Files::CutOff : Files::Slow;
}

Files isListed(const std::string& path) {
    const auto slash = path.rfind('/');
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(path.substr(0, slash).c_str()), closedir);
    if (!directory)
        return errno == ENOTCONN ? Files::CutOff : Files::Slow;
    while (const dirent* item = readdir(directory.get())) // NOLINT(concurrency-mt-unsafe): each call has its own
        if (path.compare(slash + 1, std::string::npos, static_cast<const char*>(item->d_name)) == 0)
            return Files::Shown;
    return Files::Slow;
}

} // namespace

class ReadablePath::Look final {
public:
    Look(Glance glance, std::string path)
        : m_glance(glance)
        , m_path(std::move(path)) { }

    /// On a thread of its own: a server that falls silent just now holds whoever looks, and that must not be us.
    static std::shared_ptr<Look> begin(Glance glance, const std::string& path) {
        auto look = std::make_shared<Look>(glance, path);
        try {
            std::thread([wanted = std::weak_ptr(look), glance, path] {
                const auto end
                    = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::milliseconds>(limit);
                auto pause = firstPause;
                auto files = glance(path);
                while (files == Files::Slow && !wanted.expired() && std::chrono::steady_clock::now() < end) {
                    std::this_thread::sleep_for(pause);
                    pause = std::min(2 * pause, longestPause);
                    files = glance(path);
                }
                if (const auto look = wanted.lock())
                    look->tell(files);
            }).detach();
        } catch (const std::system_error&) {
            look->tell(Files::Slow); // no thread to be had: the mount is there all the same
        }
        return look;
    }

    [[nodiscard]] std::shared_ptr<Look> again() const { return begin(m_glance, m_path); }

    void tell(Files files) {
        const MutexLock lock(m_mutex);
        m_files = files;
        m_ended.notifyAll();
    }

    Files wait(BoundedLoop& loop) {
        const auto end = std::chrono::steady_clock::now()
            + std::chrono::duration_cast<std::chrono::milliseconds>(std::min(limit, loop.remaining()));
        MutexLock lock(m_mutex);
        while (!m_files && std::chrono::steady_clock::now() < end && !loop.isInterrupted())
            m_ended.waitUntil(lock, std::chrono::steady_clock::now() + interruptCheck);
        return m_files.value_or(Files::Slow);
    }

private:
    const Glance m_glance;
    const std::string m_path;
    Mutex m_mutex;
    ConditionVariable m_ended;
    std::optional<Files> m_files GUARDED_BY(m_mutex);
};

std::shared_ptr<ReadablePath::Look> ReadablePath::lookUntilListed(const std::string& mountFolder) {
    return Look::begin(isListed, mountFolder);
}

std::shared_ptr<ReadablePath::Look> ReadablePath::lookUntilReachable(const std::string& path) {
    return Look::begin(isReachable, path);
}

std::shared_ptr<ReadablePath::Look> ReadablePath::lookAgain(const Look& look) {
    return look.again();
}

Files ReadablePath::wait(BoundedLoop& loop, Look& look) {
    return look.wait(loop);
}

bool ReadablePath::isCutOff(BoundedLoop& loop, const std::string& folder) {
    const auto once
        = [](const std::string& path) { return isReachable(path) == Files::CutOff ? Files::CutOff : Files::Shown; };
    return Look::begin(once, folder)->wait(loop) == Files::CutOff;
}

} // namespace quorrel
