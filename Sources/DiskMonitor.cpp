// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/DiskMonitor.h"

#include "Foundation/Dictionary.h"
#include "Foundation/Log.h"
#include "Foundation/NotificationCenter.h"
#include "Foundation/Text.h"
#include "Platform/VolumeWatch.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/VolumeSpelling.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string_view>
#include <utility>

namespace quorrel {

namespace {

constexpr int volumeAppearedAction = 91;
constexpr int volumeLeftAction = 90;

constexpr auto smbType = "Server Message Block (smb)";
constexpr auto ftpType = "File Transfer Protocol (ftp)";

/// The length of a URL's scheme with its colon; 0 for what has none.
std::size_t schemeLength(std::string_view url) {
    const auto colon = url.find(':');
    return colon == std::string_view::npos || url.find('/') < colon ? 0 : colon + 1;
}

std::string_view resourceSpecifier(std::string_view url) {
    return url.substr(schemeLength(url));
}

/// For the log: without user and password, also where the password has slashes that should have been escaped.
std::string withoutLogin(std::string_view url) {
    const auto start = schemeLength(url) + 2;
    const auto at = url.rfind('@');
    const bool hasAuthority = url.substr(start - 2).starts_with("//") && !url.substr(start).starts_with('/');
    if (!hasAuthority || at == std::string_view::npos)
        return std::string(url);
    return std::string(url.substr(0, start)) + std::string(url.substr(at + 1));
}

/// In one line, whatever is in it.
std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char letter : text) {
        if (letter == '"' || letter == '\\' || letter == '\n')
            result += '\\';
        result += letter == '\n' ? 'n' : letter;
    }
    return result + '"';
}

std::string diskDescription(const VolumeDescription& volume) {
    std::string result = "{ ";
    if (volume.volumeName)
        result += "DAVolumeName = " + quoted(*volume.volumeName) + "; ";
    if (volume.volumeKind)
        result += "DAVolumeKind = " + quoted(*volume.volumeKind) + "; ";
    if (volume.volumePath)
        result += "DAVolumePath = " + quoted(withoutLogin(*volume.volumePath)) + "; ";
    return result + "DAVolumeNetwork = " + (volume.isNetwork ? "1" : "0") + "; }";
}

OptionalText typeOf(const VolumeDescription& volume) {
    const auto& kind = volume.volumeKind;
    if (kind == "afpfs")
        return "Apple Filing Protocol (afp)";
    if (kind == "smbfs")
        return smbType;
    if (kind == "webdav")
        return "WebDAV (http)";
    return kind;
}

OptionalText nameOf(const VolumeDescription& volume, const OptionalText& type) {
    if (type != smbType && type != ftpType) // no kind stands for the latter, so that FTP goes by the volume's name
        return volume.volumeName;
    if (!volume.volumePath)
        return std::nullopt;
    return DiskMonitor::getNameFromPath(Text::percentDecoded(resourceSpecifier(*volume.volumePath)));
}

std::string_view withoutOuterSpaces(std::string_view text) {
    text.remove_prefix(std::min(text.find_first_not_of(' '), text.size()));
    return text.substr(0, text.find_last_not_of(' ') + 1);
}

/// Whether the number that the text begins with is at least 1, however long it is.
bool beginsWithPositiveNumber(std::string_view text) {
    const auto digit = text.find_first_not_of('0');
    return digit != std::string_view::npos && text[digit] >= '1' && text[digit] <= '9';
}

} // namespace

DiskMonitor::DiskMonitor(const DiscoveryEnvironment& environment, Hosts hosts)
    : m_environment(environment)
    , m_hosts(std::move(hosts)) {
    m_disappeared = m_environment.volumes.registerDiskDisappearedCallback(
        [this](const VolumeDescription& volume) { diskDisappearedCallback(volume); });
    m_appeared = m_environment.volumes.registerDiskAppearedCallback(
        [this](const VolumeDescription& volume) { diskAppearedCallback(volume); });
}

DiskMonitor::~DiskMonitor() {
    m_appeared.cancel();
    m_disappeared.cancel();
}

std::string DiskMonitor::getNameFromPath(const std::string& path) {
    auto component = Text::lastPathComponent(path);
    const auto dash = component.rfind('-');
    if (dash == std::string::npos
        || !beginsWithPositiveNumber(withoutOuterSpaces(std::string_view(component).substr(dash + 1))))
        return component;
    return std::string(withoutOuterSpaces(std::string_view(component).substr(0, dash)));
}

void DiskMonitor::diskAppearedCallback(const VolumeDescription& volume) {
    if (!volume.isNetwork)
        return;
    m_environment.log.line("DiskAppearedCallback diskDescription = %@", { diskDescription(volume) });
    const auto type = typeOf(volume);
    auto name = nameOf(volume, type);
    if (name) {
        const auto spelling = spelled(*name, volume);
        if (spelling == *name)
            m_announced.erase(identityOf(volume));
        else
            m_announced.insert_or_assign(identityOf(volume), spelling);
        name = spelling;
    }
    post(volumeAppearedAction, name, type);
}

void DiskMonitor::diskDisappearedCallback(const VolumeDescription& volume) {
    if (!volume.isNetwork)
        return;
    m_environment.log.line("DiskDisappearedCallback diskDescription = %@", { diskDescription(volume) });
    const auto type = typeOf(volume);
    auto name = nameOf(volume, type);
    if (name) {
        // The record that was marked is the one to be unmarked: it goes before others of the same name, unless the
        // share has been spelled otherwise since.
        const auto announced = m_announced.extract(identityOf(volume));
        name = spelled(announced ? announced.mapped() : *name, volume);
    }
    post(volumeLeftAction, name, type);
}

std::string DiskMonitor::spelled(const std::string& name, const VolumeDescription& volume) const {
    return m_hosts ? spelledAsInCatalogue(name, volume, m_hosts()) : name;
}

DiskMonitor::Identity DiskMonitor::identityOf(const VolumeDescription& volume) {
    return { textOf(volume.volumePath), volume.serverName, textOf(volume.volumeName) };
}

void DiskMonitor::post(int action, const OptionalText& name, const OptionalText& type) const {
    Dictionary userInfo;
    userInfo.set("action", action);
    if (name) { // the first absent value ends the list
        userInfo.set("name", *name);
        if (type)
            userInfo.set("type", *type);
    }
    // Whoever hears it may destroy this: nothing may follow.
    m_environment.notificationCenter.post("diskAddRemoveNotification", nullptr, std::move(userInfo));
}

} // namespace quorrel
