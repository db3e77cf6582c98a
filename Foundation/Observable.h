// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Mutex.h"
#include "Foundation/ObserverList.h"

#include <memory>
#include <string>
#include <string_view>

namespace quorrel {

enum class Change { Will, Did };

/// Base of everything whose fields can be observed by key.
///
/// Any thread. An observer is called on the thread that makes the change, with no lock held, before the value changes
/// and again after it has.
class Observable {
public:
    using Observer = std::function<void(std::string_view key, Change change)>;

    Observable() = default;
    Observable(const Observable&) = delete;
    Observable& operator=(const Observable&) = delete;

    /// Observes one field.
    Subscription observe(std::string key, Observer observer);
    /// Observes every field.
    Subscription observeAll(Observer observer);

    /// For fields, and for owners that announce a derived or a compound change.
    void willChangeValueForKey(std::string_view key) const { notify(key, Change::Will); }
    void didChangeValueForKey(std::string_view key) const { notify(key, Change::Did); }

    /// Guards the values of this object's fields: one lock for all of them, since a catalogue holds very many.
    [[nodiscard]] Mutex& valueMutex() const RETURN_CAPABILITY(m_mutex) { return m_mutex; }

protected:
    ~Observable() = default;

private:
    using Observers = ObserverList<std::string_view, Change>;

    void notify(std::string_view key, Change change) const;
    [[nodiscard]] std::shared_ptr<Observers> observers() const;

    mutable Mutex m_mutex;
    // Made with the first observer; most records never have one.
    std::shared_ptr<Observers> m_observers GUARDED_BY(m_mutex);
};

} // namespace quorrel
