// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/VolumeWatch.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

/// A computer whose volumes tests make up. Main thread only; subscriptions may outlive it, and callbacks may end their
/// own and others, and have volumes come and go.
class FakeVolumeWatch final : public VolumeWatch {
public:
    FakeVolumeWatch();
    FakeVolumeWatch(const FakeVolumeWatch&) = delete;
    FakeVolumeWatch& operator=(const FakeVolumeWatch&) = delete;

    [[nodiscard]] Subscription registerDiskDisappearedCallback(Callback callback) override;
    [[nodiscard]] Subscription registerDiskAppearedCallback(Callback callback) override;

    /// A volume comes and is reported on the spot, as from the run loop. The number is for its going.
    int appear(const VolumeDescription& volume);
    /// It goes, and is described as it was when it came. Of one that is gone nothing is heard.
    void disappear(int volume);
    /// Reports what was there before a callback was registered.
    void runPending();

    /// "disappeared registered", "appeared unregistered" and so on, in order.
    [[nodiscard]] std::vector<std::string> events() const { return m_record->events; }
    /// Is told of every event too.
    void setWitness(std::function<void(const std::string& event)> witness) { m_record->witness = std::move(witness); }
    /// Callbacks that are registered now, of both kinds.
    [[nodiscard]] int registrations() const;
    [[nodiscard]] int volumes() const { return static_cast<int>(m_volumes.size()); }

private:
    struct Entry;
    struct Record final {
        std::vector<std::string> events;
        std::function<void(const std::string&)> witness;

        void add(const std::string& event);
    };
    using Entries = std::vector<std::shared_ptr<Entry>>;

    [[nodiscard]] Subscription add(Entries& entries, const char* kind, Callback callback);
    static void tell(const Entries& entries, const VolumeDescription& volume);

    std::shared_ptr<Record> m_record;
    std::vector<std::pair<int, VolumeDescription>> m_volumes;
    Entries m_disappeared;
    Entries m_appeared;
    int m_lastVolume = 0;
};

} // namespace quorrel
