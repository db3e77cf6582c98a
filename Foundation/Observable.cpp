// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/Observable.h"

#include <utility>

namespace quorrel {

Subscription Observable::observe(std::string key, Observer observer) {
    return observeAll([wanted = std::move(key), call = std::move(observer)](std::string_view key, Change change) {
        if (key == wanted)
            call(key, change);
    });
}

Subscription Observable::observeAll(Observer observer) {
    std::shared_ptr<Observers> list;
    {
        const MutexLock lock(m_mutex);
        if (!m_observers)
            m_observers = std::make_shared<Observers>();
        list = m_observers;
    }
    return list->add(std::move(observer));
}

std::shared_ptr<Observable::Observers> Observable::observers() const {
    const MutexLock lock(m_mutex);
    return m_observers;
}

void Observable::notify(std::string_view key, Change change) const {
    if (const auto list = observers())
        list->notify(key, change);
}

} // namespace quorrel
