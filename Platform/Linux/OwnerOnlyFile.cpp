// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/OwnerOnlyFile.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/SystemError.h"
#include "Platform/Linux/UnfinishedFile.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel::OwnerOnlyFile {

namespace {

constexpr mode_t ownerFolder = S_IRWXU;

std::string folderOf(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash == std::string::npos)
        return ".";
    return slash == 0 ? "/" : path.substr(0, slash);
}

/// Where symbolic links lead, also to nothing yet, so that replacing the file does not replace the link. Absent for
/// links that lead in a circle.
std::optional<std::string> behindLinks(const std::string& path) {
    constexpr int longestChain = 40;
    std::filesystem::path target(path);
    for (int steps = 0; steps < longestChain; ++steps) {
        std::error_code error;
        const auto next = std::filesystem::read_symlink(target, error);
        if (error)
            return target.string();
        target = target.parent_path() / next; // an absolute one replaces the whole
    }
    return std::nullopt;
}

/// Some file systems cannot flush a folder; there the rename alone has to do.
bool flushFolder(const std::string& path) {
    const FileDescriptor folder(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!folder.isOpen())
        return errno == EACCES;
    return ::fsync(folder.get()) == 0 || errno == EINVAL || errno == EROFS;
}

/// Renames unless something has the new name; returns the error number.
int renameToFree(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0)
        return 0;
    if (errno != EINVAL && errno != ENOSYS)
        return errno;
    struct stat status { }; // a file system without that kind of rename
    if (::lstat(to.c_str(), &status) == 0)
        return EEXIST;
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// Gives a file a second name unless something has that, or a new name where files have but one; returns the error
/// number.
int keepUnder(const std::string& file, const std::string& name) {
    if (::link(file.c_str(), name.c_str()) == 0)
        return 0;
    const bool hasLinks = errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS && errno != EMLINK;
    return hasLinks ? errno : renameToFree(file, name);
}

} // namespace

Content read(const std::string& path, std::size_t largest) {
    // Without O_NONBLOCK, opening a pipe would wait for somebody to write.
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    if (!file.isOpen()) {
        const bool missing = errno == ENOENT || errno == ENOTDIR;
        return { missing ? Content::Outcome::Missing : Content::Outcome::Unreadable, {}, systemErrorText(errno) };
    }
    struct stat status { };
    if (::fstat(file.get(), &status) != 0)
        return { Content::Outcome::Unreadable, {}, systemErrorText(errno) };
    if (!S_ISREG(status.st_mode))
        return { Content::Outcome::Unreadable, {}, "It is not a regular file" };
    Content content { Content::Outcome::Read, {}, {} };
    std::array<char, 65536> buffer {};
    for (;;) {
        const auto count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return { Content::Outcome::Unreadable, {}, systemErrorText(errno) };
        if (count == 0)
            return content;
        content.bytes.append(buffer.data(), static_cast<std::size_t>(count));
        if (content.bytes.size() > largest)
            return { Content::Outcome::Unreadable, {}, "It is too large" };
    }
}

std::optional<std::string> replace(const std::string& path, std::string_view bytes, const LastLook& lastLook) {
    const auto target = behindLinks(path);
    if (!target)
        return systemErrorText(ELOOP);
    UnfinishedFile file(*target);
    if (const int error = file.write(bytes))
        return systemErrorText(error);
    if (auto reason = lastLook ? lastLook(file.name()) : std::nullopt)
        return reason;
    if (::rename(file.name().c_str(), target->c_str()) != 0)
        return systemErrorText(errno);
    file.wasRenamed();
    if (!flushFolder(folderOf(*target)))
        return systemErrorText(errno);
    return std::nullopt;
}

std::optional<std::string> create(const std::string& stem, const std::string& ending, std::string_view bytes) {
    UnfinishedFile file(stem + ending);
    if (file.write(bytes) != 0)
        return std::nullopt;
    for (int number = 0; number < INT_MAX; ++number) {
        auto path = number == 0 ? stem : stem + "-" + std::to_string(number);
        path += ending;
        const int error = renameToFree(file.name(), path);
        if (error == EEXIST)
            continue;
        if (error != 0)
            break;
        file.wasRenamed();
        return flushFolder(folderOf(path)) ? std::optional(std::move(path)) : std::nullopt;
    }
    return std::nullopt;
}

std::optional<std::string> keepDamaged(const std::string& path) {
    // A link stays one, unless it leads to what nobody meant by it: a device, or a whole folder.
    struct stat status { };
    const bool isFile = ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
    const auto target = isFile ? behindLinks(path).value_or(path) : path;
    for (int number = 1; number < INT_MAX; ++number) {
        const auto name = target + ".damaged" + (number == 1 ? std::string() : "-" + std::to_string(number));
        const int error = isFile ? keepUnder(target, name) : renameToFree(target, name);
        if (error == 0 || error == ENOENT)
            return std::nullopt;
        if (error != EEXIST)
            return systemErrorText(error);
    }
    return systemErrorText(EEXIST);
}

std::optional<std::string> createFolders(const std::string& path) {
    for (std::size_t end = path.find('/', 1);; end = path.find('/', end + 1)) {
        const auto part = path.substr(0, end);
        const bool isMade = ::mkdir(part.c_str(), ownerFolder) == 0 && ::chmod(part.c_str(), ownerFolder) == 0;
        // What is saved in it is only as lasting as it is; that a flush fails is no reason to go without the folder.
        if (isMade)
            static_cast<void>(flushFolder(folderOf(part)));
        if (!isMade && errno != EEXIST) {
            // A folder above may be one that this user can pass but not write.
            const int error = errno;
            struct stat status { };
            if (::stat(part.c_str(), &status) != 0 || !S_ISDIR(status.st_mode))
                return systemErrorText(error);
        }
        if (end == std::string::npos)
            break;
    }
    struct stat status { };
    if (::stat(path.c_str(), &status) != 0)
        return systemErrorText(errno);
    return S_ISDIR(status.st_mode) ? std::nullopt : std::optional(systemErrorText(ENOTDIR));
}

} // namespace quorrel::OwnerOnlyFile
