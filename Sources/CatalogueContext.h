// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"
#include "Platform/Workspace.h"

#include <memory>

namespace quorrel {

/// What every record needs of the world: texts in the user's language, and icons. Both must outlive the records.
struct CatalogueContext final {
    const StringTable& strings;
    const Workspace& workspace;
};

using CatalogueContextPointer = std::shared_ptr<const CatalogueContext>;

} // namespace quorrel
