// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LocalPath.h"

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace quorrel {

namespace {

using Path = std::filesystem::path;
using Paths = std::vector<Path>;

constexpr int longestChain = 40;

bool isAtOrBelow(const Path& path, const Path& folder) {
    return std::mismatch(folder.begin(), folder.end(), path.begin(), path.end()).first == folder.end();
}

/// Puts the path's parts on top of those that are still to be gone, the first one last.
void pushParts(Paths& ahead, const Path& path) {
    const auto relative = path.relative_path();
    const Paths parts(relative.begin(), relative.end());
    ahead.insert(ahead.end(), parts.rbegin(), parts.rend());
}

std::optional<Path> follow(const Path& path, const Paths& volumes) {
    Path done = "/";
    Paths ahead;
    pushParts(ahead, path);
    int links = 0;
    while (!ahead.empty()) {
        const auto part = ahead.back();
        ahead.pop_back();
        if (part.empty() || part == ".")
            continue;
        if (part == "..") {
            done = done.parent_path();
            continue;
        }
        const auto next = done / part;
        if (std::any_of(volumes.begin(), volumes.end(), [&](const Path& each) { return isAtOrBelow(next, each); }))
            return std::nullopt;
        std::error_code error;
        const auto status = std::filesystem::symlink_status(next, error);
        if (!std::filesystem::exists(status))
            return std::nullopt;
        if (!std::filesystem::is_symlink(status)) {
            done = next;
            continue;
        }
        const auto target = std::filesystem::read_symlink(next, error);
        if (error || ++links > longestChain)
            return std::nullopt;
        if (target.is_absolute())
            done = "/";
        pushParts(ahead, target);
    }
    return done;
}

} // namespace

std::optional<std::string> localPath(const std::string& path, const std::vector<std::string>& volumes) {
    Paths places;
    // Compared as the way is gone, with the links above it followed, such as one to the home folder. Where there is
    // nothing to hold a volume there is nothing on it either.
    for (const Path volume : volumes)
        if (const auto parent = follow(volume.parent_path(), {}))
            places.push_back(*parent / volume.filename());
    const auto target = follow(path, places);
    return target ? std::optional(target->string()) : std::nullopt;
}

} // namespace quorrel
