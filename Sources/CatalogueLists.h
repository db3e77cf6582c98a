// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/ListController.h"

#include <memory>

namespace quorrel {

class HostDefinition;
class SharePointDefinition;

using HostListController = ListController<std::shared_ptr<HostDefinition>>;
using SharePointListController = ListController<std::shared_ptr<SharePointDefinition>>;

} // namespace quorrel
