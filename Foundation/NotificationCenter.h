// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"
#include "Foundation/ObserverList.h"

#include <functional>
#include <optional>
#include <string>

namespace quorrel {

struct Notification final {
    std::string name;
    const void* object = nullptr; ///< who posted it; only compared, never followed
    std::optional<Dictionary> userInfo;
};

/// Named notifications, delivered synchronously on the posting thread in the order of registration.
class NotificationCenter final {
public:
    using Handler = std::function<void(const Notification&)>;

    /// With an `object`, only notifications posted by it are delivered.
    Subscription addObserver(std::string name, Handler handler, const void* object = nullptr);

    void post(std::string name, const void* object = nullptr, std::optional<Dictionary> userInfo = std::nullopt) const;

private:
    ObserverList<const Notification&> m_observers;
};

} // namespace quorrel
