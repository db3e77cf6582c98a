// SPDX-License-Identifier: GPL-3.0-or-later
#include "Platform/Linux/VolumeAnnouncer.h"

#include "Foundation/ObserverList.h"

#include <cstdint>
#include <deque>
#include <optional>
#include <utility>
#include <vector>

namespace quorrel {

/// What a callback for volumes that appear is told of.
struct VolumeAnnouncer::Newcomer final {
    std::optional<std::uint64_t> admission; ///< the last report before it was told what is there; absent until then
};

struct VolumeAnnouncer::Report final {
    VolumeDescription volume;
    bool hasAppeared = true;
    std::uint64_t number = 0;
    std::shared_ptr<const Newcomer> newcomer; ///< who alone it is for; null: for all

    [[nodiscard]] bool isFor(const std::shared_ptr<Newcomer>& one) const {
        return newcomer ? newcomer == one : one->admission && number > *one->admission;
    }
};

/// Outlives the announcer while reports are under way.
struct VolumeAnnouncer::State final {
    ObserverList<const Report&> disappeared;
    ObserverList<const Report&> appeared;
    std::vector<std::shared_ptr<Newcomer>> newcomers;
    std::deque<Report> reports;
    std::uint64_t lastNumber = 0;
    bool isDelivering = false;
};

VolumeAnnouncer::VolumeAnnouncer()
    : m_state(std::make_shared<State>()) { }

VolumeAnnouncer::~VolumeAnnouncer() {
    m_state->reports.clear();
}

Subscription VolumeAnnouncer::addDisappeared(VolumeWatch::Callback callback) {
    return m_state->disappeared.add(
        [callback = std::move(callback)](const Report& report) { callback(report.volume); });
}

Subscription VolumeAnnouncer::addAppeared(VolumeWatch::Callback callback) {
    auto newcomer = std::make_shared<Newcomer>();
    m_state->newcomers.push_back(newcomer);
    m_admission.start(Seconds(0), [this] { admitNewcomers(); });
    return m_state->appeared.add(
        [newcomer = std::move(newcomer), callback = std::move(callback)](const Report& report) {
            if (report.isFor(newcomer))
                callback(report.volume);
        });
}

void VolumeAnnouncer::admitNewcomers() {
    for (const auto& newcomer : std::exchange(m_state->newcomers, {})) {
        newcomer->admission = m_state->lastNumber;
        for (const auto& [identity, volume] : m_volumes)
            m_state->reports.push_back({ volume, true, m_state->lastNumber, newcomer });
    }
    deliver();
}

void VolumeAnnouncer::update(const Volumes& volumes) {
    for (auto place = m_volumes.begin(); place != m_volumes.end();) {
        if (volumes.contains(place->first)) {
            ++place;
            continue;
        }
        m_state->reports.push_back({ std::move(place->second), false, ++m_state->lastNumber, nullptr });
        place = m_volumes.erase(place);
    }
    for (const auto& [identity, volume] : volumes)
        if (m_volumes.try_emplace(identity, volume).second)
            m_state->reports.push_back({ volume, true, ++m_state->lastNumber, nullptr });
    deliver();
}

void VolumeAnnouncer::deliver() {
    if (m_state->isDelivering)
        return;
    const auto kept = m_state; // a callback may destroy the announcer
    kept->isDelivering = true;
    while (!kept->reports.empty()) {
        const auto report = std::move(kept->reports.front());
        kept->reports.pop_front();
        (report.hasAppeared ? kept->appeared : kept->disappeared).notify(report);
    }
    kept->isDelivering = false;
}

} // namespace quorrel
