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
#include <thread>

namespace quorrel {

namespace {

using ReadablePath::Files;

constexpr Seconds limit { 4 };
constexpr std::chrono::milliseconds lookAgain { 2 };
constexpr std::chrono::milliseconds glance { 20 };

struct Look final {
    Mutex mutex;
    ConditionVariable ended;
    std::optional<Files> files GUARDED_BY(mutex);
};

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

Files repeat(Files (*look)(const std::string&), const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::milliseconds>(limit);
    auto files = look(path);
    while (files == Files::Slow && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(lookAgain);
        files = look(path);
    }
    return files;
}

void tell(Look& state, Files files) {
    const MutexLock lock(state.mutex);
    state.files = files;
    state.ended.notifyAll();
}

Files wait(BoundedLoop& loop, Look& state) {
    const auto end = std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::milliseconds>(std::min(limit, loop.remaining()));
    MutexLock lock(state.mutex);
    while (!state.files && std::chrono::steady_clock::now() < end && !loop.isInterrupted())
        state.ended.waitUntil(lock, std::chrono::steady_clock::now() + glance);
    return state.files.value_or(Files::Slow);
}

} // namespace

// All look on a thread of their own: a server that falls silent just now holds whoever looks, and that must not be us.

Files ReadablePath::waitUntilListed(BoundedLoop& loop, const std::string& mountFolder) {
    const auto state = std::make_shared<Look>();
    std::thread([state, mountFolder] { tell(*state, repeat(isListed, mountFolder)); }).detach();
    return wait(loop, *state);
}

Files ReadablePath::waitUntilReachable(BoundedLoop& loop, const std::string& path) {
    const auto state = std::make_shared<Look>();
    std::thread([state, path] { tell(*state, repeat(isReachable, path)); }).detach();
    return wait(loop, *state);
}

bool ReadablePath::isCutOff(BoundedLoop& loop, const std::string& folder) {
    const auto state = std::make_shared<Look>();
    std::thread([state, folder] { tell(*state, isReachable(folder)); }).detach();
    return wait(loop, *state) == Files::CutOff;
}

} // namespace quorrel
