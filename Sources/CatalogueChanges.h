// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Foundation/CountedProperty.h"

namespace quorrel {

/// What has happened to any host of a catalogue that others keep something about. Any thread.
struct CatalogueChanges final {
    ChangeCount hostNames; ///< another display name
    ChangeCount monitoringEnds; ///< marked as monitored no longer, or gone
    ChangeCount resolvingEnds; ///< being resolved no longer, or gone
};

} // namespace quorrel
