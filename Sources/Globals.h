// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/Property.h"
#include "Platform/Workspace.h"

#include <optional>
#include <string>

namespace quorrel {

/// The one vocabulary of file-sharing services, and the choice of a host's icon. No state; any thread.
///
/// A service has a full display name (shown, and stored in the catalogue), a DNS-SD type, and a short scheme name for
/// URLs.
class Globals final {
public:
    Globals() = delete;

    /// The DNS-SD type for a display name or a short name; AFP's for none; absent for anything else.
    [[nodiscard]] static OptionalText getFullServiceName(const OptionalText& name);
    /// The scheme for a display name, and only for that; AFP's for none; absent for anything else.
    [[nodiscard]] static OptionalText getShortServiceName(const OptionalText& displayName);

    /// Whether the text is made of decimal digits and dots alone, as the empty text is too; an absent one is not.
    [[nodiscard]] static bool isIPAddress(const OptionalText& text);

    [[nodiscard]] static std::string getLocalComputerName(const Workspace& workspace);

    [[nodiscard]] static std::optional<Image> getComputerIconForModelCode(
        const Workspace& workspace, const OptionalText& modelCode, const OptionalText& serviceType = std::nullopt);
    [[nodiscard]] static std::optional<Image> getDefaultPCComputerIcon(const Workspace& workspace);
    [[nodiscard]] static std::optional<Image> getDefaultMacComputerIcon(const Workspace& workspace);
    [[nodiscard]] static std::optional<Image> getDefaultiPodIcon(const Workspace& workspace);
    [[nodiscard]] static std::optional<Image> getDefaultiPhoneIcon(const Workspace& workspace);
};

} // namespace quorrel
