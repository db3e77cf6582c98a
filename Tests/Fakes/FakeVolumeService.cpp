// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeVolumeService.h"

#include "Foundation/Text.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <utility>

namespace quorrel {

namespace {

constexpr std::int32_t noSuchVolume = -35;

MountedVolume describe(const MountRequest& request) {
    MountedVolume volume;
    const auto schemeEnd = request.url.find("://");
    volume.scheme = request.url.substr(0, schemeEnd);
    std::string rest = schemeEnd == std::string::npos ? std::string() : request.url.substr(schemeEnd + 3);
    const auto slash = rest.find('/');
    if (slash != std::string::npos)
        volume.path = Text::percentDecoded(rest.substr(slash + 1));
    rest = rest.substr(0, slash);
    if (const auto at = rest.rfind('@'); at != std::string::npos) {
        volume.user = Text::percentDecoded(rest.substr(0, rest.find_first_of(":;@")));
        rest = rest.substr(at + 1);
    }
    if (const auto colon = rest.rfind(':'); colon != std::string::npos) {
        std::from_chars(rest.data() + colon + 1, rest.data() + rest.size(), volume.port);
        rest = rest.substr(0, colon);
    }
    volume.host = Text::percentDecoded(rest);
    if (request.user)
        volume.user = *request.user;
    if (volume.user == "Guest" || volume.user == "anonymous")
        volume.user.clear();
    volume.volumeName = request.volumeName;
    volume.location = "/home/test/Volumes/" + request.volumeName;
    return volume;
}

std::string identityOf(const MountedVolume& volume) {
    return volume.scheme + "|" + volume.user + "|" + volume.host + "|" + std::to_string(volume.port) + "|"
        + volume.path;
}

} // namespace

FakeVolumeService::FakeVolumeService(Clock& clock, Seconds deadline)
    : m_clock(clock)
    , m_deadline(deadline) { }

void FakeVolumeService::setMountReply(const std::string& url, Reply reply) {
    const std::lock_guard lock(m_mutex);
    m_mountReplies[url] = std::move(reply);
}

void FakeVolumeService::enqueueMountReply(Reply reply) {
    const std::lock_guard lock(m_mutex);
    m_nextMountReplies.push_back(std::move(reply));
}

void FakeVolumeService::setUnmountReply(std::int16_t volumeReference, Reply reply) {
    const std::lock_guard lock(m_mutex);
    m_unmountReplies[volumeReference] = std::move(reply);
}

void FakeVolumeService::enqueueUnmountReply(Reply reply) {
    const std::lock_guard lock(m_mutex);
    m_nextUnmountReplies.push_back(std::move(reply));
}

std::int16_t FakeVolumeService::addMountedVolume(MountedVolume volume) {
    const std::lock_guard lock(m_mutex);
    if (volume.volumeReference == 0)
        volume.volumeReference = freeReference();
    const auto reference = volume.volumeReference;
    std::string identity = identityOf(volume);
    m_volumes.push_back({ std::move(identity), std::move(volume) });
    return reference;
}

void FakeVolumeService::loseVolume(std::int16_t volumeReference) {
    const std::lock_guard lock(m_mutex);
    std::erase_if(
        m_volumes, [&](const Volume& volume) { return volume.description.volumeReference == volumeReference; });
}

void FakeVolumeService::release() {
    const std::lock_guard lock(m_mutex);
    ++m_releases;
    m_changed.notify_all();
}

bool FakeVolumeService::waitForHanging(int count) {
    std::unique_lock lock(m_mutex);
    return m_changed.wait_for(lock, std::chrono::seconds(10), [&] { return m_hanging >= count; });
}

std::vector<MountRequest> FakeVolumeService::requests() const {
    const std::lock_guard lock(m_mutex);
    return m_requests;
}

std::vector<std::int16_t> FakeVolumeService::unmounts() const {
    const std::lock_guard lock(m_mutex);
    return m_unmounts;
}

MountReply FakeVolumeService::mountServerVolume(const MountRequest& request) {
    Reply reply;
    {
        const std::lock_guard lock(m_mutex);
        m_requests.push_back(request);
        if (!m_nextMountReplies.empty()) {
            reply = std::move(m_nextMountReplies.front());
            m_nextMountReplies.pop_front();
        } else if (const auto scripted = m_mountReplies.find(request.url); scripted != m_mountReplies.end()) {
            reply = scripted->second;
        }
    }
    if (!playOut(reply))
        return { VolumeStatus::notResponding, 0 };
    if (reply.status != VolumeStatus::success)
        return { reply.status, reply.volumeReference.value_or(0) };
    const std::lock_guard lock(m_mutex);
    Volume fresh { {}, describe(request) };
    fresh.identity = identityOf(fresh.description);
    for (const auto& volume : m_volumes)
        if (volume.identity == fresh.identity)
            return { VolumeStatus::success, volume.description.volumeReference, volume.description.location };
    const auto reference = reply.volumeReference ? *reply.volumeReference : freeReference();
    fresh.description.volumeReference = reference;
    MountReply result { VolumeStatus::success, reference, fresh.description.location };
    m_volumes.push_back(std::move(fresh));
    return result;
}

std::int32_t FakeVolumeService::unmountVolume(std::int16_t volumeReference) {
    Reply reply;
    {
        const std::lock_guard lock(m_mutex);
        m_unmounts.push_back(volumeReference);
        if (!m_nextUnmountReplies.empty()) {
            reply = std::move(m_nextUnmountReplies.front());
            m_nextUnmountReplies.pop_front();
        } else if (const auto scripted = m_unmountReplies.find(volumeReference); scripted != m_unmountReplies.end()) {
            reply = scripted->second;
        }
    }
    if (!playOut(reply))
        return VolumeStatus::notResponding;
    if (reply.status != VolumeStatus::success)
        return reply.status;
    const std::lock_guard lock(m_mutex);
    if (!volumeWith(volumeReference))
        return noSuchVolume;
    std::erase_if(
        m_volumes, [&](const Volume& volume) { return volume.description.volumeReference == volumeReference; });
    return VolumeStatus::success;
}

std::vector<MountedVolume> FakeVolumeService::mountedVolumes() {
    const std::lock_guard lock(m_mutex);
    std::vector<MountedVolume> result;
    for (const auto& volume : m_volumes)
        result.push_back(volume.description);
    return result;
}

void FakeVolumeService::interrupt() {
    m_interrupted.signal();
    const std::lock_guard lock(m_mutex);
    m_changed.notify_all();
}

bool FakeVolumeService::playOut(const Reply& reply) {
    if (m_interrupted.isSignalled())
        return false;
    if (reply.onCall)
        reply.onCall();
    if (reply.hangs) {
        // Bounded in real time, so that a test that forgets to release fails instead of standing still.
        std::unique_lock lock(m_mutex);
        const auto before = m_releases;
        ++m_hanging;
        m_changed.notify_all();
        const bool released = m_changed.wait_for(
            lock, std::chrono::seconds(30), [&] { return m_releases != before || m_interrupted.isSignalled(); });
        --m_hanging;
        if (!released)
            return false;
    }
    if (reply.delay > Seconds::zero())
        m_clock.sleep(std::min(reply.delay, m_deadline), &m_interrupted);
    return !m_interrupted.isSignalled() && reply.delay <= m_deadline;
}

std::int16_t FakeVolumeService::freeReference() {
    do
        m_lastReference
            = m_lastReference == INT16_MAX ? std::int16_t { 1 } : static_cast<std::int16_t>(m_lastReference + 1);
    while (volumeWith(m_lastReference));
    return m_lastReference;
}

FakeVolumeService::Volume* FakeVolumeService::volumeWith(std::int16_t volumeReference) {
    const auto found = std::find_if(m_volumes.begin(), m_volumes.end(),
        [&](const Volume& volume) { return volume.description.volumeReference == volumeReference; });
    return found == m_volumes.end() ? nullptr : &*found;
}

} // namespace quorrel
