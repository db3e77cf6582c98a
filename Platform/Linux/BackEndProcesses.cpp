// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/BackEndProcesses.h"

#include <algorithm>
#include <csignal>
#include <set>
#include <utility>

namespace quorrel {

namespace {

constexpr Seconds endingLimit { 1 };
constexpr Seconds lookAgain { 0.002 };

} // namespace

std::optional<ProcessEntry> BackEndProcesses::choose(const Trace& trace, std::vector<ProcessEntry> pending,
    const std::function<std::vector<std::string>(pid_t)>& remoteAddresses) {
    std::erase_if(pending, [&](const ProcessEntry& process) { return process.startTicks < trace.notBefore; });
    std::sort(pending.begin(), pending.end(), [](const ProcessEntry& left, const ProcessEntry& right) {
        return std::pair(left.startTicks, left.identifier) < std::pair(right.startTicks, right.identifier);
    });
    const ProcessEntry* unconnected = nullptr;
    for (const auto& process : pending) {
        const auto remotes = remoteAddresses(process.identifier);
        const auto isOurs = [&](const std::string& remote) {
            return std::find(trace.addresses.begin(), trace.addresses.end(), remote) != trace.addresses.end();
        };
        if (std::any_of(remotes.begin(), remotes.end(), isOurs))
            return process;
        // One that talks to nobody may still be resolving our name; one that talks to another server is not ours,
        // unless our own addresses never became known.
        if (!unconnected && (remotes.empty() || trace.addresses.empty()))
            unconnected = &process;
    }
    return unconnected ? std::optional(*unconnected) : std::nullopt;
}

std::vector<ProcessEntry> BackEndProcesses::pendingProcesses(const std::string& name) {
    const auto daemon = m_tracker.daemonProcess();
    std::vector<ProcessEntry> result;
    if (!daemon)
        return result;
    for (const pid_t identifier : ProcessTable::identifiers()) {
        const auto process = ProcessTable::entry(identifier);
        if (process && process->parent == *daemon && process->name == name)
            result.push_back(*process);
    }
    // Asked after the processes: one that mounts just now is not taken for one that waits.
    const auto mounts = result.empty() ? std::nullopt : m_tracker.mounts();
    if (!mounts)
        return {};
    std::set<pid_t> mounted;
    for (const auto& mount : *mounts) {
        const auto owner = m_tracker.processOf(mount.busName);
        if (owner)
            mounted.insert(*owner);
    }
    std::erase_if(result, [&](const ProcessEntry& process) { return mounted.contains(process.identifier); });
    return result;
}

bool BackEndProcesses::endPending(const Trace& trace) {
    auto pending = pendingProcesses(trace.name);
    while (const auto process = choose(trace, pending, ProcessTable::remoteAddresses)) {
        if (m_claims.claim(*process))
            return terminate(process->identifier);
        std::erase_if(pending, [&](const ProcessEntry& other) { return other.identifier == process->identifier; });
    }
    return false;
}

bool BackEndProcesses::terminate(pid_t process) {
    if (kill(process, SIGTERM) != 0)
        return false;
    // A stopped or stuck one does not heed that.
    for (const int signal : { 0, SIGKILL }) {
        if (signal != 0)
            kill(process, signal);
        for (int turn = 0; turn < endingLimit / lookAgain && !m_loop.isOver(); ++turn) {
            if (!ProcessTable::entry(process))
                return true;
            m_loop.pause(lookAgain);
        }
    }
    return !ProcessTable::entry(process);
}

void BackEndProcesses::endIdle(pid_t process, const std::string& busName) {
    const auto entry = ProcessTable::entry(process);
    const auto mounts = m_tracker.mounts();
    if (!entry || !entry->name.starts_with("gvfsd-") || !mounts)
        return;
    const auto serves = [&](const GvfsMount& mount) { return mount.busName == busName; };
    if (std::none_of(mounts->begin(), mounts->end(), serves))
        kill(process, SIGTERM);
}

bool BackEndProcesses::endMounted(const GvfsMount& mount) {
    const auto process = m_tracker.processOf(mount.busName);
    if (process && !terminate(*process))
        return false;
    for (int turn = 0; turn < endingLimit / lookAgain && !m_loop.isOver(); ++turn) {
        const auto mounts = m_tracker.mounts();
        if (mounts && std::none_of(mounts->begin(), mounts->end(), [&](const GvfsMount& one) {
                return one.busName == mount.busName && one.objectPath == mount.objectPath;
            }))
            return true;
        m_loop.pause(lookAgain);
    }
    return false;
}

} // namespace quorrel
