// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/FileVersion.h"

#include <sys/stat.h>

namespace quorrel {

std::string fileVersion(const std::string& path) {
    struct stat status { };
    if (::stat(path.c_str(), &status) != 0)
        return {};
    std::string version;
    for (const auto part : { static_cast<long long>(status.st_dev), static_cast<long long>(status.st_ino),
             static_cast<long long>(status.st_size), static_cast<long long>(status.st_mtim.tv_sec),
             static_cast<long long>(status.st_mtim.tv_nsec) })
        version += std::to_string(part) + ' ';
    return version;
}

} // namespace quorrel
