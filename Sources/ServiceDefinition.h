// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"
#include "Foundation/Property.h"

#include <memory>

namespace quorrel {

class HostDefinition;

/// One file-sharing service of one host. Any thread; every field is observable under its own name.
class ServiceDefinition final : public Observable {
public:
    [[nodiscard]] static std::shared_ptr<ServiceDefinition> initWithParentHost(
        const std::shared_ptr<HostDefinition>& host);
    [[nodiscard]] static std::shared_ptr<ServiceDefinition> initWithDictionary(
        const std::shared_ptr<HostDefinition>& host, const Dictionary& dictionary);

    /// As the catalogue file holds it.
    [[nodiscard]] Dictionary dictionary() const;
    void loadDictionary(const Dictionary& dictionary);

    Property<std::weak_ptr<HostDefinition>> parentHost { *this, "parentHost" };
    Property<OptionalText> displayType { *this, "displayType" }; ///< the full display name
    Property<OptionalText> type { *this, "type" }; ///< the DNS-SD type that goes with it
    Property<int> port { *this, "port", -1 }; ///< -1: unknown
};

} // namespace quorrel
