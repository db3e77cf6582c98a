// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/KernelMount.h"

#include "Foundation/Text.h"
#include "Platform/Linux/ServerURL.h"
#include "Platform/Linux/VolumeNames.h"

#include <algorithm>
#include <array>
#include <optional>

namespace quorrel {

namespace {

constexpr std::string_view userSpace = "fuse.";

struct Kind final {
    std::string_view fileSystem; ///< without the mark of file systems in user space
    std::string_view kind; ///< empty: as the system calls it
};

/// File systems of servers. Others are local, or no shares: "ceph" and its like span machines, but nobody's desktop
/// catalogue names them.
constexpr std::array kinds {
    Kind { "cifs", "smbfs" },
    Kind { "smb3", "smbfs" },
    Kind { "smbfs", "smbfs" },
    Kind { "smbnetfs", "smbfs" },
    Kind { "nfs", "nfs" },
    Kind { "nfs4", "nfs" },
    Kind { "davfs", "webdav" },
    Kind { "davfs2", "webdav" },
    Kind { "wdfs", "webdav" },
    Kind { "afpfs", "afpfs" },
    Kind { "curlftpfs", "ftp" },
    Kind { "sshfs", {} },
    Kind { "rclone", {} },
    Kind { "9p", {} },
    Kind { "afs", {} },
    Kind { "ncpfs", {} },
    Kind { "ceph", {} },
    Kind { "glusterfs", {} },
};

const Kind* kindOf(std::string_view fileSystem) {
    if (fileSystem.starts_with(userSpace))
        fileSystem.remove_prefix(userSpace.size());
    const auto* const found
        = std::find_if(kinds.begin(), kinds.end(), [&](const Kind& one) { return one.fileSystem == fileSystem; });
    return found == kinds.end() ? nullptr : found;
}

bool isOctal(char character) {
    return character >= '0' && character <= '7';
}

/// The kernel writes blanks, line ends and backslashes of names as three octal digits behind a backslash.
std::string unescaped(std::string_view field) {
    std::string result;
    for (std::size_t index = 0; index < field.size(); ++index) {
        if (field[index] == '\\' && field.size() - index > 3 && field[index + 1] <= '3' && isOctal(field[index + 1])
            && isOctal(field[index + 2]) && isOctal(field[index + 3])) {
            result += static_cast<char>(
                (field[index + 1] - '0') * 64 + (field[index + 2] - '0') * 8 + (field[index + 3] - '0'));
            index += 3;
        } else {
            result += field[index];
        }
    }
    return result;
}

std::vector<std::string_view> fieldsOf(std::string_view line) {
    std::vector<std::string_view> fields;
    for (std::size_t start = 0; start <= line.size();) {
        const auto end = std::min(line.find(' ', start), line.size());
        fields.push_back(line.substr(start, end - start));
        start = end + 1;
    }
    return fields;
}

std::optional<KernelMount> readLine(std::string_view line) {
    constexpr std::ptrdiff_t placeField = 4;
    constexpr std::ptrdiff_t firstOptionalField = 6;
    const auto fields = fieldsOf(line);
    if (fields.size() <= firstOptionalField)
        return std::nullopt;
    const auto divider = std::find(fields.begin() + firstOptionalField, fields.end(), "-");
    if (fields.end() - divider < 3)
        return std::nullopt;
    return KernelMount { unescaped(fields[placeField]), unescaped(divider[1]), unescaped(divider[2]) };
}

struct Share final {
    std::string server;
    std::string path; ///< without slashes around; empty for a server's root
};

/// Without a login in front, and without the brackets of an address.
std::string bareServer(std::string server) {
    if (const auto at = server.rfind('@'); at != std::string::npos)
        server.erase(0, at + 1);
    return server.size() > 2 && server.front() == '[' && server.back() == ']' ? server.substr(1, server.size() - 2)
                                                                              : server;
}

std::string trimmed(std::string_view path) {
    return std::string(Text::withoutOuterSlashes(path));
}

/// What the source says of server and path. Programs write it in the manner of their protocol's tools.
Share shareOf(std::string source) {
    if (source.find('/') == std::string::npos)
        std::replace(source.begin(), source.end(), '\\', '/');
    // Programs for several protocols put their own name in front.
    if (const auto mark = source.find('#');
        mark != std::string::npos && mark < source.find("://") && source.find("://") != std::string::npos)
        source.erase(0, mark + 1);
    if (const auto url = ServerURL::parse(source))
        return { url->host, trimmed(url->path) };
    if (source.starts_with("//")) {
        const auto path = trimmed(source);
        const auto slash = std::min(path.find('/'), path.size());
        return { bareServer(path.substr(0, slash)), trimmed(path.substr(slash)) };
    }
    // "server:/path" with an address of the longer kind in brackets.
    const auto bracket = source.find("]:");
    const auto colon = bracket == std::string::npos ? source.find(':') : bracket + 1;
    if (colon == std::string::npos || source.find('/') < colon)
        return { {}, trimmed(source) };
    return { bareServer(source.substr(0, colon)), trimmed(source.substr(colon + 1)) };
}

} // namespace

std::vector<KernelMount> KernelMount::parse(std::string_view text) {
    std::vector<KernelMount> mounts;
    while (!text.empty()) {
        const auto end = std::min(text.find('\n'), text.size());
        if (auto mount = readLine(text.substr(0, end)))
            mounts.push_back(std::move(*mount));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return mounts;
}

bool KernelMount::isNetwork() const {
    return kindOf(fileSystem) != nullptr;
}

std::string KernelMount::identity() const {
    return fileSystem + " " + source;
}

VolumeDescription KernelMount::describe() const {
    const auto* const kind = kindOf(fileSystem);
    const auto share = shareOf(source);
    // A whole server is named after it, as is what has no name of its own; the folder's name is the last resort.
    auto last = Text::lastPathComponent(share.path);
    if (last.empty())
        last = share.server.empty() ? Text::lastPathComponent(place) : share.server;
    const bool isNamedByPath = kind && (kind->kind == "webdav" || kind->kind == "ftp") && !share.path.empty();
    VolumeDescription volume;
    volume.volumeName = VolumeNames::readable(isNamedByPath ? share.path : last);
    volume.volumeKind = VolumeNames::readable(kind && !kind->kind.empty() ? std::string(kind->kind) : fileSystem);
    volume.volumePath
        = VolumeNames::fileURL(VolumeNames::folderOfServer(share.server) + "/" + VolumeNames::withSpareNumber(last));
    volume.isNetwork = kind != nullptr;
    volume.serverName = VolumeNames::readable(share.server);
    return volume;
}

} // namespace quorrel
