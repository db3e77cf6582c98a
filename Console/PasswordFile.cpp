// SPDX-License-Identifier: GPL-3.0-or-later
#include "Console/PasswordFile.h"

#include "Console/DisplayText.h"
#include "Platform/Linux/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <cstddef>
#include <system_error>

#include <fcntl.h>
#include <sys/stat.h>

namespace quorrel {

namespace {

constexpr std::size_t longestLine = 4096;

PasswordFile::Failure failure(const std::string& path, const std::string& reason) {
    return { "the password file " + DisplayText::printable(path) + ' ' + reason };
}

PasswordFile::Failure systemFailure(const std::string& path) {
    return failure(path, "cannot be read: " + std::generic_category().message(errno));
}

} // namespace

std::variant<std::string, PasswordFile::Failure> PasswordFile::read(const std::string& path) {
    const FileDescriptor file(open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NOCTTY));
    struct stat status { };
    if (file.get() < 0 || fstat(file.get(), &status) != 0)
        return systemFailure(path);
    if ((status.st_mode & (S_IRGRP | S_IROTH)) != 0)
        return failure(path, "can be read by others; chmod 600 makes it yours alone");

    std::string content;
    std::array<char, 512> buffer {};
    while (content.find('\n') == std::string::npos && content.size() <= longestLine) {
        const auto count = ::read(file.get(), buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR)
            continue;
        if (count < 0)
            return systemFailure(path);
        if (count == 0)
            break;
        content.append(buffer.data(), static_cast<std::size_t>(count));
    }
    const auto end = content.find('\n');
    auto line = content.substr(0, end);
    if (end != std::string::npos && line.ends_with('\r'))
        line.pop_back();
    if (line.empty())
        return failure(path, "has no password in its first line");
    if (line.size() > longestLine)
        return failure(path, "has a first line that is too long for a password");
    return line;
}

} // namespace quorrel
