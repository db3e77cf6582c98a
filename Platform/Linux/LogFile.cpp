// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LogFile.h"

#include "Platform/Linux/FileDescriptor.h"
#include "Platform/Linux/OwnerOnlyFile.h"

#include <cerrno>
#include <cstdio>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel::LogFile {

bool reopenStandardError(const std::string& path) {
    const auto slash = path.rfind('/');
    if (slash != std::string::npos && slash > 0 && OwnerOnlyFile::createFolders(path.substr(0, slash)))
        return false;
    constexpr mode_t ownerFile = S_IRUSR | S_IWUSR;
    // Without O_NONBLOCK, opening a pipe would wait for somebody to read.
    const FileDescriptor file(
        ::open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, ownerFile));
    struct stat status { };
    if (!file.isOpen() || ::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode))
        return false;
    if ((status.st_mode & 07777U) != ownerFile && ::fchmod(file.get(), ownerFile) != 0)
        return false;
    std::fflush(stderr);
    int result = -1;
    do
        result = ::dup2(file.get(), STDERR_FILENO);
    while (result < 0 && errno == EINTR);
    return result >= 0;
}

} // namespace quorrel::LogFile
