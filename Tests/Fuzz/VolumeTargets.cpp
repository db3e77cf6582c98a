// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Text.h"
#include "Platform/Linux/KernelMount.h"
#include "Platform/Linux/VolumeNames.h"
#include "Sources/DiskMonitor.h"
#include "Tests/Fuzz/FuzzInput.h"
#include "Tests/Fuzz/Targets.h"

#include <string>

namespace quorrel::fuzz {

namespace {

std::string withoutOuterBlanks(const std::string& text) {
    const auto start = text.find_first_not_of(' ');
    return start == std::string::npos ? std::string() : text.substr(start, text.find_last_not_of(' ') + 1 - start);
}

/// As the kernel writes a field of its list.
std::string escapedField(const std::string& field) {
    std::string result;
    for (const char letter : field)
        if (letter == ' ')
            result += "\\040";
        else if (letter == '\t')
            result += "\\011";
        else if (letter == '\n')
            result += "\\012";
        else if (letter == '\\')
            result += "\\134";
        else if (letter == '#')
            result += "\\043";
        else
            result += letter;
    return result;
}

void describe(const KernelMount& mount) {
    const auto volume = mount.describe();
    require(volume.isNetwork == mount.isNetwork(), "a description knows whether its volume is a network's");
    for (const auto* text : { &volume.volumeName, &volume.volumeKind, &volume.volumePath })
        require(text->has_value() && Text::isUTF8(**text), "a description is UTF-8");
    require(Text::isUTF8(volume.serverName), "a server's name is UTF-8");
    constexpr std::string_view scheme = "file:";
    const auto& place = *volume.volumePath;
    require(place.starts_with("file:///net/"), "a place is a URL");
    for (const char letter : place)
        require(letter > 0x20 && letter < 0x7F, "a URL is printable ASCII");
    const auto name = DiskMonitor::getNameFromPath(Text::percentDecoded(std::string_view(place).substr(scheme.size())));
    require(!contains(name, "/"), "a name is no path");
}

} // namespace

void readVolumePath(std::string_view input) {
    const std::string path(input);
    const auto last = Text::lastPathComponent(path);
    for (const auto& each : { path, Text::percentDecoded(path) }) {
        const auto name = DiskMonitor::getNameFromPath(each);
        require(!contains(name, "/"), "a name is no path");
        require(contains(Text::lastPathComponent(each), name), "a name is what the path ends with");
        if (!contains(name, "-"))
            require(DiskMonitor::getNameFromPath(name) == name, "a plain name is its own");
    }
    // What the platform says of a volume's place is read back as the volume's name.
    constexpr std::string_view scheme = "file:";
    const auto url = VolumeNames::fileURL("/net/server/" + VolumeNames::withSpareNumber(last));
    const auto read = DiskMonitor::getNameFromPath(Text::percentDecoded(std::string_view(url).substr(scheme.size())));
    if (!withoutOuterBlanks(last).empty())
        require(withoutOuterBlanks(read) == withoutOuterBlanks(last), "a volume's place tells its name");
}

/// The input is read as the kernel's list; and its parts as the fields of one line, for which the kernel's escapes are
/// to be undone.
void readKernelMounts(std::string_view input) {
    for (const auto& mount : KernelMount::parse(input)) {
        require(!mount.identity().empty(), "a mount has an identity");
        describe(mount);
    }

    FuzzInput parts(input);
    const KernelMount mount { parts.part(), parts.part(), parts.part() };
    const auto line = "36 35 98:0 / " + escapedField(mount.place) + " rw,noatime master:1 - "
        + escapedField(mount.fileSystem) + " " + escapedField(mount.source) + " rw\n";
    const auto read = KernelMount::parse(line + line);
    require(read.size() == 2 && read[0] == mount && read[1] == mount, "the kernel's escapes are undone");
    describe(mount);
}

} // namespace quorrel::fuzz
