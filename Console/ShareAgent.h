// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Console/ShareRow.h"
#include "Platform/RemoteShare.h"

#include <memory>
#include <vector>

namespace quorrel {

class HostDefinition;
class Output;
class SharePointDefinition;

/// Who carries out what the user asked quorrelctl for: this process, or the program that keeps the catalogue. Main
/// thread only.
class ShareAgent {
public:
    enum class Kind { Mount, Unmount };
    using Hosts = std::vector<std::shared_ptr<HostDefinition>>;
    using SharePoints = std::vector<std::shared_ptr<SharePointDefinition>>;

    virtual ~ShareAgent() = default;

    /// With their share points, for names to be looked up in.
    [[nodiscard]] virtual Hosts hosts() = 0;
    /// Returns when all have got there or failed. Without a `progress` nothing is shown meanwhile.
    virtual void run(Kind kind, const SharePoints& sharePoints, Output* progress) = 0;
    /// How they are now.
    [[nodiscard]] virtual std::vector<ShareRow> rows(const SharePoints& sharePoints) = 0;
    /// How all are now.
    [[nodiscard]] virtual std::vector<RemoteShare> shares() = 0;
};

} // namespace quorrel
