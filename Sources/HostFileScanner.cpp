// SPDX-License-Identifier: GPL-3.0-or-later
#include "Sources/HostFileScanner.h"

#include "Foundation/Log.h"
#include "Foundation/Paragraphs.h"
#include "Foundation/TextList.h"
#include "Sources/DiscoveryEnvironment.h"
#include "Sources/Globals.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <filesystem>
#include <fstream>
#include <optional>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace quorrel {

namespace {

/// Lists that block advertisements have millions of names; what is larger still is no hosts file.
constexpr std::size_t largestFile = std::size_t { 64 } * 1024 * 1024;
/// So many names are announced at once, and added under one lock, which the main thread may be waiting for.
constexpr std::size_t namesPerAppend = 1000;

/// Absent when the file cannot be read or has anything but ASCII in it.
std::optional<std::string> textOfASCIIFile(const std::string& path) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(path, error)) // a pipe would never end
        return std::nullopt;
    std::ifstream file(path, std::ios::binary);
    std::string text;
    std::array<char, std::size_t { 64 } * 1024> part {};
    while (file.read(part.data(), part.size()) || file.gcount() > 0) {
        const std::string_view read(part.data(), static_cast<std::size_t>(file.gcount()));
        if (std::any_of(read.begin(), read.end(), [](char byte) { return static_cast<unsigned char>(byte) >= 0x80; })
            || text.size() + read.size() > largestFile)
            return std::nullopt;
        text += read;
    }
    return file.eof() ? std::optional(std::move(text)) : std::nullopt;
}

/// Only a line that begins with "#" is a comment: one behind names is taken for more names.
bool hasNames(const std::string& line) {
    return !line.empty() && line.front() != '#' && line.find("localhost") == std::string::npos
        && line.find("broadcasthost") == std::string::npos;
}

void addNames(const std::string& line, std::vector<std::string>& names) {
    constexpr auto blanks = " \t";
    for (auto start = line.find_first_not_of(blanks); start != std::string::npos;) {
        const auto end = line.find_first_of(blanks, start);
        auto field = line.substr(start, end - start);
        start = line.find_first_not_of(blanks, end);
        if (!Globals::isIPAddress(field))
            names.push_back(std::move(field));
    }
}

} // namespace

void HostFileScanner::main() {
    m_environment.log.line("Scaning local hosts file thread started");
    if (const auto text = m_hosts ? textOfASCIIFile(m_environment.hostsPath) : std::nullopt)
        appendNamesOf(*text);
    m_environment.log.line("Scaning local hosts file thread ended");
}

void HostFileScanner::appendNamesOf(std::string_view text) {
    std::vector<std::string> names;
    for (const auto& line : Text::paragraphs(text)) {
        if (hasNames(line))
            addNames(line, names);
        if (names.size() >= namesPerAppend)
            m_hosts->appendAll(std::exchange(names, {}));
    }
    m_hosts->appendAll(std::move(names));
}

} // namespace quorrel
