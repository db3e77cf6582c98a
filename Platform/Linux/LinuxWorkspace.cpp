// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/LinuxWorkspace.h"

#include "Platform/Linux/HostnameService.h"
#include "Platform/Linux/ModelTypes.h"
#include "Platform/Linux/OwnerOnlyFile.h"
#include "Platform/Linux/SpawnedProcess.h"

#include <algorithm>
#include <array>
#include <climits>
#include <cstddef>
#include <cstdlib>
#include <utility>

#include <sys/stat.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr Seconds nameDeadline { 0.5 };
constexpr std::size_t largestMachineInfo = std::size_t { 64 } << 10U;

std::string askForName(const LinuxWorkspace::Places& places) {
    if (auto name = prettyHostname(places.systemBus, nameDeadline))
        return *name;
    const auto machineInfo = OwnerOnlyFile::read(places.machineInfo, largestMachineInfo);
    if (auto name = shellAssignment(machineInfo.bytes, "PRETTY_HOSTNAME"); name && !name->empty())
        return *name;
    std::array<char, HOST_NAME_MAX + 1> name {};
    return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "localhost";
}

/// Everybody may put things into the system's folder, and a catalogue names scripts that are run: what is read back
/// must not be somebody else's.
std::string ownFolderIn(const std::string& parent) {
    auto folder = parent + "/quorrel-" + std::to_string(::geteuid());
    ::mkdir(folder.c_str(), S_IRWXU);
    struct stat status { };
    if (::lstat(folder.c_str(), &status) == 0 && S_ISDIR(status.st_mode) && status.st_uid == ::geteuid()
        && (status.st_mode & (S_IRWXG | S_IRWXO)) == 0)
        return folder;
    folder = parent + "/quorrel-XXXXXX";
    return ::mkdtemp(folder.data()) ? folder : "/dev/null"; // below that is nothing, and nothing can be made
}

/// An opener takes options too, and a relative path would depend on where we were started.
bool isPathOrURL(const std::string& text) {
    const auto isLetter
        = [](char letter) { return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z'); };
    const auto scheme = text.substr(0, text.find(':'));
    const bool isURL = scheme.size() < text.size() && !scheme.empty() && isLetter(scheme.front())
        && std::all_of(scheme.begin(), scheme.end(), [&](char letter) {
               return isLetter(letter) || (letter >= '0' && letter <= '9') || letter == '+' || letter == '-'
                   || letter == '.';
           });
    return isURL || text.starts_with('/');
}

std::optional<std::string> orAbsent(std::string_view text) {
    return text.empty() ? std::nullopt : std::optional<std::string>(text);
}

} // namespace

LinuxWorkspace::LinuxWorkspace(Places places)
    : m_places(std::move(places)) { }

std::string LinuxWorkspace::computerName() const {
    std::call_once(m_nameAsked, [this] { m_name = askForName(m_places); });
    return m_name;
}

std::optional<std::string> LinuxWorkspace::applicationSupportDirectory() const {
    if (!m_places.data || OwnerOnlyFile::createFolders(*m_places.data))
        return std::nullopt;
    return m_places.data;
}

std::string LinuxWorkspace::temporaryDirectory() const {
    std::call_once(m_temporaryMade, [this] { m_temporary = ownFolderIn(m_places.temporary); });
    return m_temporary;
}

bool LinuxWorkspace::exists(const std::string& path) const {
    struct stat status { };
    return ::lstat(path.c_str(), &status) == 0;
}

bool LinuxWorkspace::createDirectory(const std::string& path) {
    // The umask can have taken the owner's own rights away.
    return ::mkdir(path.c_str(), S_IRWXU) == 0 && ::chmod(path.c_str(), S_IRWXU) == 0;
}

bool LinuxWorkspace::openURL(const std::string& url) {
    return isPathOrURL(url) && SpawnedProcess(m_places.opener, { url }).startDetached() == 0;
}

std::string LinuxWorkspace::typeIdentifierForModelCode(const std::string& modelCode) const {
    return typeIdentifierForModel(modelCode);
}

std::optional<TypeDeclaration> LinuxWorkspace::typeDeclaration(const std::string& identifier) const {
    const auto* type = modelType(identifier);
    if (!type)
        return std::nullopt;
    return TypeDeclaration { orAbsent(type->iconFile), orAbsent(type->conformsTo), m_places.icons };
}

std::optional<Image> LinuxWorkspace::imageAtPath(const std::string& path) const {
    return m_imageFiles.contain(path) ? std::optional(Image { path }) : std::nullopt;
}

std::optional<Image> LinuxWorkspace::systemIcon(SystemIcon icon) const {
    const auto* file = icon == SystemIcon::MusicPlayer ? "music-player.png"
        : icon == SystemIcon::Phone                    ? "phone.png"
                                                       : "server.png";
    return imageAtPath(m_places.icons + "/Contents/Resources/" + file);
}

} // namespace quorrel
