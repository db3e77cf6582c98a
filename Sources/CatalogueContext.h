// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/StringTable.h"
#include "Platform/Workspace.h"
#include "Sources/CatalogueChanges.h"

#include <memory>

namespace quorrel {

/// What every record needs of the world: texts in the user's language, and icons. Both must outlive the records. And
/// where it says what becomes of it.
struct CatalogueContext final {
    const StringTable& strings;
    const Workspace& workspace;
    std::shared_ptr<CatalogueChanges> changes = std::make_shared<CatalogueChanges>();
};

using CatalogueContextPointer = std::shared_ptr<const CatalogueContext>;

} // namespace quorrel
