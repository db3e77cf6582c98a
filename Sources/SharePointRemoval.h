// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ObservableList.h"

#include <memory>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

/// Takes a share point out of the catalogue, and its host too when that has no share point left. Nothing is unmounted,
/// nothing saved. Main thread.
void removeSharePoint(ObservableList<std::shared_ptr<HostDefinition>>& hosts,
    const std::shared_ptr<HostDefinition>& host, const std::shared_ptr<SharePointDefinition>& sharePoint);

} // namespace quorrel
