// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeUsers.h"

#include "Platform/Linux/ProcessTable.h"

#include <dirent.h>

#include <fstream>
#include <memory>
#include <string_view>

namespace quorrel {

namespace {

bool isBelow(std::string_view path, std::string_view folder) {
    return path.starts_with(folder) && (path.size() == folder.size() || path[folder.size()] == '/');
}

bool hasOpenFile(const std::string& process, const std::string& folder) {
    const auto descriptors = process + "/fd";
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(descriptors.c_str()), closedir);
    if (!directory)
        return false;
    while (const dirent* item = readdir(directory.get())) // NOLINT(concurrency-mt-unsafe): each call has its own
        if (isBelow(ProcessTable::linkTarget(descriptors + "/" + static_cast<const char*>(item->d_name)), folder))
            return true;
    return false;
}

/// The kernel writes a line feed in a mapped file's path as an escape.
std::string unescapedLineFeeds(std::string path) {
    for (auto place = path.find("\\012"); place != std::string::npos; place = path.find("\\012", place + 1))
        path.replace(place, 4, "\n");
    return path;
}

bool hasMapping(const std::string& process, const std::string& folder) {
    std::ifstream file(process + "/maps");
    std::string line;
    while (std::getline(file, line)) {
        const auto path = line.find('/');
        if (path != std::string::npos && isBelow(unescapedLineFeeds(line.substr(path)), folder))
            return true;
    }
    return false;
}

bool uses(const std::string& process, const std::string& folder) {
    return isBelow(ProcessTable::linkTarget(process + "/cwd"), folder)
        || isBelow(ProcessTable::linkTarget(process + "/root"), folder) || hasOpenFile(process, folder)
        || hasMapping(process, folder);
}

} // namespace

std::vector<VolumeUser> VolumeUsers::below(const std::string& folder) {
    std::vector<VolumeUser> users;
    for (const pid_t identifier : ProcessTable::identifiers()) {
        if (!uses("/proc/" + std::to_string(identifier), folder))
            continue;
        const auto entry = ProcessTable::entry(identifier);
        // The process that serves the folder is at home there.
        if (entry && entry->name != "gvfsd-fuse")
            users.push_back({ identifier, entry->name });
    }
    return users;
}

std::string VolumeUsers::printed(const std::vector<VolumeUser>& users) {
    std::string text;
    for (const auto& user : users)
        text += (text.empty() ? "" : ", ") + user.name + " (" + std::to_string(user.process) + ")";
    return text;
}

} // namespace quorrel
