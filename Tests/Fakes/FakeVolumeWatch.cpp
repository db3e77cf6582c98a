// SPDX-License-Identifier: GPL-3.0-or-later
#include "Tests/Fakes/FakeVolumeWatch.h"

#include <algorithm>

namespace quorrel {

struct FakeVolumeWatch::Entry final : CallbackGate {
    Entry(std::shared_ptr<Record> shared, const char* name, Callback function)
        : record(std::move(shared))
        , kind(name)
        , callback(std::move(function)) {
        record->add(kind + " registered");
    }

    void discard() override {
        record->add(kind + " unregistered");
        callback = nullptr;
    }

    void call(const VolumeDescription& volume) {
        if (!enter())
            return;
        callback(volume);
        leave();
    }

    std::shared_ptr<Record> record;
    const std::string kind;
    Callback callback;
    std::vector<int> pending; ///< were there before it
};

FakeVolumeWatch::FakeVolumeWatch()
    : m_record(std::make_shared<Record>()) { }

void FakeVolumeWatch::Record::add(const std::string& event) {
    events.push_back(event);
    if (witness)
        witness(event);
}

Subscription FakeVolumeWatch::registerDiskDisappearedCallback(Callback callback) {
    return add(m_disappeared, "disappeared", std::move(callback));
}

Subscription FakeVolumeWatch::registerDiskAppearedCallback(Callback callback) {
    auto subscription = add(m_appeared, "appeared", std::move(callback));
    for (const auto& [number, description] : m_volumes)
        m_appeared.back()->pending.push_back(number);
    return subscription;
}

int FakeVolumeWatch::appear(const VolumeDescription& volume) {
    const auto number = ++m_lastVolume;
    m_volumes.emplace_back(number, volume);
    tell(m_appeared, volume);
    return number;
}

void FakeVolumeWatch::disappear(int volume) {
    const auto found
        = std::find_if(m_volumes.begin(), m_volumes.end(), [&](const auto& each) { return each.first == volume; });
    if (found == m_volumes.end())
        return;
    const auto description = std::move(found->second);
    m_volumes.erase(found);
    tell(m_disappeared, description);
}

void FakeVolumeWatch::runPending() {
    for (const auto& entry : Entries(m_appeared))
        for (const auto number : std::exchange(entry->pending, {})) {
            const auto found = std::find_if(
                m_volumes.begin(), m_volumes.end(), [&](const auto& each) { return each.first == number; });
            if (found != m_volumes.end())
                entry->call(VolumeDescription(found->second));
        }
}

int FakeVolumeWatch::registrations() const {
    const auto open = [](const auto& entries) {
        return std::count_if(entries.begin(), entries.end(), [](const auto& each) { return !each->isClosed(); });
    };
    return static_cast<int>(open(m_disappeared) + open(m_appeared));
}

Subscription FakeVolumeWatch::add(Entries& entries, const char* kind, Callback callback) {
    std::erase_if(entries, [](const auto& each) { return each->isClosed(); });
    entries.push_back(std::make_shared<Entry>(m_record, kind, std::move(callback)));
    return Subscription(entries.back());
}

void FakeVolumeWatch::tell(const Entries& entries, const VolumeDescription& volume) {
    for (const auto& entry : Entries(entries)) // callbacks may register others
        entry->call(volume);
}

} // namespace quorrel
