// SPDX-License-Identifier: GPL-3.0-or-later
#include "Foundation/NotificationCenter.h"

#include <utility>

namespace quorrel {

Subscription NotificationCenter::addObserver(std::string name, Handler handler, const void* object) {
    return m_observers.add(
        [wanted = std::move(name), call = std::move(handler), object](const Notification& notification) {
            if (notification.name == wanted && (!object || object == notification.object))
                call(notification);
        });
}

void NotificationCenter::post(std::string name, const void* object, std::optional<Dictionary> userInfo) const {
    m_observers.notify(Notification { std::move(name), object, std::move(userInfo) });
}

} // namespace quorrel
