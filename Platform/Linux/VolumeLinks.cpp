// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeLinks.h"

#include "Foundation/Text.h"
#include "Platform/Linux/ProcessTable.h"

#include <dirent.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <memory>
#include <system_error>
#include <utility>

namespace quorrel {

namespace {

constexpr int mostOfOneName = 10000;
constexpr std::size_t longestName = 200; // leaves room for a number within what file systems allow

std::string errorText(int number) {
    return std::system_category().message(number);
}

} // namespace

VolumeLinks::VolumeLinks(const std::string& home, std::string mountFolder)
    : m_folder(home + "/Volumes")
    , m_mountFolder(std::move(mountFolder)) { }

std::string VolumeLinks::fileName(const std::string& name) {
    auto result = Text::withoutControls(name, '_');
    std::replace(result.begin(), result.end(), '/', '_');
    if (result.size() > longestName) {
        std::size_t end = longestName;
        while (end > 0 && (static_cast<unsigned char>(result[end]) & 0xc0U) == 0x80U)
            --end;
        result.resize(end);
    }
    if (result.empty())
        return "Volume";
    if (result == "." || result == "..")
        std::fill(result.begin(), result.end(), '_');
    return result;
}

bool VolumeLinks::isOurs(const std::string& target) const {
    return target.starts_with(m_mountFolder + "/") && target.find("/../") == std::string::npos
        && !target.ends_with("/..");
}

std::vector<VolumeLinks::Link> VolumeLinks::links() const {
    std::vector<Link> result;
    const std::unique_ptr<DIR, int (*)(DIR*)> directory(opendir(m_folder.c_str()), closedir);
    if (!directory)
        return result;
    while (const dirent* item = readdir(directory.get())) { // NOLINT(concurrency-mt-unsafe): each call has its own
        // Whatever else stands there may be a mount, and a look at that may wait for its server.
        if (item->d_type != DT_LNK && item->d_type != DT_UNKNOWN)
            continue;
        std::string name = static_cast<const char*>(item->d_name);
        auto target = ProcessTable::linkTarget(pathOf(name));
        if (isOurs(target))
            result.push_back({ std::move(name), std::move(target) });
    }
    std::sort(result.begin(), result.end(), [](const Link& left, const Link& right) { return left.name < right.name; });
    return result;
}

std::string VolumeLinks::add(const std::string& name, const std::string& target, std::string& reason) {
    const MutexLock lock(m_mutex);
    if (!isOurs(target)) {
        reason = "it is not below " + m_mountFolder;
        return {};
    }
    for (auto& link : links())
        if (link.target == target)
            return std::move(link.name);
    const auto wanted = fileName(name);
    int number = 0;
    // Each turn makes the link, or finds a name taken, or makes the folder that another process may remove again.
    for (int turn = 0; turn < mostOfOneName; ++turn) {
        auto candidate = number == 0 ? wanted : wanted + "-" + std::to_string(number);
        const auto path = pathOf(candidate);
        if (symlink(target.c_str(), path.c_str()) == 0)
            return candidate;
        const int error = errno;
        if (error == ENOENT) {
            if (makeFolder() || errno == EEXIST)
                continue;
            reason = m_folder + ": " + errorText(errno);
            return {};
        }
        if (error != EEXIST) {
            reason = path + ": " + errorText(error);
            return {};
        }
        ++number;
    }
    reason = "every name like it is taken";
    return {};
}

bool VolumeLinks::makeFolder() const {
    return mkdir(m_folder.c_str(), S_IRWXU) == 0;
}

void VolumeLinks::removeEmptyFolder() const {
    rmdir(m_folder.c_str()); // Fails, as it should, while anything is in there.
}

void VolumeLinks::removeLinksTo(const std::string& target) {
    const MutexLock lock(m_mutex);
    for (const auto& link : links())
        if (link.target == target)
            remove(link.name);
}

void VolumeLinks::remove(const std::string& name) {
    unlink(pathOf(name).c_str());
    removeEmptyFolder();
}

} // namespace quorrel
