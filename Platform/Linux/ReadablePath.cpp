// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ReadablePath.h"

#include <fcntl.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

namespace quorrel {

namespace {

constexpr Seconds limit { 2 };
constexpr std::chrono::milliseconds lookAgain { 5 };
constexpr std::chrono::milliseconds glance { 20 };

struct Look final {
    std::mutex mutex;
    std::condition_variable ended;
    bool isDone = false;
    bool isReadable = false;
};

bool isReachable(const std::string& path) {
    struct statx unused { };
    // Asked of the file system itself: the kernel may still remember the former mount's answer.
    return statx(AT_FDCWD, path.c_str(), AT_STATX_FORCE_SYNC | AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &unused) == 0
        || errno == EACCES || errno == EPERM;
}

void look(const std::shared_ptr<Look>& state, const std::string& path) {
    const auto end = std::chrono::steady_clock::now() + std::chrono::duration_cast<std::chrono::milliseconds>(limit);
    bool readable = isReachable(path);
    while (!readable && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(lookAgain);
        readable = isReachable(path);
    }
    const std::lock_guard lock(state->mutex);
    state->isReadable = readable;
    state->isDone = true;
    state->ended.notify_all();
}

/// On a thread of its own: a server that falls silent just now holds whoever looks, and that must not be us.
std::shared_ptr<Look> begin(const std::string& path) {
    auto state = std::make_shared<Look>();
    std::thread([state, path] { look(state, path); }).detach();
    return state;
}

} // namespace

void ReadablePath::beginSettling(const std::string& path) {
    begin(path);
}

bool ReadablePath::settle(BoundedLoop& loop, const std::string& path) {
    const auto state = begin(path);
    const auto end = std::chrono::steady_clock::now()
        + std::chrono::duration_cast<std::chrono::milliseconds>(std::min(limit, loop.remaining()));
    std::unique_lock lock(state->mutex);
    while (!state->isDone && std::chrono::steady_clock::now() < end && !loop.isInterrupted())
        state->ended.wait_for(lock, glance);
    return state->isDone && state->isReadable;
}

} // namespace quorrel
