// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Platform/Linux/GlibPointers.h"

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace quorrel {

class AvahiObject;

/// One life of the Avahi daemon, as one client sees it. Answers that come after its end find it over.
struct AvahiDaemonLife final {
    struct Signal final {
        std::string name;
        GlibPointer<GVariant> parameters;
    };

    /// For an object that is to be made.
    struct Question final {
        std::string kind;
        GlibPointer<GVariant> parameters;
        std::weak_ptr<AvahiObject*> object;
    };

    GObjectPointer<GDBusConnection> bus;
    std::string owner; ///< the daemon's name on the bus
    bool isOver = false;
    std::map<std::string, AvahiObject*> objects; ///< by path
    int unanswered = 0; ///< objects that were asked for
    std::map<std::uint64_t, Question> unasked; ///< by their turn: those that wait for answers to others
    std::uint64_t lastTurn = 0;
    std::multimap<std::string, Signal> early; ///< of objects whose path is not known yet
    std::function<void()> answered;
};

} // namespace quorrel
