// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FormerMounts.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

FormerMounts::FormerMounts(const std::string& runtimeDirectory)
    : m_folder(runtimeDirectory + "/quorrel-former-mounts") { }

std::string FormerMounts::fileFor(const std::string& readablePath) const {
    return m_folder + "/" + readablePath.substr(readablePath.rfind('/') + 1);
}

void FormerMounts::remember(const std::string& readablePath) const {
    if (readablePath.empty())
        return;
    mkdir(m_folder.c_str(), S_IRWXU);
    const int file
        = open(fileFor(readablePath).c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | O_NOFOLLOW, S_IRUSR | S_IWUSR);
    if (file >= 0)
        close(file);
}

bool FormerMounts::contains(const std::string& readablePath) const {
    return !readablePath.empty() && access(fileFor(readablePath).c_str(), F_OK) == 0;
}

} // namespace quorrel
