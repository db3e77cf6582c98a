// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/CountedProperty.h"
#include "Foundation/ObservableList.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <unordered_map>

namespace quorrel {

class HostDefinition;

/// Finds hosts of a list by their names without going through all of them; it goes through all of them once after the
/// list or a name has changed. One thread at a time; any may change the list and the names. Keeps no host alive.
class HostIndex final {
public:
    using HostPointer = std::shared_ptr<HostDefinition>;

    /// The count is that of the names of all hosts that are ever in the list. Both must outlive the index.
    HostIndex(const ObservableList<HostPointer>& hosts, const ChangeCount& names);

    /// The first host of the list of exactly that display name; null when there is none.
    [[nodiscard]] HostPointer firstNamed(const std::string& displayName);

private:
    struct State final {
        std::uint64_t list = 0;
        std::uint64_t names = 0;

        friend bool operator==(const State&, const State&) = default;
    };

    [[nodiscard]] State state() const;
    void readAll();

    const ObservableList<HostPointer>& m_hosts;
    const ChangeCount& m_names;
    std::optional<State> m_read; // of the list, when it was gone through
    std::unordered_map<std::string, std::size_t> m_places; // by name, the first
};

} // namespace quorrel
