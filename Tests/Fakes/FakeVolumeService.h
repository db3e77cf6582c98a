// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/WakeSignal.h"
#include "Platform/VolumeService.h"

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace quorrel {

/// Volumes without servers: what a call gets is scripted, what it asked is recorded. Any thread.
///
/// Without a script every mount succeeds with a reference of its own, a location mounted already with the one it has.
class FakeVolumeService final : public VolumeService {
public:
    struct Reply final {
        std::int32_t status = VolumeStatus::success;
        std::optional<std::int16_t> volumeReference; ///< absent: the next free one after a success, 0 after a failure
        Seconds delay { 0 }; ///< on the clock; one beyond the deadline ends there with "not responding"
        bool hangs = false; ///< until released or interrupted
        std::function<void()> onCall; ///< runs on the caller's thread before the delay
    };

    explicit FakeVolumeService(Clock& clock, Seconds deadline = Seconds(60));

    /// What mounts of that URL get from now on.
    void setMountReply(const std::string& url, Reply reply);
    /// What the next mounts get, one each, before any reply by URL.
    void enqueueMountReply(Reply reply);
    void setUnmountReply(std::int16_t volumeReference, Reply reply);
    void enqueueUnmountReply(Reply reply);
    /// A volume that an earlier run left mounted; given a reference if it has none. Returns that.
    std::int16_t addMountedVolume(MountedVolume volume);
    /// As if its server had gone.
    void loseVolume(std::int16_t volumeReference);

    /// Lets every call that hangs now go on to its scripted end.
    void release();
    /// Blocks until so many calls hang; false after ten seconds of real time.
    [[nodiscard]] bool waitForHanging(int count);

    /// In the order in which the calls came, also those that failed.
    [[nodiscard]] std::vector<MountRequest> requests() const;
    [[nodiscard]] std::vector<std::int16_t> unmounts() const;
    [[nodiscard]] bool wasInterrupted() const { return m_interrupted.isSignalled(); }

    [[nodiscard]] MountReply mountServerVolume(const MountRequest& request) override;
    [[nodiscard]] std::int32_t unmountVolume(std::int16_t volumeReference) override;
    [[nodiscard]] std::vector<MountedVolume> mountedVolumes() override;
    void interrupt() override;

private:
    struct Volume final {
        std::string identity;
        MountedVolume description;
    };

    /// Runs the script's time; whether it got to the end before the deadline and an interruption.
    [[nodiscard]] bool playOut(const Reply& reply);
    [[nodiscard]] std::int16_t freeReference();
    [[nodiscard]] Volume* volumeWith(std::int16_t volumeReference);

    Clock& m_clock;
    const Seconds m_deadline;
    WakeSignal m_interrupted;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::map<std::string, Reply> m_mountReplies;
    std::deque<Reply> m_nextMountReplies;
    std::map<std::int16_t, Reply> m_unmountReplies;
    std::deque<Reply> m_nextUnmountReplies;
    std::vector<MountRequest> m_requests;
    std::vector<std::int16_t> m_unmounts;
    std::vector<Volume> m_volumes;
    std::int16_t m_lastReference = 0;
    int m_hanging = 0;
    std::uint64_t m_releases = 0;
};

} // namespace quorrel
