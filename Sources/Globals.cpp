// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/Globals.h"

#include <algorithm>
#include <array>
#include <set>
#include <string_view>

namespace quorrel {

namespace {

struct Names final {
    std::string_view name;
    std::string_view result;
};

// Secure WebDAV has no DNS-SD type of its own, and NFS entries have always gone by FTP's names.
constexpr std::array typeNames {
    Names { "Apple Filing Protocol (afp)", "_afpovertcp._tcp." },
    Names { "afp", "_afpovertcp._tcp." },
    Names { "Server Message Block (smb)", "_smb._tcp." },
    Names { "Common Internet File System (cifs)", "_smb._tcp." },
    Names { "smb", "_smb._tcp." },
    Names { "Network File System (nfs)", "_ftp._tcp." },
    Names { "ftp", "_ftp._tcp." },
    Names { "File Transfer Protocol (ftp)", "_ftp._tcp." },
    Names { "WebDAV (http)", "_http._tcp." },
    Names { "http", "_http._tcp." },
    Names { "Secure WebDAV (https)", "_http._tcp." },
    Names { "https", "_http._tcp." },
};

constexpr std::array schemeNames {
    Names { "Apple Filing Protocol (afp)", "afp" },
    Names { "Server Message Block (smb)", "smb" },
    Names { "Common Internet File System (cifs)", "smb" },
    Names { "Network File System (nfs)", "ftp" },
    Names { "File Transfer Protocol (ftp)", "ftp" },
    Names { "WebDAV (http)", "http" },
    Names { "Secure WebDAV (https)", "https" },
};

template <typename Table>
OptionalText lookUp(const Table& table, std::string_view name) {
    const auto found = std::find_if(table.begin(), table.end(), [&](const Names& each) { return each.name == name; });
    return found == table.end() ? std::nullopt : OptionalText(found->result);
}

std::optional<Image> iconFrom(const Workspace& workspace, const TypeDeclaration& declaration) {
    if (!declaration.iconFile)
        return std::nullopt;
    auto path = declaration.bundlePath;
    if (!path.ends_with('/'))
        path += '/';
    return workspace.imageAtPath(path + "Contents/Resources/" + *declaration.iconFile);
}

std::optional<Image> iconOfType(const Workspace& workspace, const std::string& identifier) {
    const auto declaration = workspace.typeDeclaration(identifier);
    return declaration ? iconFrom(workspace, *declaration) : std::nullopt;
}

/// The icon of the nearest kind that has one, from the declaration up.
std::optional<Image> inheritedIcon(const Workspace& workspace, std::optional<TypeDeclaration> declaration) {
    std::set<std::string> followed; // a table that goes in a circle ends the search
    while (declaration && !declaration->iconFile) {
        if (!declaration->conformsTo || !followed.insert(*declaration->conformsTo).second)
            return std::nullopt;
        declaration = workspace.typeDeclaration(*declaration->conformsTo);
    }
    return declaration ? iconFrom(workspace, *declaration) : std::nullopt;
}

} // namespace

OptionalText Globals::getFullServiceName(const OptionalText& name) {
    return name ? lookUp(typeNames, *name) : "_afpovertcp._tcp.";
}

OptionalText Globals::getShortServiceName(const OptionalText& displayName) {
    return displayName ? lookUp(schemeNames, *displayName) : "afp";
}

bool Globals::isIPAddress(const OptionalText& text) {
    return text && std::all_of(text->begin(), text->end(), [](char letter) {
        return letter == '.' || (letter >= '0' && letter <= '9');
    });
}

std::string Globals::getLocalComputerName(const Workspace& workspace) {
    return workspace.computerName();
}

std::optional<Image> Globals::getComputerIconForModelCode(
    const Workspace& workspace, const OptionalText& modelCode, const OptionalText& serviceType) {
    std::string identifier = "public.generic-pc";
    if (modelCode && !modelCode->empty()) {
        if (*modelCode == "M68AP" || *modelCode == "Device")
            return getDefaultiPhoneIcon(workspace);
        identifier = workspace.typeIdentifierForModelCode(*modelCode);
    }
    if (const auto declaration = workspace.typeDeclaration(identifier))
        return inheritedIcon(workspace, declaration);
    const auto type = textOf(serviceType);
    if (type == "Apple Filing Protocol (afp)" || type == "afp" || type == "_afpovertcp._tcp.")
        return getDefaultMacComputerIcon(workspace);
    return getDefaultPCComputerIcon(workspace);
}

std::optional<Image> Globals::getDefaultPCComputerIcon(const Workspace& workspace) {
    return iconOfType(workspace, "public.generic-pc");
}

std::optional<Image> Globals::getDefaultMacComputerIcon(const Workspace& workspace) {
    return iconOfType(workspace, "com.apple.mac");
}

std::optional<Image> Globals::getDefaultiPodIcon(const Workspace& workspace) {
    return workspace.systemIcon(SystemIcon::MusicPlayer);
}

std::optional<Image> Globals::getDefaultiPhoneIcon(const Workspace& workspace) {
    return workspace.systemIcon(SystemIcon::Phone);
}

} // namespace quorrel
