// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include "Sources/MounterDifferences.h"
#include "Sources/MounterOf.h"

namespace quorrel {

/// Mounts volumes of Apple Filing Protocol servers.
using AFPMountOperation = MounterOf<afpDifferences>;

} // namespace quorrel
