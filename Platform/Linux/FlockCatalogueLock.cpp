// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FlockCatalogueLock.h"

#include "Platform/Linux/OwnerOnlyFile.h"
#include "Platform/Linux/SystemError.h"

#include <array>
#include <cerrno>
#include <charconv>
#include <cstddef>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

namespace {

/// Absent where the holder has not written it yet.
std::optional<long> processIn(int file) {
    std::array<char, 32> text {};
    const auto length = ::pread(file, text.data(), text.size(), 0);
    long process = 0;
    if (length <= 0 || std::from_chars(text.data(), text.data() + length, process).ec != std::errc() || process <= 0)
        return std::nullopt;
    return process;
}

void writeProcess(int file) {
    // Without it the lock is as good, and whoever is refused is told less.
    const auto text = std::to_string(::getpid()) + '\n';
    if (::ftruncate(file, 0) == 0)
        (void)!::pwrite(file, text.data(), text.size(), 0);
}

} // namespace

FlockCatalogueLock::FlockCatalogueLock(std::string path)
    : m_path(std::move(path)) { }

CatalogueLock::Outcome FlockCatalogueLock::take() {
    if (m_file.isOpen())
        return {};
    const auto unavailable = [](std::string reason) {
        return Outcome { Outcome::Kind::Unavailable, std::nullopt, std::move(reason) };
    };
    const auto slash = m_path.rfind('/');
    if (slash != std::string::npos && slash > 0)
        if (auto failure = OwnerOnlyFile::createFolders(m_path.substr(0, slash)))
            return unavailable(std::move(*failure));
    constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
    // Without O_NONBLOCK, opening a pipe would wait for somebody at its other end.
    FileDescriptor file(
        ::open(m_path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY, ownerFile));
    if (!file.isOpen())
        return unavailable(systemErrorText(errno));
    if (::flock(file.get(), LOCK_EX | LOCK_NB) != 0) {
        if (errno == EWOULDBLOCK)
            return { Outcome::Kind::Refused, processIn(file.get()), {} };
        return unavailable(systemErrorText(errno));
    }
    writeProcess(file.get());
    m_file = std::move(file);
    return {};
}

} // namespace quorrel
