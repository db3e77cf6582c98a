// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>
#include <map>
#include <string>
#include <variant>
#include <vector>

namespace quorrel {

using PreferenceValue = std::variant<bool, std::string, std::vector<std::string>>;
using PreferenceValues = std::map<std::string, PreferenceValue, std::less<>>;

/// Where preferences outlive the process. Any thread, one call at a time.
class PreferencesStore {
public:
    virtual ~PreferencesStore() = default;

    [[nodiscard]] virtual PreferenceValues load() = 0;
    /// Stores what differs from the values last loaded or saved; what another process stored meanwhile under other keys
    /// stays. False when it could not be written, and the old values are then still there.
    [[nodiscard]] virtual bool save(const PreferenceValues& values) = 0;
};

} // namespace quorrel
