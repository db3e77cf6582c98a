// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/UnfinishedFile.h"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <filesystem>
#include <system_error>
#include <utility>

#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

namespace {

namespace fs = std::filesystem;

constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
constexpr std::string_view ending = ".new"; // no other program takes it for the file itself

std::string nameBeside(const std::string& path, int number) {
    return path + '.' + std::to_string(::getpid()) + '-' + std::to_string(number).append(ending);
}

bool isNumber(std::string_view text) {
    return !text.empty()
        && std::all_of(text.begin(), text.end(), [](char letter) { return letter >= '0' && letter <= '9'; });
}

/// Whether `nameBeside` could have made that name for the file of the other.
bool isOfOurs(std::string_view name, std::string_view file) {
    if (!name.starts_with(file) || !name.ends_with(ending) || name.size() < file.size() + ending.size() + 1)
        return false;
    name.remove_prefix(file.size());
    name.remove_suffix(ending.size());
    const auto hyphen = name.find('-');
    return name.front() == '.' && hyphen != std::string_view::npos && isNumber(name.substr(1, hyphen - 1))
        && isNumber(name.substr(hyphen + 1));
}

/// Whether the name is still that of the open file, and that one a regular one.
bool isNameOf(const std::string& name, const FileDescriptor& file) {
    struct stat opened { };
    struct stat named { };
    return ::fstat(file.get(), &opened) == 0 && S_ISREG(opened.st_mode) && ::lstat(name.c_str(), &named) == 0
        && opened.st_dev == named.st_dev && opened.st_ino == named.st_ino;
}

/// Who holds the lock alone may rename or remove the file, so the name stays the same file's meanwhile.
void removeIfLeft(const std::string& name) {
    const FileDescriptor file(::open(name.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY));
    if (file.isOpen() && ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 && isNameOf(name, file))
        ::unlink(name.c_str());
}

void removeLeftovers(const std::string& path) {
    const fs::path file(path);
    const auto folder = file.has_parent_path() ? file.parent_path() : fs::path(".");
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end; !error && entry != end; entry.increment(error))
        if (isOfOurs(entry->path().filename().native(), file.filename().native()))
            removeIfLeft(entry->path().native());
}

bool writeAll(int descriptor, std::string_view bytes) {
    while (!bytes.empty()) {
        const auto written = ::write(descriptor, bytes.data(), bytes.size());
        if (written < 0 && errno != EINTR)
            return false;
        if (written > 0)
            bytes.remove_prefix(static_cast<std::size_t>(written));
    }
    return true;
}

} // namespace

UnfinishedFile::UnfinishedFile(const std::string& path) {
    // First, since on a full disk it may make the room that is needed.
    removeLeftovers(path);
    create(path);
}

UnfinishedFile::~UnfinishedFile() {
    if (!m_name.empty())
        ::unlink(m_name.c_str());
}

void UnfinishedFile::create(const std::string& path) {
    constexpr int attempts = 100;
    for (int number = 0; number < attempts; ++number) {
        const auto name = nameBeside(path, number);
        FileDescriptor file(::open(name.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC | O_NOFOLLOW, ownerFile));
        m_error = file.isOpen() ? 0 : errno;
        if (m_error == EEXIST)
            continue;
        if (m_error != 0)
            return;
        // Before the lock, another may take it for a leftover. Where nothing can be locked, nobody removes anything.
        if ((::flock(file.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) || !isNameOf(name, file)) {
            m_error = EEXIST;
            continue;
        }
        m_name = name;
        m_file = std::move(file);
        return;
    }
}

int UnfinishedFile::write(std::string_view bytes) {
    if (m_error != 0)
        return m_error;
    // The umask can only have taken rights away, even the owner's own.
    const bool isWritten
        = ::fchmod(m_file.get(), ownerFile) == 0 && writeAll(m_file.get(), bytes) && ::fsync(m_file.get()) == 0;
    return isWritten ? 0 : errno;
}

} // namespace quorrel
