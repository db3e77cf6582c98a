// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/MainLoopTimer.h"
#include "Platform/VolumeWatch.h"

#include <map>
#include <memory>
#include <string>

namespace quorrel {

/// Reports what comes and goes between two states of the volumes to the callbacks of a volume watch.
///
/// Main thread only, from the main GLib context. Reports come one after the other, in order, even when a callback runs
/// the loop itself; a callback may destroy the announcer, and subscriptions may outlive it.
class VolumeAnnouncer final {
public:
    using Volumes = std::map<std::string, VolumeDescription>; ///< by an identity that stays as long as the volume

    VolumeAnnouncer();
    VolumeAnnouncer(const VolumeAnnouncer&) = delete;
    VolumeAnnouncer& operator=(const VolumeAnnouncer&) = delete;
    ~VolumeAnnouncer();

    [[nodiscard]] Subscription addDisappeared(VolumeWatch::Callback callback);
    /// The volumes of that moment are reported to the callback in a later turn of the loop, and then what comes.
    [[nodiscard]] Subscription addAppeared(VolumeWatch::Callback callback);

    /// Volumes that stay keep the description they came with. Those that went are reported first.
    void update(const Volumes& volumes);

private:
    struct Report;
    struct Newcomer;
    struct State;

    void admitNewcomers();
    void deliver();

    Volumes m_volumes;
    MainLoopTimer m_admission;
    const std::shared_ptr<State> m_state;
};

} // namespace quorrel
