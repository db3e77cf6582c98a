// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/ProcessTable.h"

#include <arpa/inet.h>
#include <dirent.h>
#include <unistd.h>

#include <array>
#include <charconv>
#include <cstring>
#include <ctime>
#include <fstream>
#include <memory>
#include <set>
#include <sstream>

namespace quorrel {

namespace {

struct DirectoryCloser final {
    void operator()(DIR* directory) const { closedir(directory); }
};

std::vector<std::string> namesIn(const std::string& path) {
    std::vector<std::string> names;
    const std::unique_ptr<DIR, DirectoryCloser> directory(opendir(path.c_str()));
    if (!directory)
        return names;
    while (const dirent* item = readdir(directory.get())) // NOLINT(concurrency-mt-unsafe): each call has its own
        names.emplace_back(item->d_name);
    return names;
}

/// Inodes of the process's sockets.
std::set<std::string> socketsOf(pid_t process) {
    std::set<std::string> sockets;
    const auto folder = "/proc/" + std::to_string(process) + "/fd/";
    for (const auto& name : namesIn(folder)) {
        const auto target = ProcessTable::linkTarget(folder + name);
        if (target.starts_with("socket:[") && target.ends_with(']'))
            sockets.insert(target.substr(8, target.size() - 9));
    }
    return sockets;
}

/// An address as the kernel's tables write it: words of 32 bits in the machine's byte order, in hexadecimal.
std::string addressFrom(const std::string& digits) {
    std::array<std::uint32_t, 4> words {};
    const std::size_t count = digits.size() / 8;
    if (count != 1 && count != 4)
        return {};
    for (std::size_t index = 0; index < count; ++index)
        std::from_chars(digits.data() + index * 8, digits.data() + index * 8 + 8, words[index], 16);
    const bool isMapped = count == 4 && words[0] == 0 && words[1] == 0 && words[2] == htonl(0xffff);
    std::array<char, INET6_ADDRSTRLEN> text {};
    if (isMapped)
        inet_ntop(AF_INET, &words[3], text.data(), text.size());
    else
        inet_ntop(count == 1 ? AF_INET : AF_INET6, words.data(), text.data(), text.size());
    return text.data();
}

} // namespace

std::vector<pid_t> ProcessTable::identifiers() {
    std::vector<pid_t> result;
    for (const auto& name : namesIn("/proc")) {
        pid_t identifier = 0;
        const auto [end, error] = std::from_chars(name.data(), name.data() + name.size(), identifier);
        if (error == std::errc() && end == name.data() + name.size())
            result.push_back(identifier);
    }
    return result;
}

std::optional<ProcessEntry> ProcessTable::entry(pid_t process) {
    std::ifstream file("/proc/" + std::to_string(process) + "/stat");
    std::string line;
    if (!std::getline(file, line))
        return std::nullopt;
    // The name may hold blanks and brackets of its own; nothing behind it does.
    const auto open = line.find('(');
    const auto close = line.rfind(')');
    if (open == std::string::npos || close == std::string::npos)
        return std::nullopt;
    ProcessEntry entry;
    entry.identifier = process;
    entry.name = line.substr(open + 1, close - open - 1);
    std::istringstream fields(line.substr(close + 1));
    std::string state;
    fields >> state >> entry.parent;
    std::string skipped;
    constexpr int fieldsBeforeStart = 17;
    for (int count = 0; count < fieldsBeforeStart; ++count)
        fields >> skipped;
    fields >> entry.startTicks;
    // What has ended and only waits to be noticed by its parent is gone.
    return fields && state != "Z" && state != "X" ? std::optional(entry) : std::nullopt;
}

std::uint64_t ProcessTable::nowTicks() {
    timespec now {};
    clock_gettime(CLOCK_BOOTTIME, &now);
    const auto perSecond = static_cast<std::uint64_t>(sysconf(_SC_CLK_TCK));
    constexpr std::uint64_t nanoseconds = 1'000'000'000;
    return static_cast<std::uint64_t>(now.tv_sec) * perSecond
        + static_cast<std::uint64_t>(now.tv_nsec) * perSecond / nanoseconds;
}

std::string ProcessTable::linkTarget(const std::string& path) {
    std::array<char, 4097> buffer {};
    const auto length = readlink(path.c_str(), buffer.data(), buffer.size() - 1);
    return length > 0 ? std::string(buffer.data(), static_cast<std::size_t>(length)) : std::string();
}

std::vector<std::string> ProcessTable::remoteAddresses(pid_t process) {
    const auto sockets = socketsOf(process);
    std::vector<std::string> result;
    if (sockets.empty())
        return result;
    for (const char* table : { "tcp", "tcp6" }) {
        // The process's own table: it may live in another network namespace.
        std::ifstream file("/proc/" + std::to_string(process) + "/net/" + table);
        std::string line;
        std::getline(file, line);
        while (std::getline(file, line)) {
            std::istringstream fields(line);
            std::string number;
            std::string local;
            std::string remote;
            std::string skipped;
            std::string inode;
            fields >> number >> local >> remote;
            constexpr int fieldsBeforeInode = 6;
            for (int count = 0; count < fieldsBeforeInode; ++count)
                fields >> skipped;
            fields >> inode;
            if (sockets.contains(inode))
                result.push_back(addressFrom(remote.substr(0, remote.find(':'))));
        }
    }
    return result;
}

} // namespace quorrel
