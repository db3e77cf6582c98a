// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/HostLookup.h"

#include "Platform/Linux/SpawnedProcess.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <sstream>
#include <utility>

#include <fcntl.h>
#include <glib-unix.h>
#include <signal.h>
#include <unistd.h>

namespace quorrel {

namespace {

constexpr std::size_t longestOutput = 65536;

std::vector<InternetAddress> readAddresses(const std::string& output) {
    std::vector<InternetAddress> addresses;
    std::istringstream lines(output.substr(0, output.rfind('\n') + 1)); // the rest may be half an address
    for (std::string line; std::getline(lines, line);)
        if (const auto address = InternetAddress::parse(line.substr(0, line.find(' '))))
            // Each stands there once for every kind of socket.
            if (std::find(addresses.begin(), addresses.end(), *address) == addresses.end())
                addresses.push_back(*address);
    return addresses;
}

} // namespace

/// Shared with what reaps the process, which may happen before and after the end of the look-up.
struct HostLookup::Child final {
    pid_t identifier = 0; // 0 once it is gone, and its number perhaps another's
    std::shared_ptr<RunningTools> tools;

    void ended() {
        if (tools)
            tools->ended(identifier);
        identifier = 0;
    }
};

HostLookup::HostLookup(std::shared_ptr<RunningTools> tools, std::string program, Seconds limit)
    : m_tools(std::move(tools))
    , m_program(std::move(program))
    , m_limit(limit) { }

void HostLookup::start(const std::string& name, Found found) {
    stop();
    m_found = std::move(found);
    const bool isSpawned = spawn(name);
    m_timer.start(isSpawned ? m_limit : Seconds(0), [this] { finish(); });
}

bool HostLookup::spawn(const std::string& name) {
    std::array<int, 2> ends { -1, -1 };
    if (::pipe2(ends.data(), O_CLOEXEC) != 0)
        return false;
    m_readEnd = FileDescriptor(ends[0]);
    const FileDescriptor writeEnd(ends[1]);
    SpawnedProcess process(m_program, { "ahosts", "--", name });
    if (::fcntl(m_readEnd.get(), F_SETFL, O_NONBLOCK) != 0 || process.start(writeEnd.get()) != 0) {
        m_readEnd.close();
        return false;
    }
    m_child = std::make_shared<Child>(Child { process.identifier(), m_tools });
    if (m_tools)
        m_tools->began(process.identifier());
    g_child_watch_add_full(
        G_PRIORITY_DEFAULT, m_child->identifier,
        [](GPid, int, void* child) { (*static_cast<std::shared_ptr<Child>*>(child))->ended(); },
        new std::shared_ptr<Child>(m_child), // NOLINT(cppcoreguidelines-owning-memory)
        [](void* child) { delete static_cast<std::shared_ptr<Child>*>(child); });
    m_source = g_unix_fd_add(
        m_readEnd.get(), static_cast<GIOCondition>(G_IO_IN | G_IO_HUP | G_IO_ERR),
        [](int descriptor, GIOCondition condition, void* lookup) -> gboolean {
            return heard(descriptor, condition, lookup);
        },
        this);
    return true;
}

int HostLookup::heard(int descriptor, int, void* data) noexcept {
    auto& lookup = *static_cast<HostLookup*>(data);
    std::array<char, 4096> buffer {};
    const auto size = ::read(descriptor, buffer.data(), buffer.size());
    if (size < 0 && (errno == EINTR || errno == EAGAIN))
        return G_SOURCE_CONTINUE;
    if (size > 0) {
        lookup.m_output.append(buffer.data(), static_cast<std::size_t>(size));
        if (lookup.m_output.size() < longestOutput)
            return G_SOURCE_CONTINUE;
    }
    lookup.m_source = 0; // so that it is left to the value returned here
    lookup.finish();
    return G_SOURCE_REMOVE;
}

void HostLookup::finish() {
    const auto found = std::exchange(m_found, nullptr);
    const auto addresses = readAddresses(m_output);
    stop();
    found(addresses);
}

void HostLookup::stop() {
    m_timer.stop();
    if (const auto source = std::exchange(m_source, 0))
        g_source_remove(source);
    m_readEnd.close();
    m_output.clear();
    m_found = nullptr;
    if (const auto child = std::exchange(m_child, nullptr); child && child->identifier != 0)
        ::kill(child->identifier, SIGKILL);
}

} // namespace quorrel
