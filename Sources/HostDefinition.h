// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Clock.h"
#include "Foundation/CountedProperty.h"
#include "Foundation/Dictionary.h"
#include "Foundation/ObservableList.h"
#include "Foundation/Property.h"
#include "Sources/CatalogueContext.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace quorrel {

class ServiceDefinition;
class SharePointDefinition;

/// One server of the catalogue with its services and share points, which it owns.
///
/// Any thread; every field is observable under its own name. What the user configured is saved with the catalogue,
/// what a run finds out is not.
class HostDefinition final : public Observable, public std::enable_shared_from_this<HostDefinition> {
    const CatalogueContextPointer m_context; // first, since fields count their changes in it

public:
    using Services = std::vector<std::shared_ptr<ServiceDefinition>>;
    using SharePoints = std::vector<std::shared_ptr<SharePointDefinition>>;

    [[nodiscard]] static std::shared_ptr<HostDefinition> initWithName(
        const std::string& name, CatalogueContextPointer context);
    /// Without a dictionary: a host with nothing set, not even its lists.
    [[nodiscard]] static std::shared_ptr<HostDefinition> initWithDictionary(
        const std::optional<Dictionary>& dictionary, CatalogueContextPointer context);

    explicit HostDefinition(CatalogueContextPointer context);
    ~HostDefinition();
    HostDefinition(const HostDefinition&) = delete;
    HostDefinition& operator=(const HostDefinition&) = delete;

    /// The first share point of exactly that name, under whichever service; null when there is none.
    [[nodiscard]] std::shared_ptr<SharePointDefinition> sharePointForName(const OptionalText& name) const;
    [[nodiscard]] std::shared_ptr<ServiceDefinition> serviceForFullType(const OptionalText& type) const;
    [[nodiscard]] std::shared_ptr<ServiceDefinition> serviceForDisplayType(const OptionalText& displayType) const;
    [[nodiscard]] int sharePointCountforServiceName(const OptionalText& displayType) const;

    [[nodiscard]] bool passwordIsEmpty() const;
    [[nodiscard]] bool isNameIP() const;
    /// False for a host made without a dictionary, until something is put into its lists.
    [[nodiscard]] bool hasLists() const;

    /// Sets the icon for the model code, then the code.
    void setComputerModel(const OptionalText& modelCode);

    [[nodiscard]] std::string servicesCountString() const;
    [[nodiscard]] std::string sharesCountString() const;
    /// Announces both count texts as changed; for callers that added or removed services or share points.
    void updateCounts();

    /// Forgets what this run found out about the host, and rebuilds the states of its share points.
    void resetStatus();

    /// As the catalogue file holds it, services and share points included.
    [[nodiscard]] Dictionary dictionary() const;
    /// Appends to the lists what the dictionary holds.
    void loadDictionary(const Dictionary& dictionary);

    [[nodiscard]] const CatalogueContextPointer& context() const { return m_context; }

    using Name = CountedProperty<OptionalText, isOther<OptionalText>>;
    using Mark = CountedProperty<bool, isCleared>;

    Name displayName { *this, "displayName", m_context->changes->hostNames }; ///< shown, and used to reach the host
    ObservableList<std::shared_ptr<ServiceDefinition>> services { *this, "services" };
    ObservableList<std::shared_ptr<SharePointDefinition>> sharePoints { *this, "sharePoints" };
    Property<std::optional<Image>> icon { *this, "icon" };
    Property<OptionalText, HostDefinition> computerModel { *this, "computerModel" };
    Property<OptionalText> password { *this, "password" }; ///< given during this run; never saved
    Property<std::optional<Clock::Time>> passwordDate { *this, "passwordDate" };
    Property<std::optional<double>> timeout { *this, "timeout" };
    Property<bool> resolved { *this, "resolved" };
    Mark resolving { *this, "resolving", m_context->changes->resolvingEnds };
    Mark monitoring { *this, "monitoring", m_context->changes->monitoringEnds };
    Property<bool> bonjour { *this, "bonjour" }; ///< seen by browsing just now
    Property<OptionalText> domain { *this, "domain" };
    Property<OptionalText> hostName { *this, "hostName" }; ///< the resolved name
    Property<std::optional<std::vector<std::string>>> adresses { *this, "adresses" }; ///< dotted decimal
    Property<OptionalFlag> automatically { *this, "automatically" };

private:
    [[nodiscard]] std::string countText(std::size_t count, std::string_view singular, std::string_view plural) const;

    std::atomic<bool> m_hasLists = false;
};

} // namespace quorrel
