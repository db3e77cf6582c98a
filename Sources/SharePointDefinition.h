// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Dictionary.h"
#include "Foundation/Property.h"
#include "Sources/CatalogueContext.h"

#include <memory>
#include <optional>
#include <string>
#include <string_view>

namespace quorrel {

class HostDefinition;
class ServiceDefinition;

/// One remote share, to be mounted under one of its host's services.
///
/// Any thread; every field is observable under its own name. Operations on workers drive the state through the status
/// setters; what turns a change into work on screen hops to the main thread itself.
class SharePointDefinition final : public Observable {
public:
    explicit SharePointDefinition(CatalogueContextPointer context);
    [[nodiscard]] static std::shared_ptr<SharePointDefinition> initWithParentHost(
        const std::shared_ptr<HostDefinition>& host);
    /// The host's services must be there already: the share point is linked to the one of its display type.
    [[nodiscard]] static std::shared_ptr<SharePointDefinition> initWithDictionary(
        const std::shared_ptr<HostDefinition>& host, const Dictionary& dictionary);

    /// The status setters: the flag first, then the status text that goes with it.
    void setResolved(bool value);
    void setResolving(bool value);
    /// On a share that is neither resolved nor busy nor mounted, the status becomes "Offline" as well.
    void setMounting(bool value);
    void setMounted(bool value);
    void setUnmounting(bool value);

    /// An absent error clears `isError`, an empty one leaves it, any other sets it.
    void setLastError(const OptionalText& error);
    /// Sets the icon of a server, then the display type.
    void setDisplayType(const OptionalText& displayType);

    /// What is mounted for the share point, as far as it is: the path first, so that a reference never stands without.
    void setVolume(std::optional<int> reference, const std::string& path = {});

    /// Ends a mount or unmount in the record, and makes the status say whether the share is mounted.
    void resetStatus();

    /// `status`, save where it tells of an activity that is over: whether the share is mounted then.
    [[nodiscard]] std::string shownStatus() const;

    /// For debugging alone: it holds the password.
    [[nodiscard]] std::string description() const;

    /// As the catalogue file holds it: no user name for a guest, no password for a guest or one that is asked for.
    [[nodiscard]] Dictionary dictionary() const;
    void loadDictionary(const Dictionary& dictionary);

    Property<std::weak_ptr<HostDefinition>> parentHost { *this, "parentHost" };
    Property<std::weak_ptr<ServiceDefinition>> parentService { *this, "parentService" };
    Property<OptionalText, SharePointDefinition> displayType { *this, "displayType" }; ///< links to the service
    Property<OptionalText> sharePoint { *this, "sharePoint" }; ///< the share's name on the server
    Property<OptionalText> userName { *this, "userName" };
    Property<OptionalText> password { *this, "password" };
    Property<OptionalFlag> passwordPrompt { *this, "passwordPrompt" }; ///< ask instead of storing
    Property<OptionalFlag> guestLogin { *this, "guestLogin" };
    Property<bool, SharePointDefinition> resolved { *this, "resolved" };
    Property<bool, SharePointDefinition> resolving { *this, "resolving" };
    Property<bool, SharePointDefinition> mounting { *this, "mounting" };
    Property<bool, SharePointDefinition> mounted { *this, "mounted" };
    Property<bool, SharePointDefinition> unmounting { *this, "unmounting" };
    Property<OptionalFlag> favroite { *this, "favroite" };
    Property<std::optional<int>> referenceNumber { *this, "referenceNumber" }; ///< of the mounted volume
    Property<OptionalText> volumePath { *this, "volumePath" }; ///< where its files are, if that is known
    Property<OptionalText, SharePointDefinition> lastError { *this, "lastError" };
    Property<bool> isError { *this, "isError" };
    Property<std::optional<Image>> icon { *this, "icon" };
    Property<OptionalText> status { *this, "status" }; ///< as shown, in the user's language
    Property<OptionalFlag> automatically { *this, "automatically" };
    Property<bool> manualMount { *this, "manualMount" }; ///< the user asked for the current mount
    Property<OptionalText> script { *this, "script" }; ///< path of a program to run once mounted
    Property<OptionalText> scriptArguments { *this, "scriptArguments" };
    Property<OptionalFlag> isDelayed { *this, "isDelayed" };
    Property<std::optional<double>> delaySeconds { *this, "delaySeconds" };

private:
    void setStatusText(std::string_view key);

    const CatalogueContextPointer m_context;
};

} // namespace quorrel
