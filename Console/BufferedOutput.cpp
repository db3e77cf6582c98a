// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/BufferedOutput.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <climits>

#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

namespace {

bool isOfType(int descriptor, mode_t type) {
    struct stat status { };
    return ::fstat(descriptor, &status) == 0 && (status.st_mode & S_IFMT) == type;
}

/// The same pipe or terminal, for writing without waiting. Setting that on the descriptor would set it for the shell
/// that started us as well.
int openedOnceMore(int descriptor) {
    if (!isOfType(descriptor, S_IFIFO) && ::isatty(descriptor) != 1)
        return -1;
    const auto path = "/proc/self/fd/" + std::to_string(descriptor);
    return ::open(path.c_str(), O_WRONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
}

bool hasRoom(int descriptor, int milliseconds) {
    pollfd waiting { descriptor, POLLOUT, 0 };
    return ::poll(&waiting, 1, milliseconds) > 0;
}

} // namespace

BufferedOutput::BufferedOutput(int descriptor, std::size_t limit)
    : m_limit(limit)
    , m_own(openedOnceMore(descriptor))
    , m_descriptor(m_own.isOpen() ? m_own.get() : descriptor)
    , m_isSocket(isOfType(descriptor, S_IFSOCK)) { }

BufferedOutput::~BufferedOutput() {
    using Clock = std::chrono::steady_clock;
    constexpr std::chrono::milliseconds patience { 200 };
    const auto end = Clock::now() + patience;
    for (auto now = Clock::now(); !m_texts.empty() && now < end; now = Clock::now()) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - now);
        if (hasRoom(m_descriptor, static_cast<int>(left.count())))
            flush();
    }
}

void BufferedOutput::write(std::string_view text) {
    m_texts.emplace_back(text);
    m_size += text.size();
    flush();
    dropOldest();
}

void BufferedOutput::flush() {
    while (!m_texts.empty()) {
        const auto& text = m_texts.front();
        const auto count = transfer(std::string_view(text).substr(m_written));
        if (count >= 0) {
            m_written += static_cast<std::size_t>(count);
            if (m_written == text.size()) {
                m_size -= text.size();
                m_written = 0;
                m_texts.pop_front();
            }
        } else if (errno == EAGAIN) {
            if (!m_room)
                m_room.emplace(m_descriptor, DescriptorWatch::Event::Writable, [this] { flush(); });
            return;
        } else if (errno != EINTR) {
            dropAll();
        }
    }
    m_room.reset();
}

void BufferedOutput::dropOldest() {
    // A text that was begun is finished, and the last one says how things are now.
    const std::size_t kept = m_written > 0 ? 1 : 0;
    while (m_size > m_limit && m_texts.size() > kept + 1) {
        const auto oldest = m_texts.begin() + static_cast<std::ptrdiff_t>(kept);
        m_size -= oldest->size();
        m_texts.erase(oldest);
    }
}

void BufferedOutput::dropAll() {
    m_texts.clear();
    m_size = 0;
    m_written = 0;
}

ssize_t BufferedOutput::transfer(std::string_view bytes) const {
    if (m_isSocket)
        return ::send(m_descriptor, bytes.data(), bytes.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
    if (!hasRoom(m_descriptor, 0)) {
        errno = EAGAIN;
        return -1;
    }
    // A pipe that could not be opened once more has room for so much now.
    return ::write(m_descriptor, bytes.data(), std::min<std::size_t>(bytes.size(), PIPE_BUF));
}

} // namespace quorrel
